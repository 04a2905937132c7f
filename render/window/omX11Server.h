#ifndef OM_X11_SERVER_H
#define OM_X11_SERVER_H

#include <X11/Xlib.h>

/// Opens the display that the environment names (DISPLAY). Returns null if that fails.
///
/// A server that resets itself when its last client leaves closes connections that arrive meanwhile. Xvfb does so
/// unless it is started with -noreset. So if a local server seems to reset itself, tries again for half a second.
Display* omOpenDisplay();

#endif
