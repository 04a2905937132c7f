#ifndef OM_X11_ERRORS_H
#define OM_X11_ERRORS_H

#include <X11/Xlib.h>

/// Catches the errors that a server reports for one connection, from construction to destruction. Xlib's default
/// handler would end the process. Errors of other connections go to the handler that was installed before. Only one
/// object may exist at a time, because Xlib has one handler for the process.
class OmX11Errors
{
public:
  explicit OmX11Errors(Display* display);
  ~OmX11Errors();
  OmX11Errors(const OmX11Errors&) = delete;
  OmX11Errors& operator=(const OmX11Errors&) = delete;

  /// Whether the server has refused a request so far. Waits until the server has processed all requests.
  bool caught() const;

private:
  static int onError(Display* display, XErrorEvent* event);

  Display* const m_display;
  const XErrorHandler m_before;
};

#endif
