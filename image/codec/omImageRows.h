#ifndef OM_IMAGE_ROWS_H
#define OM_IMAGE_ROWS_H

#include "image/omImage.h"

#include <array>
#include <vector>

/// The rows of an image as a file stores them: with all channels, or without the last of them.
class OmImageRows
{
public:
  /// The image must outlive this object.
  OmImageRows(const OmImage& image, bool withoutLast);

  OmU32 width() const { return m_image.width(); }
  OmU32 height() const { return m_image.height(); }
  OmU32 channels() const { return m_channels; }
  std::size_t rowSize() const { return std::size_t{width()} * m_channels; }
  /// The size of all rows in bytes.
  std::size_t byteSize() const { return rowSize() * height(); }

  /// A row from the top; valid until the call after the next one.
  const OmU8* row(OmU32 y);

private:
  const OmImage& m_image;
  OmU32 m_channels;
  std::array<std::vector<OmU8>, 2> m_shortened; ///< the last two rows, if a channel is left out
};

#endif
