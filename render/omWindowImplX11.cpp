#include "render/omWindowImplX11.h"

#include "foundation/core/omPrint.h"
#include "render/omVersion.h"
#include "render/window/omContextThreads.h"
#include "render/window/omCurrentEGL.h"
#include "render/window/omSwapInterval.h"
#include "render/window/omX11Connections.h"
#include "render/window/omX11DesktopWindow.h"
#include "render/window/omX11Errors.h"
#include "render/window/omX11Server.h"

#include <X11/Xutil.h>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <algorithm>

namespace
{

constexpr int LargestCoordinate = 32767; // X's coordinates are signed 16-bit numbers

struct VisualTail
{
  int attributes[3]; // unused ones are 0
  bool stereo;
};

constexpr VisualTail VisualTails[] = {
    {{GLX_STEREO, GLX_DEPTH_SIZE, 32}, true}, {{GLX_STEREO, GLX_DEPTH_SIZE, 24}, true},
    {{GLX_DEPTH_SIZE, 32, 0}, false},         {{GLX_DEPTH_SIZE, 24, 0}, false},
    {{GLX_DEPTH_SIZE, 1, 0}, false},          {{0, 0, 0}, false},
};

/// Makes a context current that may be current on another thread. Returns false if it is: drivers then refuse with an X
/// error.
bool takeOver(Display* display, GLXDrawable drawable, GLXContext context)
{
  const OmX11Errors errors(display);
  return glXMakeCurrent(display, drawable, context) && !errors.caught();
}

struct Size
{
  unsigned int width;
  unsigned int height;
};

/// The size to ask X for, in pixels. X has no empty windows.
Size nativeSize(OmU32 width, OmU32 height)
{
  if (width == 0 || height == 0)
    return {1, 1};
  constexpr OmU32 largest = LargestCoordinate;
  return {std::min(width, largest), std::min(height, largest)};
}

/// The position to ask X for, in pixels. Positions left of or above the screen arrive as large unsigned numbers.
int nativePosition(OmU32 position)
{
  return std::clamp(static_cast<int>(position), -LargestCoordinate, LargestCoordinate);
}

/// The connections of a share group of X11 windows.
OmX11Connections& connectionsOf(const boost::shared_ptr<OmShareGroup::Names>& group)
{
  return static_cast<OmX11Connections&>(*group);
}

} // namespace

OmWindow::Impl::X11::X11()
    : m_pDisplay(nullptr), m_pVisualInfo(nullptr), m_context(nullptr), m_xWindow(0), m_colormap(0),
      m_largestWidth(LargestCoordinate), m_largestHeight(LargestCoordinate)
{
  m_desktop = std::make_unique<OmX11DesktopWindow>();
}

OmWindow::Impl::X11::~X11()
{
  X11::closeWindow();
  freeVisual();
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
  desktop().setTitle(name);
  XFlush(m_pDisplay);
}

/// Whether the card draws windows of that size, in pixels; prints an error message if not.
bool OmWindow::Impl::X11::isSizeDrawn(const char* operation, OmU32 width, OmU32 height) const
{
  if (width <= m_largestWidth && height <= m_largestHeight)
    return true;
  Om::Print::instance().write(Om::Print::Error,
                              "X11::%s - %u by %u pixels are more than the %u by %u that the card draws.\n", operation,
                              width, height, m_largestWidth, m_largestHeight);
  return false;
}

/// Resizes the window by calling `request`, with a size within the limits of the card and of X. Prints an error message
/// if the card or the server does not take the size.
template <class Request>
void OmWindow::Impl::X11::resize(OmU32 width, OmU32 height, Request request)
{
  if (!m_xWindow)
    return;
  Size size = nativeSize(width, height);
  if (!isSizeDrawn("setWindowSize", width, height))
    size = {std::min(size.width, m_largestWidth), std::min(size.height, m_largestHeight)};
  const OmX11Errors errors(m_pDisplay);
  desktop().willResize(size.width, size.height);
  request(size.width, size.height);
  handleConfigure();
  if (errors.caught())
    Om::Print::instance().write(Om::Print::Error,
                                "X11::setWindowSize - The X server cannot hold a window of %u by %u pixels.\n",
                                size.width, size.height);
}

void OmWindow::Impl::X11::setWindowSize(OmU32 width, OmU32 height)
{
  if (!desktop().isReporting(width, height))
    resize(width, height, [this](unsigned int w, unsigned int h) { XResizeWindow(m_pDisplay, m_xWindow, w, h); });
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
  resize(width, height,
         [=](unsigned int w, unsigned int h)
         { XMoveResizeWindow(m_pDisplay, m_xWindow, nativePosition(x), nativePosition(y), w, h); });
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
  desktop().setHidden(hide);
  handleConfigure();
}

