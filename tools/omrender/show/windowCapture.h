#ifndef OM_TOOLS_WINDOW_CAPTURE_H
#define OM_TOOLS_WINDOW_CAPTURE_H

#include "tools/omrender/show/showOptions.h"

class LibraryLog;
class OmSimpleWindow;

/// Writes what the window shows, or the block of it, as the options say. `name` is the picture's, for messages. Throws
/// a Failure, also when a window manager made the window smaller than the picture.
void captureWindow(OmSimpleWindow& window, const ShowOptions& options, const OmString& name, LibraryLog& log);

#endif
