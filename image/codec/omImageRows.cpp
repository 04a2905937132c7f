#include "image/codec/omImageRows.h"

#include <cstring>

OmImageRows::OmImageRows(const OmImage& image, bool withoutLast)
    : m_image(image), m_channels(image.channels() - (withoutLast ? 1 : 0))
{
  if (withoutLast)
    for (std::vector<OmU8>& row : m_shortened)
      row.resize(rowSize() + 1); // row() writes one byte more
}

const OmU8* OmImageRows::row(OmU32 y)
{
  const std::size_t channels = m_image.channels();
  const OmU8* const source = m_image.data() + std::size_t{y} * width() * channels;
  if (channels == m_channels)
    return source;
  OmU8* const row = m_shortened[y % 2].data();
  // Copies the last channel along, where the next pixel goes: four bytes at a time are several times as fast as three.
  if (channels == 4)
    for (std::size_t x = 0; x < width(); ++x)
      std::memcpy(row + x * 3, source + x * 4, 4);
  else
    for (std::size_t x = 0; x < width(); ++x)
      row[x] = source[x * 2];
  return row;
}
