#ifndef OM_IMAGE_SCALING_H
#define OM_IMAGE_SCALING_H

#include "image/omDeepImage.h"
#include "image/omImage.h"
#include "image/omImageBlock.h"

/// Images of another size.
///
/// \code
///   const OmImage small = OmImageScaling::scaled(image, image.width() / 8, image.height() / 8);
/// \endcode
class OM_EXPORT OmImageScaling
{
public:
  OmImageScaling() = delete;

  /// An image of 1 to 4 channels in another size, in pixels. Along a side that gets shorter, each pixel is the mean of
  /// what it covers, parts of pixels by their share; along one that gets longer, it lies between the two nearest ones,
  /// and the edge goes on beyond the edge. With alpha, in the second or fourth channel, colours count by their alpha;
  /// `isOpaque` says that it is 1 everywhere, which is faster. Takes the pixels, not the flipped copy. Returns an image
  /// without pixels if the given one has none or more than 4 channels, or if a side is 0.
  static OmImage scaled(const OmImage& image, OmU32 width, OmU32 height, OmBoolean isOpaque = false);
  /// The same with 16-bit channels.
  static OmDeepImage scaled(const OmDeepImage& image, OmU32 width, OmU32 height, OmBoolean isOpaque = false);
  /// A part of an image; what of it lies outside is left out. Returns an image without pixels if all does.
  static OmImage cropped(const OmImage& image, const OmImageBlock& block);
  /// The same with 16-bit channels.
  static OmDeepImage cropped(const OmDeepImage& image, const OmImageBlock& block);
};

#endif
