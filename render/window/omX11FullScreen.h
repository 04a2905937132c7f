#ifndef OM_X11_FULL_SCREEN_H
#define OM_X11_FULL_SCREEN_H

struct _XDisplay; // Display, without Xlib's header, whose macros break Qt's

/// Whether the window manager lets windows fill the screen (EWMH, _NET_WM_STATE_FULLSCREEN).
bool omOffersFullScreen(_XDisplay* display);
/// The same for the display that the environment names (DISPLAY). False if there is none.
bool omOffersFullScreen();

#endif
