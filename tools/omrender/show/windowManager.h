#ifndef OM_TOOLS_WINDOW_MANAGER_H
#define OM_TOOLS_WINDOW_MANAGER_H

/// Whether a window manager runs on the display in the environment that lets windows fill the screen (EWMH).
bool windowManagerOffersFullScreen();

#endif
