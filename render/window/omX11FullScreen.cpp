#include "render/window/omX11FullScreen.h"

#include "render/window/omX11Server.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <memory>

bool omOffersFullScreen()
{
  constexpr long MostAtoms = 1024;
  const std::unique_ptr<Display, int (*)(Display*)> display(omOpenDisplay(), XCloseDisplay);
  if (!display)
    return false;
  Display* const connection = display.get();
  Atom type = None;
  int format = 0; // Xlib delivers properties of format 32 as longs
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* bytes = nullptr;
  XGetWindowProperty(connection, DefaultRootWindow(connection), XInternAtom(connection, "_NET_SUPPORTED", False), 0,
                     MostAtoms, False, XA_ATOM, &type, &format, &count, &left, &bytes);
  const std::unique_ptr<unsigned char, int (*)(void*)> owner(bytes, XFree);
  if (type != XA_ATOM || format != 32)
    return false;
  const auto* const atoms = reinterpret_cast<const Atom*>(bytes);
  return std::count(atoms, atoms + count, XInternAtom(connection, "_NET_WM_STATE_FULLSCREEN", False)) > 0;
}
