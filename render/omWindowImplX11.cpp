#include "render/omWindowImplX11.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "render/omVersion.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

constexpr int LargestCoordinate = 32767; // X's coordinates are signed 16-bit numbers

struct VisualTail
{
  int attributes[3]; // 0 where unused
  bool stereo;
};

constexpr VisualTail VisualTails[] = {
    {{GLX_STEREO, GLX_DEPTH_SIZE, 32}, true}, {{GLX_STEREO, GLX_DEPTH_SIZE, 24}, true},
    {{GLX_DEPTH_SIZE, 32, 0}, false},         {{GLX_DEPTH_SIZE, 24, 0}, false},
    {{GLX_DEPTH_SIZE, 1, 0}, false},          {{0, 0, 0}, false},
};

/// The property by which Motif, and most window managers after it, are told about decorations. X hands properties of
/// format 32 over as longs.
struct MotifHints
{
  unsigned long flags;
  unsigned long functions;
  unsigned long decorations;
  long inputMode;
  unsigned long status;
};

constexpr unsigned long MotifDecorationsValid = 2;

/// Which thread made which context current last, as far as this back end sees it.
class ContextThreads
{
public:
  static ContextThreads& instance()
  {
    static ContextThreads& threads = *new ContextThreads; // outlives windows of static storage
    return threads;
  }

  /// Whether a thread other than the calling one had the context last, and may still have it.
  bool isElsewhere(GLXContext context)
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_threads.find(context);
    return entry != m_threads.end() && entry->second != std::this_thread::get_id();
  }

  /// The calling thread has given up the context that it had, for another one or none.
  void take(GLXContext context)
  {
    thread_local const Release release;
    const std::thread::id self = std::this_thread::get_id();
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto entry = m_threads.begin(); entry != m_threads.end();)
      entry = entry->second == self ? m_threads.erase(entry) : std::next(entry);
    if (context)
      m_threads.insert_or_assign(context, self);
  }

  /// The context is gone.
  void forget(GLXContext context)
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_threads.erase(context);
  }

private:
  struct Release
  {
    ~Release() { instance().take(nullptr); }
  };

  std::mutex m_mutex;
  std::map<GLXContext, std::thread::id> m_threads;
};

/// A server that resets itself after its last client, as Xvfb does unless it is told not to, takes none for a moment.
Display* openDisplayPatiently()
{
  constexpr int Tries = 20;
  constexpr unsigned int PauseMs = 25;
  const char* const name = std::getenv("DISPLAY");
  for (int tries = 1;; ++tries)
  {
    Display* const display = XOpenDisplay(nullptr);
    if (display || !name || !*name || tries == Tries)
      return display;
    OmSLEEPMS(PauseMs);
  }
}

/// Makes a context current that another thread may have. False when it has: drivers then refuse by an X error, which
/// would end the process.
bool takeOver(Display* display, GLXDrawable drawable, GLXContext context)
{
  static std::atomic<bool> refused;
  refused = false;
  XErrorHandler const handler = XSetErrorHandler(
      [](Display*, XErrorEvent*)
      {
        refused = true;
        return 0;
      });
  const bool made = glXMakeCurrent(display, drawable, context);
  XSync(display, False);
  XSetErrorHandler(handler);
  return made && !refused;
}

struct Size
{
  unsigned int width;
  unsigned int height;
};

/// The size to ask X for, which knows no empty windows.
Size nativeSize(OmU32 width, OmU32 height)
{
  if (width == 0 || height == 0)
    return {1, 1};
  constexpr OmU32 largest = LargestCoordinate;
  return {std::min(width, largest), std::min(height, largest)};
}

/// The position to ask X for. Negative ones, left of or above the screen, arrive here as large unsigned numbers.
int nativePosition(OmU32 position)
{
  return std::clamp(static_cast<int>(position), -LargestCoordinate, LargestCoordinate);
}

} // namespace

/// The connections of a share group's windows, past ones included.
class OmWindow::Impl::X11::Connections
{
public:
  void add(const boost::shared_ptr<Display>& connection)
  {
    if (std::find(m_connections.begin(), m_connections.end(), connection) == m_connections.end())
      m_connections.push_back(connection);
  }

