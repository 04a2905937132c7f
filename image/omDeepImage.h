#ifndef OM_DEEP_IMAGE_H
#define OM_DEEP_IMAGE_H

#include "image/omImage.h"

#include <cstdint>

/// A picture in memory with 16-bit channels in the processor's byte order, rows packed without padding, top row first.
///
/// \code
///   OmDeepImage image(3, 640, 480);        // RGB, black
///   image.data()[0] = 65535;               // the first pixel is red
///   const OmImage bytes = image.toImage(); // and has 255 here
/// \endcode
///
/// Sizes are computed in 64 bits. A size that does not fit into memory throws std::bad_alloc.
class OM_EXPORT OmDeepImage
{
public:
  /// An image without pixels: 0 by 0, no channels.
  OmDeepImage() = default;
  /// A zero-filled image; `width` and `height` in pixels.
  OmDeepImage(OmU32 channels, OmU32 width, OmU32 height);
  /// Takes pixels as bytes() has them: two bytes for each channel. The flipped copy is not looked at.
  explicit OmDeepImage(OmImage bytes);
  /// Each channel of an image times 257, so that 255 becomes 65535. Takes the pixels, not the flipped copy.
  static OmDeepImage fromImage(const OmImage& image);
  /// Each channel rounded to 8 bits, so that 65535 becomes 255.
  OmImage toImage() const;

  OmU32 width() const { return m_bytes.width(); }           ///< in pixels
  OmU32 height() const { return m_bytes.height(); }         ///< in pixels
  OmU32 channels() const { return m_bytes.channels() / 2; } ///< of a pixel, 2 bytes each

  /// The pixels, top row first: channel c of pixel (x, y) is `data()[(y * width() + x) * channels() + c]`, indices in
  /// 64 bits. Null when the image has no pixels.
  std::uint16_t* data() { return reinterpret_cast<std::uint16_t*>(m_bytes.data()); }
  /// The same for a constant image.
  const std::uint16_t* data() const { return reinterpret_cast<const std::uint16_t*>(m_bytes.data()); }
  /// The size of data() in bytes.
  std::size_t byteSize() const { return m_bytes.byteSize(); }
  /// The pixels as an image of twice as many channels, each of which is a byte.
  const OmImage& bytes() const { return m_bytes; }

protected:
  OmImage m_bytes; ///< has the pixels; its channels are bytes
};

#endif
