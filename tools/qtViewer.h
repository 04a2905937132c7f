#ifndef OM_TOOLS_QT_VIEWER_H
#define OM_TOOLS_QT_VIEWER_H

#include "tools/pictureShow.h"

/// Shows pictures in a Qt window that the user leafs through and closes; where a time is given, each picture stays for
/// that long and the window closes after the last one. The display has to be one that opens windows. Throws a Failure.
void showPicturesInQt(const ShowOptions& options, const std::vector<Picture>& pictures, LibraryLog& log);

#endif