  /// A connection that no back end uses any more; empty when there is none.
  boost::shared_ptr<Display> findIdle() const
  {
    const auto idle = std::find_if(m_connections.begin(), m_connections.end(),
                                   [](const auto& connection) { return connection.use_count() == 1; });
    return idle == m_connections.end() ? boost::shared_ptr<Display>() : *idle;
  }

private:
  std::vector<boost::shared_ptr<Display>> m_connections;
};

OmWindow::Impl::X11::X11()
    : m_pDisplay(nullptr), m_pVisualInfo(nullptr), m_context(nullptr), m_xWindow(0), m_colormap(0)
{
}

OmWindow::Impl::X11::~X11()
{
  X11::closeWindow();
  if (m_pVisualInfo)
    XFree(m_pVisualInfo);
}

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::X11::newImpl()
{
  return boost::make_shared<X11>();
}

void OmWindow::Impl::X11::setName(const OmString& name)
{
  if (!m_xWindow)
    return;
  XStoreName(m_pDisplay, m_xWindow, name.c_str());
  XFlush(m_pDisplay);
}

void OmWindow::Impl::X11::setWindowSize(OmU32 width, OmU32 height)
{
  if (!m_xWindow)
    return;
  const Size size = nativeSize(width, height);
  XResizeWindow(m_pDisplay, m_xWindow, size.width, size.height);
  handleConfigure();
}

void OmWindow::Impl::X11::setWindowPos(OmU32 x, OmU32 y)
{
  if (!m_xWindow)
    return;
  XMoveWindow(m_pDisplay, m_xWindow, nativePosition(x), nativePosition(y));
  handleConfigure();
}

void OmWindow::Impl::X11::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y)
{
  if (!m_xWindow)
    return;
  const Size size = nativeSize(width, height);
  XMoveResizeWindow(m_pDisplay, m_xWindow, nativePosition(x), nativePosition(y), size.width, size.height);
  handleConfigure();
}

void OmWindow::Impl::X11::setTopMost(OmBoolean topMost)
{
  if (!m_xWindow)
    return;
  if (topMost)
    XRaiseWindow(m_pDisplay, m_xWindow);
  else
    XLowerWindow(m_pDisplay, m_xWindow);
  XFlush(m_pDisplay);
}

void OmWindow::Impl::X11::setHideWindow(OmBoolean hide)
{
  if (!m_xWindow)
    return;
  if (hide)
    XUnmapWindow(m_pDisplay, m_xWindow);
  else
    XMapWindow(m_pDisplay, m_xWindow);
  handleConfigure();
}

void OmWindow::Impl::X11::setFullScreen(OmBoolean fullScreen)
{
  if (!m_xWindow)
    return;
  const Atom atom = XInternAtom(m_pDisplay, "_MOTIF_WM_HINTS", True);
  if (atom == None)
  {
    Om::Print::instance().write(4, "Unable to change fullscreen property.\n");
    return;
  }
  const MotifHints hints = {MotifDecorationsValid, 0, fullScreen ? 0ul : 1ul, 0, 0};
  XChangeProperty(m_pDisplay, m_xWindow, atom, atom, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&hints), sizeof hints / sizeof(long));
  XFlush(m_pDisplay);
}

void OmWindow::Impl::X11::makeCurrent() const
{
  if (!m_xWindow || (glXGetCurrentContext() == m_context && OmWindow::getWindow() == m_pWindow))
    return;
  ContextThreads& threads = ContextThreads::instance();
  if (!threads.isElsewhere(m_context))
    glXMakeCurrent(m_pDisplay, m_xWindow, m_context);
  else if (!takeOver(m_pDisplay, m_xWindow, m_context))
  {
    Om::Print::instance().write(4,
                                "OmWindow::Impl::X11::makeCurrent - The window is current on another thread; open and "
                                "use each window on one thread.\n");
    return;
  }
  threads.take(m_context);
}

void OmWindow::Impl::X11::swapBuffers() const
{
  if (m_xWindow)
    glXSwapBuffers(m_pDisplay, m_xWindow);
}

