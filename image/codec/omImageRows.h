#ifndef OM_IMAGE_ROWS_H
#define OM_IMAGE_ROWS_H

#include "image/omDeepImage.h"

#include <array>
#include <vector>

/// The rows of an image as a file stores them: as they are, or with other channels. Channels of 16 bits are big-endian.
class OmImageRows
{
public:
  /// What becomes of an alpha that the file does not store.
  enum LostAlpha
  {
    LeftOut,  ///< the colours stay
    OverWhite ///< the picture is laid over white
  };

  /// Rows of 1 to 4 channels: grey, grey and alpha, RGB, RGBA. Colours become grey by their light, where equal channels
  /// keep their value, grey becomes equal channels, and a new alpha is opaque. The image must outlive this object.
  OmImageRows(const OmImage& image, OmU32 channels, LostAlpha lostAlpha);
  /// The same with channels of 16 bits.
  OmImageRows(const OmDeepImage& image, OmU32 channels, LostAlpha lostAlpha);

  OmU32 width() const { return m_image.width(); }
  OmU32 height() const { return m_image.height(); }
  OmU32 channels() const { return m_channels; }
  OmU32 sampleSize() const { return m_sampleSize; } ///< the bytes of a channel
  std::size_t rowSize() const { return std::size_t{width()} * m_channels * m_sampleSize; }
  /// The size of all rows in bytes.
  std::size_t byteSize() const { return rowSize() * height(); }

  /// A row from the top; valid until the call after the next one.
  const OmU8* row(OmU32 y);

private:
  using Convert = void (*)(const OmU8* source, OmU8* target, std::size_t width);

  const OmImage& m_image; ///< or the bytes of the image
  OmU32 m_channels;
  OmU32 m_sampleSize;
  Convert m_convert;                            ///< null if the rows are the image's own
  std::array<std::vector<OmU8>, 2> m_converted; ///< the last two rows
};

#endif
