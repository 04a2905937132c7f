#ifndef OM_TOOLS_PICTURE_SHOW_H
#define OM_TOOLS_PICTURE_SHOW_H

#include "image/omImageBlock.h"
#include "tools/pictureFile.h"

#include <optional>
#include <vector>

class LibraryLog;
class OmSimpleWindow;

/// What the user asked for.
struct ShowOptions
{
  std::vector<OmString> files;
  std::optional<double> seconds;
  OmPixel position;
  std::optional<OmString> title;
  bool fullScreen = false;
  OmString capture; ///< the file to write; empty for none
  std::optional<OmImageBlock> block;
};

/// Shows picture files in a window, whatever its back end, one at a time: only the one on show is in memory.
class PictureShow
{
public:
  /// All three are the caller's and outlive the show.
  PictureShow(OmSimpleWindow& window, const ShowOptions& options, LibraryLog& log);

  /// Reads a picture and shows it, in the window that opens for the first one, and captures it where that was asked
  /// for. Throws a Failure.
  void show(const Picture& picture);

private:
  void open(const Picture& picture);
  void capture(const Picture& picture);

  OmSimpleWindow& m_window;
  const ShowOptions& m_options;
  LibraryLog& m_log;
  bool m_open = false;
};

/// Throws a Failure when the block lies outside a window of that size, in pixels.
void checkBlock(const OmImageBlock& block, OmU32 width, OmU32 height);

/// Throws a Failure: no window fills the screen, for that reason.
[[noreturn]] void failToShowFullScreen(const OmString& reason);

#endif
