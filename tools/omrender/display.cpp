#include "tools/omrender/display.h"

#include "render/omWindow.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/libraryLog.h"

#include <cstdlib>

#include <GL/glx.h>
#include <X11/Xlib.h>

namespace
{

// Xlib calls both handlers with its locks held, so neither throws.

int onRefusedRequest(Display* display, XErrorEvent* event)
{
  char text[256] = "";
  XGetErrorText(display, event->error_code, text, sizeof text);
  const bool isGone = event->error_code == BadWindow || event->error_code == BadDrawable;
  printFailure("omrender", isGone ? windowDestroyed()
                                  : displayName() + " refused request " + std::to_string(event->request_code) + "." +
                                        std::to_string(event->minor_code) + ": " + text);
  std::_Exit(SomeFailed);
}

int onLostConnection(Display*)
{
  endOnLostConnection();
}

/// True also after a failed OmWindow::init(), when the native window opened but its OpenGL is not of use.
bool isNativeWindowOpen(const OmWindow& window)
{
  const auto impl = window.getImpl();
  return impl && impl->getWindow();
}

} // namespace

OmString displayName()
{
  const char* const name = std::getenv("DISPLAY");
  return name && *name ? "display " + quoted(name) : "a display (DISPLAY is not set)";
}

OmString windowDestroyed()
{
  return "the window on " + displayName() + " is gone: another program has destroyed it";
}

OmString tryToOpen(OmWindow& window, LibraryLog& log)
{
  if (window.init())
    return "";
  const bool isEGL = OmWindow::getImplType() == OmWindow::ImplEGL;
  const OmString what = isEGL ? "without a display" : "on " + displayName();
  OmString advice;
  if (isNativeWindowOpen(window))
    advice = "; use a driver that gives contexts of the compatibility profile";
  else if (!isEGL)
    advice = "; set DISPLAY to an X server with GLX, or start the program with xvfb-run -a";
  return "cannot open a window " + what + ": " + log.takeReason("no reason was given") + advice;
}

void openWindow(OmWindow& window, LibraryLog& log)
{
  const OmString failure = tryToOpen(window, log);
  if (!failure.empty())
    throw Failure(failure, NoCard);
}

std::pair<OmU32, OmU32> currentWindowSize(const OmWindow& window)
{
  OmU32 storedWidth = 0;
  OmU32 storedHeight = 0;
  window.getWindowSize(storedWidth, storedHeight);
  if (OmWindow::getImplType() == OmWindow::ImplEGL)
    return {storedWidth, storedHeight};
  Window root = 0;
  int x = 0;
  int y = 0;
  unsigned int width = 0;
  unsigned int height = 0;
  unsigned int border = 0;
  unsigned int depth = 0;
  XGetGeometry(glXGetCurrentDisplay(), glXGetCurrentDrawable(), &root, &x, &y, &width, &height, &border, &depth);
  return {width, height};
}

void endOnDisplayErrors()
{
  XSetErrorHandler(onRefusedRequest);
  XSetIOErrorHandler(onLostConnection);
}

void endOnLostConnection()
{
  printFailure("omrender", "the connection to " + displayName() + " is gone: the window or the X server was closed");
  std::_Exit(NoCard);
}
