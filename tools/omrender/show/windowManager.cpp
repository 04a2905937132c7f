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

using DisplayPointer = std::unique_ptr<Display, int (*)(Display*)>;

DisplayPointer openDisplay()
{
  return DisplayPointer(XOpenDisplay(nullptr), XCloseDisplay);
}

} // namespace

bool windowManagerOffersFullScreen()
{
  const DisplayPointer display = openDisplay();
  if (!display)
    return false;
  const Property supported(display.get(), DefaultRootWindow(display.get()), "_NET_SUPPORTED", XA_ATOM);
  return std::count(supported.begin(), supported.end(), XInternAtom(display.get(), "_NET_WM_STATE_FULLSCREEN", False)) >
         0;
}

PictureView::Size usableSize()
{
  constexpr OmU32 Huge = 32767;
  constexpr unsigned long FrameWidth = 8;   // what a frame takes at both sides, in pixels
  constexpr unsigned long FrameHeight = 40; // and above and below
  const DisplayPointer display = openDisplay();
  if (!display)
    return {Huge, Huge};
  const Property area(display.get(), DefaultRootWindow(display.get()), "_NET_WORKAREA", XA_CARDINAL);
  const unsigned long* const values = area.begin(); // x, y, width and height on each desktop
  if (area.count >= 4 && values[2] > 2 * FrameWidth && values[3] > 2 * FrameHeight)
    return {static_cast<OmU32>(values[2] - FrameWidth), static_cast<OmU32>(values[3] - FrameHeight)};
  const int screen = DefaultScreen(display.get());
  return {static_cast<OmU32>(DisplayWidth(display.get(), screen)),
          static_cast<OmU32>(DisplayHeight(display.get(), screen))};
}
