#include "tools/omrender/show/windowManager.h"

#include <algorithm>
#include <memory>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace
{

/// A property of a window in format 32, which Xlib delivers as longs. Empty if the window has none of that type.
struct Property
{
  Property(Display* display, Window window, const char* name, Atom type)
  {
    constexpr long MostItems = 1024;
    Atom actualType = None;
    int format = 0;
    unsigned long left = 0;
    XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, MostItems, False, type, &actualType,
                       &format, &count, &left, &bytes);
    if (actualType != type || format != 32)
      count = 0;
  }
  Property(const Property&) = delete;
  Property& operator=(const Property&) = delete;
  ~Property()
  {
    if (bytes)
      XFree(bytes);
  }

  const unsigned long* begin() const { return reinterpret_cast<const unsigned long*>(bytes); }
  const unsigned long* end() const { return begin() + count; }

  unsigned char* bytes = nullptr;
  unsigned long count = 0;
};

} // namespace

bool windowManagerOffersFullScreen()
{
  const std::unique_ptr<Display, int (*)(Display*)> display(XOpenDisplay(nullptr), XCloseDisplay);
  if (!display)
    return false;
  const Property supported(display.get(), DefaultRootWindow(display.get()), "_NET_SUPPORTED", XA_ATOM);
  return std::count(supported.begin(), supported.end(), XInternAtom(display.get(), "_NET_WM_STATE_FULLSCREEN", False)) >
         0;
}