void OmWindow::Impl::X11::setFullScreen(OmBoolean fullScreen)
{
  if (m_xWindow && !desktop().setDecorated(!fullScreen))
    Om::Print::instance().write(Om::Print::Error, "Unable to change fullscreen property.\n");
}

void OmWindow::Impl::X11::makeCurrent() const
{
  if (!m_xWindow || (glXGetCurrentContext() == m_context && OmWindow::getWindow() == m_pWindow))
    return;
  OmCurrentEGL::release();
  OmContextThreads& threads = OmContextThreads::instance();
  if (!threads.isElsewhere(m_context))
    glXMakeCurrent(m_pDisplay, m_xWindow, m_context);
  else if (!takeOver(m_pDisplay, m_xWindow, m_context))
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmWindow::Impl::X11::makeCurrent - The window is current on another thread; open and "
                                "use each window on one thread.\n");
    return;
  }
  threads.take(m_context); // not before: a context that was refused still belongs to the other thread
  deleteKeptNames();
}

void OmWindow::Impl::X11::swapBuffers() const
{
  if (!m_xWindow)
    return;
  glXSwapBuffers(m_pDisplay, m_xWindow);
  desktop().collect();
}

OmBoolean OmWindow::Impl::X11::openWindow()
{
  if (!m_pWindow)
  {
    Om::Print::instance().write(Om::Print::Error, "X11::openWindow - No root window specified.\n");
    return false;
  }
  if (m_xWindow)
    return true;
  if (!isSizeHeld() || !openDisplay())
  {
    closeWindow();
    return false;
  }
  if (!openOnDisplay())
    return false;
  const OmString name = m_pWindow->getName();
  setName(name);
  return true;
}

/// Opens the window on the connection. If the server refuses a request, the step fails instead of ending the process.
bool OmWindow::Impl::X11::openOnDisplay()
{
  const OmX11Errors errors(m_pDisplay);
  if (hasGLX() && chooseVisual() && createContext(errors) && createWindow(errors))
  {
    if (!m_pWindow->getHideWindow())
      mapWindow();
    if (activate(errors))
    {
      omSwapWithoutWaiting();
      return true;
    }
  }
  closeWindow(); // while `errors` still catches its errors
  return false;
}

/// Whether X has windows of that size. Checked before a context is made, because closing after a later failure leaves
/// no context current, not even another window's.
bool OmWindow::Impl::X11::isSizeHeld() const
{
  OmU32 width = 0;
  OmU32 height = 0;
  m_pWindow->getWindowSize(width, height);
  if (width <= LargestCoordinate && height <= LargestCoordinate)
    return true;
  Om::Print::instance().write(Om::Print::Error, "X11::openWindow - %u by %u pixels are more than the %d of a window.\n",
                              width, height, LargestCoordinate);
  Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Failed to create Window.\n");
  return false;
}

bool OmWindow::Impl::X11::openDisplay()
{
  if (!m_pDisplay)
  {
    const boost::shared_ptr<X11> partner = sharePartner();
    if (partner && partner->m_context)
      m_connection = connectionsOf(partner->m_groupNames).findIdle();
    if (m_connection)
      XSync(m_connection.get(), True); // drops the events of the window that used it before
    else if (Display* display = omOpenDisplay())
      m_connection.reset(display, XCloseDisplay);
    m_pDisplay = m_connection.get();
  }
  if (!m_pDisplay)
  {
    Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Cannot open display.\n");
    return false;
  }
  return true;
}

bool OmWindow::Impl::X11::hasGLX() const
{
  if (glXQueryExtension(m_pDisplay, nullptr, nullptr))
    return true;
  Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Failed to get GLX extensions.\n");
  return false;
}

OmBoolean OmWindow::Impl::X11::chooseVisual()
{
  if (!m_pDisplay)
    return false;
  const int screen = ScreenCount(m_pDisplay) - 1;
  freeVisual();
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
  Om::Print::instance().write(Om::Print::Error, "X11: Unable to find suitable pixel format.\n");
  return false;
}

bool OmWindow::Impl::X11::createContext(const OmX11Errors& errors)
{
  const boost::shared_ptr<X11> partner = sharePartner();
  if (!partner && getShare())
    Om::Print::instance().write(Om::Print::Error,
                                "OmWindow::openWindow() - Unable to share windows of different types.\n");

  const GLXContext shared = partner ? partner->m_context : nullptr;
  holdNames(shared ? partner->m_groupNames : boost::make_shared<OmX11Connections>());
  connectionsOf(m_groupNames).add(m_connection);
  m_context = glXCreateContext(m_pDisplay, m_pVisualInfo, shared, True);
  if (m_context && !errors.caught())
    return true;
  Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Failed to create OpenGL context.\n");
  return false;
}

