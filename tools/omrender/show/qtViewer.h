#ifndef OM_TOOLS_QT_VIEWER_H
#define OM_TOOLS_QT_VIEWER_H

#include "tools/omrender/show/showOptions.h"

class LibraryLog;
class ViewerContent;

/// Shows content in a Qt window by a Viewer. Needs a display that opens windows: Qt ends the program without one.
/// Throws a Failure.
void showInQt(const ShowOptions& options, ViewerContent& content, LibraryLog& log);

#endif
