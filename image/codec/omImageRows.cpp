#include "image/codec/omImageRows.h"

#include <cstring>

namespace
{

constexpr bool hasAlpha(OmU32 channels)
{
  return channels % 2 == 0;
}

/// By the weights of ITU-R BT.709, out of 65536.
OmU8 lightOf(OmU32 red, OmU32 green, OmU32 blue)
{
  return static_cast<OmU8>((13933 * red + 46871 * green + 4732 * blue + 32768) >> 16);
}

OmU8 overWhite(OmU32 color, OmU32 alpha)
{
  return static_cast<OmU8>((color * alpha + 255 * (255 - alpha) + 127) / 255);
}

template <OmU32 From, OmU32 To, bool IsOverWhite>
void convert(const OmU8* source, OmU8* target, std::size_t width)
{
  constexpr OmU32 FromColors = From < 3 ? 1 : 3, ToColors = To < 3 ? 1 : 3;
  for (std::size_t x = 0; x < width; ++x, source += From, target += To)
  {
    const OmU8 alpha = hasAlpha(From) ? source[From - 1] : OmU8{255};
    OmU8 colors[3] = {source[0], source[FromColors / 2], source[FromColors - 1]};
    if (FromColors == 3 && ToColors == 1)
      colors[0] = lightOf(colors[0], colors[1], colors[2]);
    for (OmU32 color = 0; color < ToColors; ++color)
      target[color] = IsOverWhite ? overWhite(colors[color], alpha) : colors[color];
    if (hasAlpha(To))
      target[To - 1] = alpha;
  }
}

/// Copies the alpha along, where the next pixel goes: four bytes at a time are several times as fast as three.
template <>
void convert<4, 3, false>(const OmU8* source, OmU8* target, std::size_t width)
{
  for (std::size_t x = 0; x < width; ++x)
    std::memcpy(target + x * 3, source + x * 4, 4);
}

} // namespace

OmImageRows::OmImageRows(const OmImage& image, OmU32 channels, LostAlpha lostAlpha)
    : m_image(image), m_channels(channels)
{
  if (image.channels() == channels)
    return;
  static constexpr Convert Plain[4][4] = {{nullptr, convert<1, 2, false>, convert<1, 3, false>, convert<1, 4, false>},
                                          {convert<2, 1, false>, nullptr, convert<2, 3, false>, convert<2, 4, false>},
                                          {convert<3, 1, false>, convert<3, 2, false>, nullptr, convert<3, 4, false>},
                                          {convert<4, 1, false>, convert<4, 2, false>, convert<4, 3, false>, nullptr}};
  static constexpr Convert ToWhite[4][4] = {{}, //
                                            {convert<2, 1, true>, nullptr, convert<2, 3, true>, nullptr},
                                            {},
                                            {convert<4, 1, true>, nullptr, convert<4, 3, true>, nullptr}};
  const bool laysOverWhite = lostAlpha == OverWhite && hasAlpha(image.channels()) && !hasAlpha(channels);
  m_convert = (laysOverWhite ? ToWhite : Plain)[image.channels() - 1][channels - 1];
  for (std::vector<OmU8>& row : m_converted)
    row.resize(rowSize() + 1); // four bytes at a time write one more
}

const OmU8* OmImageRows::row(OmU32 y)
{
  const OmU8* const source = m_image.data() + std::size_t{y} * width() * m_image.channels();
  if (m_convert == nullptr)
    return source;
  OmU8* const row = m_converted[y % 2].data();
  m_convert(source, row, width());
  return row;
}
