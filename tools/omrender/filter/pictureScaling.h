#ifndef OM_TOOLS_PICTURE_SCALING_H
#define OM_TOOLS_PICTURE_SCALING_H

#include "image/omDeepImage.h"
#include "image/omImage.h"
#include "image/omImageBlock.h"
#include "tools/omrender/pictureFile.h"

#include <optional>
#include <utility>

/// What of a picture a filter gets, and in which size. Of size, fit and percent at most one is set.
struct PictureScaling
{
  using Size = std::pair<OmU32, OmU32>; ///< in pixels

  std::optional<OmImageBlock> crop; ///< comes first
  std::optional<Size> size;
  std::optional<Size> fit;       ///< what the picture is made to fit into, with its own aspect
  std::optional<double> percent; ///< of the sides

  bool isSet() const { return crop || size || fit || percent; }
  /// Whether it changes a picture. Throws a Failure if nothing is left of it.
  bool changes(const PictureFile& picture) const;
  /// The size that a picture gets. Throws a Failure if nothing is left of it.
  Size resultSize(const PictureFile& picture) const;
  /// The pixels of a picture, cut and scaled. `isOpaque` says that their alpha means nothing.
  OmImage applied(const OmImage& image, const PictureFile& picture, bool isOpaque) const;
  /// The same with 16-bit channels.
  OmDeepImage applied(const OmDeepImage& image, const PictureFile& picture, bool isOpaque) const;

private:
  template <typename Image>
  Image appliedTo(const Image& image, const PictureFile& picture, bool isOpaque) const;
  PictureFile cropped(const PictureFile& picture) const;
};

#endif