bool OmWindow::Impl::X11::createWindow(const OmX11Errors& errors)
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
  if (!m_xWindow || errors.caught())
  {
    m_xWindow = 0; // Xlib returns an id even if the server refuses the window
    Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Failed to create Window.\n");
    return false;
  }

  XSizeHints hints = {};
  hints.flags = PPosition;
  hints.x = nativePosition(x);
  hints.y = nativePosition(y);
  XSetWMNormalHints(m_pDisplay, m_xWindow, &hints);
  desktop().open(m_pWindow, {m_pDisplay, root, m_xWindow}, size.width, size.height, [this] { m_xWindow = 0; });
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

/// Makes the context current, and asks it for the largest window that it draws.
bool OmWindow::Impl::X11::activate(const OmX11Errors& errors)
{
  OmCurrentEGL::release();
  if (!glXMakeCurrent(m_pDisplay, m_xWindow, m_context) || errors.caught())
  {
    Om::Print::instance().write(Om::Print::Error, "X11::openWindow - Failed to make the OpenGL context current.\n");
    return false;
  }
  OmContextThreads::instance().take(m_context);
  GLint largest[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, largest);
  m_largestWidth = static_cast<OmU32>(std::clamp(largest[0], 1, LargestCoordinate));
  m_largestHeight = static_cast<OmU32>(std::clamp(largest[1], 1, LargestCoordinate));
  OmU32 width = 0;
  OmU32 height = 0;
  m_pWindow->getWindowSize(width, height);
  return isSizeDrawn("openWindow", width, height);
}

void OmWindow::Impl::X11::unmapWindow()
{
  // The server reports an unmap only for a window that is mapped. A window is not mapped before the window manager has
  // mapped it, nor after the user has iconified it.
  XWindowAttributes attributes = {};
  const bool mapped = XGetWindowAttributes(m_pDisplay, m_xWindow, &attributes) && attributes.map_state != IsUnmapped;
  XUnmapWindow(m_pDisplay, m_xWindow);
  XEvent event;
  if (mapped)
    XIfEvent(m_pDisplay, &event, waitForUnmapNotifyX, reinterpret_cast<char*>(m_xWindow));
}

void OmWindow::Impl::X11::closeWindow()
{
  desktop().close();
  deleteLastNames();
  const bool wasOpening = m_context; // if there was none, free the visual too; else the next opening does
  if (m_xWindow && (!m_pWindow || !m_pWindow->getHideWindow()))
    unmapWindow();
  destroyContext();
  destroyWindow();
  if (!wasOpening)
    freeVisual();
  dropNames();
  m_pWindow = nullptr;
}

void OmWindow::Impl::X11::destroyContext()
{
  if (!m_context)
    return;
  OmContextThreads& threads = OmContextThreads::instance();
  threads.forget(m_context);
  threads.take(nullptr); // the calling thread has no current context afterwards
  OmCurrentEGL::release();
  glXMakeCurrent(m_pDisplay, None, nullptr);
  glXDestroyContext(m_pDisplay, m_context);
  m_context = nullptr;
}

void OmWindow::Impl::X11::destroyWindow()
{
  if (m_xWindow)
    XDestroyWindow(m_pDisplay, m_xWindow);
  m_xWindow = 0;
  if (!m_colormap)
    return;
  XFreeColormap(m_pDisplay, m_colormap);
  XFlush(m_pDisplay); // the connection may outlive the window
  m_colormap = 0;
}

void OmWindow::Impl::X11::freeVisual()
{
  if (m_pVisualInfo)
    XFree(m_pVisualInfo);
  m_pVisualInfo = nullptr;
}

void OmWindow::Impl::X11::handleConfigure()
{
  XEvent event;
  if (XCheckTypedWindowEvent(m_pDisplay, m_xWindow, ConfigureNotify, &event))
  {
    desktop().keep(event);
    XFlush(m_pDisplay);
  }
}

OmX11DesktopWindow& OmWindow::Impl::X11::desktop() const
{
  return static_cast<OmX11DesktopWindow&>(*m_desktop);
}

boost::shared_ptr<OmWindow::Impl::X11> OmWindow::Impl::X11::sharePartner() const
{
  return boost::dynamic_pointer_cast<X11>(getShare());
}

Bool OmWindow::Impl::X11::waitForMapNotifyX(Display*, XEvent* event, char* arg)
{
  return event->type == MapNotify && event->xmap.window == reinterpret_cast<Window>(arg);
}

Bool OmWindow::Impl::X11::waitForUnmapNotifyX(Display*, XEvent* event, char* arg)
{
  return event->type == UnmapNotify && event->xunmap.window == reinterpret_cast<Window>(arg);
}