OmBoolean OmWindow::Impl::X11::openWindow()
{
  if (!m_pWindow)
  {
    Om::Print::instance().write(4, "X11::openWindow - No root window specified.\n");
    return false;
  }
  if (m_xWindow)
    return true;
  if (!isSizeHeld() || !openDisplay() || !chooseVisual() || !createContext() || !createWindow())
  {
    closeWindow();
    return false;
  }
  if (!m_pWindow->getHideWindow())
    mapWindow();
  ContextThreads::instance().take(m_context);
  glXMakeCurrent(m_pDisplay, m_xWindow, m_context);
  const OmString name = m_pWindow->getName();
  setName(name);
  return true;
}

/// Whether X has windows of the size that is asked for; checked before there is a context that a failure would take
/// from other windows.
bool OmWindow::Impl::X11::isSizeHeld() const
{
  OmU32 width = 0;
  OmU32 height = 0;
  m_pWindow->getWindowSize(width, height);
  if (width <= LargestCoordinate && height <= LargestCoordinate)
    return true;
  Om::Print::instance().write(4, "X11::openWindow - %u by %u pixels are more than the %d of a window.\n", width, height,
                              LargestCoordinate);
  Om::Print::instance().write(4, "X11::openWindow - Failed to create Window.\n");
  return false;
}

bool OmWindow::Impl::X11::openDisplay()
{
  if (!m_pDisplay)
  {
    const boost::shared_ptr<X11> partner = sharePartner();
    if (partner && partner->m_context)
      m_connection = partner->connections().findIdle();
    if (m_connection)
      XSync(m_connection.get(), True); // drops the events of the window that used it before
    else if (Display* display = openDisplayPatiently())
      m_connection.reset(display, XCloseDisplay);
    m_pDisplay = m_connection.get();
  }
  if (!m_pDisplay)
  {
    Om::Print::instance().write(4, "X11::openWindow - Cannot open display.\n");
    return false;
  }
  if (!glXQueryExtension(m_pDisplay, nullptr, nullptr))
  {
    Om::Print::instance().write(4, "X11::openWindow - Failed to get GLX extensions.\n");
    return false;
  }
  return true;
}

OmBoolean OmWindow::Impl::X11::chooseVisual()
{
  if (!m_pDisplay)
    return false;
  const int screen = ScreenCount(m_pDisplay) - 1;
  if (m_pVisualInfo)
    XFree(m_pVisualInfo);
  m_pVisualInfo = nullptr;
  for (const VisualTail& tail : VisualTails)
  {
    int attributes[] = {GLX_DOUBLEBUFFER,   GLX_RGBA,           GLX_RED_SIZE,       8,   GLX_ALPHA_SIZE, 8,
                        tail.attributes[0], tail.attributes[1], tail.attributes[2], None};
    m_pVisualInfo = glXChooseVisual(m_pDisplay, screen, attributes);
    if (!m_pVisualInfo)
      continue;
    if (tail.stereo && m_pWindow)
      m_pWindow->setStereoSupported();
    return true;
  }
  Om::Print::instance().write(4, "X11: Unable to find suitable pixel format.\n");
  return false;
}

bool OmWindow::Impl::X11::createContext()
{
  const boost::shared_ptr<X11> partner = sharePartner();
  if (!partner && getShare())
    Om::Print::instance().write(4, "OmWindow::openWindow() - Unable to share windows of different types.\n");

  const GLXContext shared = partner ? partner->m_context : nullptr;
  m_shareGroup = shared ? partner->m_shareGroup : boost::make_shared<Connections>();
  connections().add(m_connection);
  m_context = glXCreateContext(m_pDisplay, m_pVisualInfo, shared, True);
  if (!m_context)
  {
    Om::Print::instance().write(4, "X11::openWindow - Failed to create OpenGL context.\n");
    return false;
  }
  return true;
}

