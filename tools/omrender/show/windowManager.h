#ifndef OM_TOOLS_WINDOW_MANAGER_H
#define OM_TOOLS_WINDOW_MANAGER_H

#include "tools/omrender/show/pictureView.h"

/// Whether the display in the environment has a window manager that lets windows fill the screen (EWMH).
bool windowManagerOffersFullScreen();

/// The largest size of a window that lies on the display's screen, in pixels: with its frame inside the work area that
/// the window manager tells (EWMH), otherwise the screen's. Huge without a display.
PictureView::Size usableSize();

#endif
