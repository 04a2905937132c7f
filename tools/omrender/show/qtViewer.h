#ifndef OM_TOOLS_QT_VIEWER_H
#define OM_TOOLS_QT_VIEWER_H

#include "tools/omrender/show/pictureShow.h"

/// Shows pictures in a Qt window until the user, who leafs through them by keys, closes it. If the options give a time,
/// each picture stays for that long, and the window closes after the last one. Needs a display that opens windows: Qt
/// ends the program without one. Throws a Failure.
void showPicturesInQt(const ShowOptions& options, const std::vector<PictureFile>& pictures, LibraryLog& log);

#endif
