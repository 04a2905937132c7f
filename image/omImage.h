#ifndef OM_IMAGE_H
#define OM_IMAGE_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <vector>

/// A picture in memory: 8-bit channels, rows packed without padding, top row first.
///
/// \code
///   OmImage image(3, 640, 480); // RGB, black
///   const std::size_t pixel = std::size_t{20} * image.width() + 10;
///   image.data()[pixel * image.channels()] = 255; // (10, 20) is red
///   image.copyFromOrToFlipped(false);             // a texture is filled from the flipped copy now
/// \endcode
///
/// An image may carry a second copy of its pixels with the rows bottom row first, as GL stores them: the flipped
/// copy. While the flipped copy is in use (isFlipped()), it is the one that a texture is filled from. Both copies
/// always have the same size and channel count: making one of them with another shape drops the other.
///
/// Sizes are computed in 64 bits. A size that does not fit into memory throws std::bad_alloc and leaves the image
/// unchanged.
class OM_EXPORT OmImage
{
public:
  /// Which row of a picture comes first.
  enum Orientation
  {
    TopRowFirst = 0,   ///< as files and OmImage::data() have them
    BottomRowFirst = 1 ///< as GL has them
  };

  /// An image without pixels: 0 by 0, no channels.
  OmImage() = default;
  /// A zero-filled image; `width` and `height` in pixels, one byte a channel.
  OmImage(OmU32 channels, OmU32 width, OmU32 height);
  /// Copies the pixels and the flipped copy.
  OmImage(const OmImage&) = default;
  /// Copies the pixels and the flipped copy. If they do not fit into memory, this image is unchanged.
  OmImage& operator=(const OmImage&);
  /// Takes the pixels of another image, which has none afterwards.
  OmImage(OmImage&&) noexcept;
  /// Takes the pixels of another image, which has none afterwards.
  OmImage& operator=(OmImage&&) noexcept;
  ~OmImage() = default;

  OmU32 width() const { return m_width; }       ///< in pixels
  OmU32 height() const { return m_height; }     ///< in pixels
  OmU32 channels() const { return m_channels; } ///< bytes a pixel

  /// The pixels, top row first: channel c of pixel (x, y) is `data()[(y * width() + x) * channels() + c]`, indices in
  /// 64 bits. Null when the image has no pixels.
  OmU8* data() { return m_pixels.empty() ? nullptr : m_pixels.data(); }
  /// The same for a constant image.
  const OmU8* data() const { return m_pixels.empty() ? nullptr : m_pixels.data(); }
  /// The size of data() in bytes.
  std::size_t byteSize() const { return m_pixels.size(); }

  /// Whether the flipped copy is in use.
  OmBoolean isFlipped() const { return m_isFlipped; }
  /// The flipped copy, laid out as data() but bottom row first. Null when there is none.
  OmU8* flippedData() { return m_flippedPixels.empty() ? nullptr : m_flippedPixels.data(); }
  /// The same for a constant image.
  const OmU8* flippedData() const { return m_flippedPixels.empty() ? nullptr : m_flippedPixels.data(); }
  /// The size of flippedData() in bytes.
  std::size_t flippedByteSize() const { return m_flippedPixels.size(); }

  /// Copies between the pixels and the flipped copy, reversing the order of the rows. False fills the flipped copy
  /// from the pixels and puts it in use; true fills the pixels from the flipped copy and takes that out of use.
  /// If there is nothing to copy from, nothing changes.
  void copyFromOrToFlipped(bool fromFlipped);

  /// Gives the image another shape, zero-filled and without a flipped copy. The second argument is not used; pass 0.
  void zeroImage(OmU32 channels, OmU32 reserved, OmU32 width, OmU32 height);
  /// Gives the image a zero-filled flipped copy and puts it in use. Pixels of the same shape are kept.
  /// The second argument is not used; pass 0.
  void zeroFlippedImage(OmU32 channels, OmU32 reserved, OmU32 width, OmU32 height);

protected:
  OmU32 m_channels = 0;              ///< bytes a pixel
  OmU32 m_width = 0;                 ///< in pixels
  OmU32 m_height = 0;                ///< in pixels
  std::vector<OmU8> m_pixels;        ///< top row first; empty or of the image's shape
  std::vector<OmU8> m_flippedPixels; ///< bottom row first; empty or of the image's shape
  OmBoolean m_isFlipped = false;     ///< the flipped copy is in use
};

#endif
