#include "image/codec/omImageRows.h"

#include <cstring>
#include <limits>
#include <utility>

namespace
{

constexpr bool hasAlpha(OmU32 channels)
{
  return channels % 2 == 0;
}

template <typename Sample>
constexpr OmU32 Largest = std::numeric_limits<Sample>::max();

/// By the weights of ITU-R BT.709, out of 65536.
OmU32 lightOf(OmU32 red, OmU32 green, OmU32 blue)
{
  return (13933 * red + 46871 * green + 4732 * blue + 32768) >> 16;
}

template <typename Sample>
OmU32 overWhite(OmU32 color, OmU32 alpha)
{
  return (color * alpha + Largest<Sample> * (Largest<Sample> - alpha) + Largest<Sample> / 2) / Largest<Sample>;
}

template <typename Sample, OmU32 From, OmU32 To, bool IsOverWhite>
void convertSamples(const Sample* source, Sample* target, std::size_t width)
{
  constexpr OmU32 FromColors = From < 3 ? 1 : 3, ToColors = To < 3 ? 1 : 3;
  for (std::size_t x = 0; x < width; ++x, source += From, target += To)
  {
    const OmU32 alpha = hasAlpha(From) ? source[From - 1] : Largest<Sample>;
    OmU32 colors[3] = {source[0], source[FromColors / 2], source[FromColors - 1]};
    if (FromColors == 3 && ToColors == 1)
      colors[0] = lightOf(colors[0], colors[1], colors[2]);
    for (OmU32 color = 0; color < ToColors; ++color)
      target[color] = static_cast<Sample>(IsOverWhite ? overWhite<Sample>(colors[color], alpha) : colors[color]);
    if (hasAlpha(To))
      target[To - 1] = static_cast<Sample>(alpha);
  }
}

/// Copies the alpha along, where the next pixel goes: four bytes at a time are several times as fast as three.
template <>
void convertSamples<OmU8, 4, 3, false>(const OmU8* source, OmU8* target, std::size_t width)
{
  for (std::size_t x = 0; x < width; ++x)
    std::memcpy(target + x * 3, source + x * 4, 4);
}

template <typename Sample, OmU32 From, OmU32 To, bool IsOverWhite = false>
void convert(const OmU8* source, OmU8* target, std::size_t width)
{
  convertSamples<Sample, From, To, IsOverWhite>(reinterpret_cast<const Sample*>(source),
                                                reinterpret_cast<Sample*>(target), width);
}

using Convert = void (*)(const OmU8* source, OmU8* target, std::size_t width);

template <typename Sample>
Convert conversion(OmU32 from, OmU32 to, bool laysOverWhite)
{
  static constexpr Convert Plain[4][4] = {
      {convert<Sample, 1, 1>, convert<Sample, 1, 2>, convert<Sample, 1, 3>, convert<Sample, 1, 4>},
      {convert<Sample, 2, 1>, convert<Sample, 2, 2>, convert<Sample, 2, 3>, convert<Sample, 2, 4>},
      {convert<Sample, 3, 1>, convert<Sample, 3, 2>, convert<Sample, 3, 3>, convert<Sample, 3, 4>},
      {convert<Sample, 4, 1>, convert<Sample, 4, 2>, convert<Sample, 4, 3>, convert<Sample, 4, 4>}};
  static constexpr Convert ToWhite[4][4] = {{}, //
                                            {convert<Sample, 2, 1, true>, nullptr, convert<Sample, 2, 3, true>},
                                            {},
                                            {convert<Sample, 4, 1, true>, nullptr, convert<Sample, 4, 3, true>}};
  return (laysOverWhite && hasAlpha(from) && !hasAlpha(to) ? ToWhite : Plain)[from - 1][to - 1];
}

void makeBigEndian(OmU8* samples, std::size_t bytes)
{
  if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__)
    for (std::size_t i = 0; i + 1 < bytes; i += 2)
      std::swap(samples[i], samples[i + 1]);
}

} // namespace

OmImageRows::OmImageRows(const OmImage& image, OmU32 channels, LostAlpha lostAlpha)
    : m_image(image), m_channels(channels), m_sampleSize(1),
      m_convert(image.channels() == channels ? nullptr
                                             : conversion<OmU8>(image.channels(), channels, lostAlpha == OverWhite))
{
  for (std::vector<OmU8>& row : m_converted)
    row.resize(m_convert != nullptr ? rowSize() + 1 : 0); // four bytes at a time write one more
}

OmImageRows::OmImageRows(const OmDeepImage& image, OmU32 channels, LostAlpha lostAlpha)
    : m_image(image.bytes()), m_channels(channels), m_sampleSize(2),
      m_convert(conversion<std::uint16_t>(image.channels(), channels, lostAlpha == OverWhite))
{
  for (std::vector<OmU8>& row : m_converted)
    row.resize(rowSize());
}

const OmU8* OmImageRows::row(OmU32 y)
{
  const OmU8* const source = m_image.data() + std::size_t{y} * width() * m_image.channels();
  if (m_convert == nullptr)
    return source;
  OmU8* const row = m_converted[y % 2].data();
  m_convert(source, row, width());
  if (m_sampleSize == 2)
    makeBigEndian(row, rowSize());
  return row;
}
