#ifndef OM_TOOLS_SHOW_OPTIONS_H
#define OM_TOOLS_SHOW_OPTIONS_H

#include "image/omImageBlock.h"

#include <optional>
#include <vector>

/// What the user wants shown, and how.
struct ShowOptions
{
  std::vector<OmString> files;
  std::optional<double> seconds;
  std::optional<double> scale; ///< pixels of the window for one of the picture; nothing to fit it to the screen
  OmPixel position;
  std::optional<OmString> title;
  bool fullScreen = false;
  OmString capture; ///< the file to write; empty for none
  std::optional<OmImageBlock> block;
};

/// Throws a Failure when the block lies outside a window of that size, in pixels.
void checkBlock(const OmImageBlock& block, OmU32 width, OmU32 height);

#endif
