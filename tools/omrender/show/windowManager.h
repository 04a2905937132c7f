#ifndef OM_TOOLS_WINDOW_MANAGER_H
#define OM_TOOLS_WINDOW_MANAGER_H

/// Whether the display in the environment has a window manager that lets windows fill the screen (EWMH).
bool windowManagerOffersFullScreen();

#endif
