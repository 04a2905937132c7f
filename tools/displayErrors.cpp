#include "tools/displayErrors.h"

#include "tools/failure.h"

#include <cstdlib>

#include <X11/Xlib.h>

namespace
{

// Neither handler unwinds: it is called from inside Xlib, with locks held.

int onRefusedRequest(Display* display, XErrorEvent* event)
{
  char text[256] = "";
  XGetErrorText(display, event->error_code, text, sizeof text);
  printFailure("omrender", displayName() + " refused request " + std::to_string(event->request_code) + "." +
                               std::to_string(event->minor_code) + ": " + text);
  std::_Exit(1);
}

int onLostConnection(Display*)
{
  endOnLostConnection();
}

} // namespace

void endOnDisplayErrors()
{
  XSetErrorHandler(onRefusedRequest);
  XSetIOErrorHandler(onLostConnection);
}

void endOnLostConnection()
{
  printFailure("omrender", "the connection to " + displayName() + " is gone: the window or the X server was closed");
  std::_Exit(1);
}

OmString displayName()
{
  const char* const name = std::getenv("DISPLAY");
  return name && *name ? "display " + quoted(name) : "a display (DISPLAY is not set)";
}
