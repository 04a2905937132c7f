#ifndef OM_TOOLS_PICTURE_SHOW_H
#define OM_TOOLS_PICTURE_SHOW_H

#include "tools/omrender/pictureFile.h"
#include "tools/omrender/show/showOptions.h"

class LibraryLog;
class OmSimpleWindow;

/// Shows picture files one at a time in a window of any back end. Only the one on show is in memory.
class PictureShow
{
public:
  /// Keeps references to all three.
  PictureShow(OmSimpleWindow& window, const ShowOptions& options, LibraryLog& log);

  /// Reads a picture and shows it; captures it if the options say so. Opens the window for the first one. Throws a
  /// Failure.
  void show(const PictureFile& picture);

private:
  void open(const PictureFile& picture);
  void capture(const PictureFile& picture);
  void checkWindow() const;

  OmSimpleWindow& m_window;
  const ShowOptions& m_options;
  LibraryLog& m_log;
  bool m_open = false;
};

/// Throws a Failure that says why no window fills the screen.
[[noreturn]] void failToShowFullScreen(const OmString& reason);

#endif
