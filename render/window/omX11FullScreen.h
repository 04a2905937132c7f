#ifndef OM_X11_FULL_SCREEN_H
#define OM_X11_FULL_SCREEN_H

/// Whether a window manager lets windows fill the screen (EWMH, _NET_WM_STATE_FULLSCREEN) on the display that the
/// environment names (DISPLAY). For callers that have no connection of their own.
bool omOffersFullScreen();

#endif