bool OmWindow::Impl::X11::createWindow()
{
  const Window root = RootWindow(m_pDisplay, m_pVisualInfo->screen);
  m_colormap = XCreateColormap(m_pDisplay, root, m_pVisualInfo->visual, AllocNone);

  XSetWindowAttributes attributes = {};
  attributes.border_pixel = 0;
  attributes.event_mask = ExposureMask | VisibilityChangeMask | StructureNotifyMask | FocusChangeMask;
  attributes.colormap = m_colormap;

  OmU32 width = 0;
  OmU32 height = 0;
  OmU32 x = 0;
  OmU32 y = 0;
  m_pWindow->getWindowSizeAndPos(width, height, x, y);
  const Size size = nativeSize(width, height);
  m_xWindow = XCreateWindow(m_pDisplay, root, nativePosition(x), nativePosition(y), size.width, size.height, 0,
                            m_pVisualInfo->depth, InputOutput, m_pVisualInfo->visual,
                            CWBorderPixel | CWEventMask | CWColormap, &attributes);
  if (!m_xWindow)
  {
    Om::Print::instance().write(4, "X11::openWindow - Failed to create Window.\n");
    return false;
  }

  XSizeHints hints = {};
  hints.flags = PPosition;
  hints.x = nativePosition(x);
  hints.y = nativePosition(y);
  XSetWMNormalHints(m_pDisplay, m_xWindow, &hints);
  return true;
}

void OmWindow::Impl::X11::mapWindow()
{
  XMapWindow(m_pDisplay, m_xWindow);
  XEvent event;
  XIfEvent(m_pDisplay, &event, waitForMapNotifyX, reinterpret_cast<char*>(m_xWindow));
  if (m_pWindow->getTopMost())
    XRaiseWindow(m_pDisplay, m_xWindow);
}

void OmWindow::Impl::X11::unmapWindow()
{
  // An unmap is reported only for a window that is mapped: not before the window manager has mapped it, and not after
  // the user has iconified it.
  XWindowAttributes attributes = {};
  const bool mapped = XGetWindowAttributes(m_pDisplay, m_xWindow, &attributes) && attributes.map_state != IsUnmapped;
  XUnmapWindow(m_pDisplay, m_xWindow);
  XEvent event;
  if (mapped)
    XIfEvent(m_pDisplay, &event, waitForUnmapNotifyX, reinterpret_cast<char*>(m_xWindow));
}

void OmWindow::Impl::X11::closeWindow()
{
  if (m_xWindow)
  {
    if (!m_pWindow || !m_pWindow->getHideWindow())
      unmapWindow();
    destroyContext();
    XDestroyWindow(m_pDisplay, m_xWindow);
    m_xWindow = 0;
  }
  else if (m_context)
  {
    destroyContext();
  }
  else if (m_pVisualInfo)
  {
    XFree(m_pVisualInfo);
    m_pVisualInfo = nullptr;
  }
  if (m_colormap)
  {
    XFreeColormap(m_pDisplay, m_colormap);
    XFlush(m_pDisplay); // the connection may outlive the window
    m_colormap = 0;
  }
  m_shareGroup.reset();
  m_pWindow = nullptr;
}

void OmWindow::Impl::X11::destroyContext()
{
  if (!m_context)
    return;
  ContextThreads::instance().take(nullptr);
  ContextThreads::instance().forget(m_context);
  glXMakeCurrent(m_pDisplay, None, nullptr);
  glXDestroyContext(m_pDisplay, m_context);
  m_context = nullptr;
}

void OmWindow::Impl::X11::handleConfigure()
{
  XEvent event;
  if (XCheckTypedWindowEvent(m_pDisplay, m_xWindow, ConfigureNotify, &event))
    XFlush(m_pDisplay);
}

boost::shared_ptr<OmWindow::Impl::X11> OmWindow::Impl::X11::sharePartner() const
{
  return boost::dynamic_pointer_cast<X11>(getShare());
}

OmWindow::Impl::X11::Connections& OmWindow::Impl::X11::connections() const
{
  return *static_cast<Connections*>(m_shareGroup.get());
}

Bool OmWindow::Impl::X11::waitForMapNotifyX(Display*, XEvent* event, char* arg)
{
  return event->type == MapNotify && event->xmap.window == reinterpret_cast<Window>(arg);
}

Bool OmWindow::Impl::X11::waitForUnmapNotifyX(Display*, XEvent* event, char* arg)
{
  return event->type == UnmapNotify && event->xunmap.window == reinterpret_cast<Window>(arg);
}
