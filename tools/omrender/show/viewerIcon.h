#ifndef OM_TOOLS_VIEWER_ICON_H
#define OM_TOOLS_VIEWER_ICON_H

#include "image/omImage.h"

/// The icon of the program's windows (OmWindow::setIcon()). Without pixels if it is not installed.
OmImage viewerIcon();

#endif
