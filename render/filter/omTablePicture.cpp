#include "render/filter/omTablePicture.h"

#include <algorithm>

namespace
{

constexpr OmU32 RowLength = 256; ///< for a table of 1 dimension, in pixels: no card has textures too small for that

} // namespace

OmTablePicture::OmTablePicture(const OmColorTable& table)
    : width(table.size()), height(table.size()), domainMin(table.domainMin()), domainMax(table.domainMax())
{
  const std::size_t size = table.size();
  const bool isCurve = table.dimensions() == 1;
  if (isCurve)
  {
    entries = static_cast<int>(size);
    width = std::min(width, RowLength);
    height = (table.size() + width - 1) / width;
  }
  else
    width *= height;
  pixels.reserve(4 * std::size_t{width} * height);
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < width; ++x)
    {
      const std::size_t texel = isCurve ? std::min(y * width + x, size - 1) : (x / size * size + y) * size + x % size;
      const float* const color = &table.texels()[3 * texel];
      pixels.insert(pixels.end(), {color[0], color[1], color[2], 1.0f});
    }
}
