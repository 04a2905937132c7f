#include "render/window/omX11DesktopWindow.h"

#include "render/omGL.h"
#include "render/window/omWaitForInput.h"
#include "render/window/omX11Errors.h"
#include "render/window/omX11Input.h"

#include <X11/XKBlib.h>

#include <optional>
#include <utility>

#include <poll.h>

namespace
{

struct Position
{
  int x;
  int y;
};

/// Where a window, or the window manager's frame about it, stands on the screen, in pixels: the position to ask for so
/// that it stays there. That is the frame's outer corner (ICCCM), but inside the frame's own border, which the twm
/// family alone has. Empty if the frame vanishes meanwhile.
std::optional<Position> framePosition(Display* display, Window window)
{
  const OmX11Errors errors(display);
  Window root = None;
  Window frame = window;
  for (Window above = window; above != root;)
  {
    frame = above;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, frame, &root, &above, &children, &count))
      return {};
    if (children)
      XFree(children);
  }
  Position position = {};
  unsigned int width = 0;
  unsigned int height = 0;
  unsigned int border = 0;
  unsigned int depth = 0;
  if (!XGetGeometry(display, frame, &root, &position.x, &position.y, &width, &height, &border, &depth))
    return {};
  if (frame != window)
  {
    position.x += static_cast<int>(border);
    position.y += static_cast<int>(border);
  }
  return position;
}

/// Whether the server has closed the connection.
bool isLost(Display* display)
{
  pollfd connection = {ConnectionNumber(display), POLLIN, 0};
  return ::poll(&connection, 1, 0) > 0 && (connection.revents & (POLLHUP | POLLERR | POLLNVAL));
}

} // namespace

void OmX11DesktopWindow::open(OmWindow* window, const OmX11Native& native, unsigned int width, unsigned int height,
                              std::function<void()> forget)
{
  m_window = window;
  m_forget = std::move(forget);
  m_native = native;
  m_width = width;
  m_height = height;
  m_resized = 0;
  m_hasInput = m_hasNews = m_newSize = m_newPosition = m_exposed = m_closePressed = m_reporting = false;
  m_properties.open(native);
  if (!m_icon.empty())
    m_properties.setIcon(m_icon);
}

void OmX11DesktopWindow::close()
{
  m_window = nullptr;
  m_hasNews = false;
  clear();
}

void OmX11DesktopWindow::poll()
{
  m_hasNews = false;
  if (!m_window)
    return;
  if (!m_hasInput)
    takeInput();
  takeQueued(XPending(m_native.display));
  // Each step may run the program's own code, which may close the window.
  hideIfClosed();
  if (m_window && m_newSize)
    reportSize();
  if (m_window && m_newPosition)
    reportPosition();
  if (m_window && m_exposed)
  {
    m_exposed = false;
    m_window->renderScene(true);
  }
}

/// Asks for what a program that polls gets beyond the rest.
void OmX11DesktopWindow::takeInput()
{
  m_hasInput = true;
  XWindowAttributes attributes = {};
  XGetWindowAttributes(m_native.display, m_native.window, &attributes);
  XSelectInput(m_native.display, m_native.window, attributes.your_event_mask | OmX11InputMask);
  XkbSetDetectableAutoRepeat(m_native.display, True, nullptr);
  m_properties.announcePing();
}

void OmX11DesktopWindow::collect()
{
  if (!m_window)
    return;
  takeQueued(XEventsQueued(m_native.display, QueuedAfterReading));
  hideIfClosed();
}

void OmX11DesktopWindow::takeQueued(int events)
{
  for (; events > 0; --events)
  {
    XEvent event;
    XNextEvent(m_native.display, &event); // which does not wait for an event that is queued
    keep(event);
  }
}

void OmX11DesktopWindow::keep(XEvent& event)
{
  if (event.type == MappingNotify)
    XRefreshKeyboardMapping(&event.xmapping);
  if (!m_window || event.xany.window != m_native.window)
    return;
  if (event.type == ConfigureNotify)
  {
    const XConfigureEvent& now = event.xconfigure;
    m_newPosition = true;
    if (now.serial >= m_resized)
    {
      const auto width = static_cast<unsigned int>(now.width);
      const auto height = static_cast<unsigned int>(now.height);
      m_newSize = m_newSize || width != m_width || height != m_height;
      m_width = width;
      m_height = height;
    }
  }
  else if (event.type == Expose)
    m_exposed = true;
  else if (event.type == DestroyNotify)
    giveUp();
  else if (m_properties.isCloseRequest(event))
    m_closePressed = true;
  else if (const std::optional<OmWindowEvent> input = omInputEvent(event))
    add(*input);
  else
  {
    m_properties.answerPing(event);
    return;
  }
  m_hasNews = true;
}

/// Another program has destroyed the native window.
void OmX11DesktopWindow::giveUp()
{
  m_window = nullptr;
  m_closePressed = false;
  setCloseRequested(true);
  m_forget();
}

void OmX11DesktopWindow::hideIfClosed()
{
  if (!m_closePressed)
    return;
  m_closePressed = false;
  setCloseRequested(true);
  m_window->setHideWindow(true); // the last step: the program's own one may let go of this object
}

void OmX11DesktopWindow::reportSize()
{
  m_newSize = false;
  const unsigned int width = m_width;
  const unsigned int height = m_height;
  m_reporting = true;
  m_window->makeCurrent();
  glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
  if (m_window->setWindowSize(width, height))
    m_exposed = false; // it has been drawn
  m_reporting = false;
}

void OmX11DesktopWindow::reportPosition()
{
  m_newPosition = false;
  if (const std::optional<Position> position = framePosition(m_native.display, m_native.window))
    m_window->setWindowPos(static_cast<OmU32>(position->x), static_cast<OmU32>(position->y), false);
}

bool OmX11DesktopWindow::isReporting(OmU32 width, OmU32 height) const
{
  return m_reporting && width == m_width && height == m_height;
}

void OmX11DesktopWindow::willResize(unsigned int width, unsigned int height)
{
  if (!m_window)
    return;
  m_width = width;
  m_height = height;
  m_newSize = false;
  m_resized = NextRequest(m_native.display);
}

bool OmX11DesktopWindow::wait(double seconds, int descriptor)
{
  if (m_hasNews)
    return true;
  if (!m_window)
    return omWaitForInput(seconds, {descriptor});
  if (XPending(m_native.display) > 0)
    return true;
  // Xlib ends a program whose server is gone. One that has asked it not to is told once, and goes on without.
  const bool lost = isLost(m_native.display);
  if (lost && !isCloseRequested())
  {
    setCloseRequested(true);
    return true;
  }
  return omWaitForInput(seconds, {lost ? -1 : ConnectionNumber(m_native.display), descriptor});
}

bool OmX11DesktopWindow::setFillScreen(bool fill)
{
  return m_window && m_properties.setFillScreen(fill, m_window->getHideWindow());
}

void OmX11DesktopWindow::setIcon(const OmImage& icon)
{
  m_icon = OmX11Properties::pixels(icon);
  if (m_window)
    m_properties.setIcon(m_icon);
}
