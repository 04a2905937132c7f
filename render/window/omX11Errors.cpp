#include "render/window/omX11Errors.h"

#include <atomic>

namespace
{

// Xlib passes no user data to an error handler, so its state is static.
std::atomic<Display*> s_display;
std::atomic<XErrorHandler> s_before;
std::atomic<bool> s_caught;

} // namespace

OmX11Errors::OmX11Errors(Display* display) : m_display(display), m_before(XSetErrorHandler(onError))
{
  s_caught = false;
  s_before = m_before;
  s_display = display;
}

OmX11Errors::~OmX11Errors()
{
  XSync(m_display, False);
  XSetErrorHandler(m_before);
}

bool OmX11Errors::caught() const
{
  XSync(m_display, False);
  return s_caught;
}

int OmX11Errors::onError(Display* display, XErrorEvent* event)
{
  const XErrorHandler before = s_before;
  if (display != s_display)
    return before(display, event);
  s_caught = true;
  return 0;
}
