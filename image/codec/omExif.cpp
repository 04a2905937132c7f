#include "image/codec/omExif.h"

#include <cstring>

namespace
{

constexpr std::size_t EntrySize = 12;
constexpr OmU32 OrientationTag = 0x0112;
constexpr OmU32 Short = 3, Long = 4; ///< types of values

/// Numbers within a piece of memory, in the byte order of the data. What lies beyond the end is 0.
class Numbers
{
public:
  Numbers(const OmU8* data, std::size_t size) : m_data(data), m_size(size), m_isBigEndian(size > 0 && *data == 'M') {}

  std::size_t size() const { return m_size; }
  OmU32 two(std::size_t at) const { return number(at, 2); }
  OmU32 four(std::size_t at) const { return number(at, 4); }

private:
  OmU32 number(std::size_t at, std::size_t count) const
  {
    OmU32 result = 0;
    if (at > m_size || m_size - at < count)
      return result;
    for (std::size_t i = 0; i < count; ++i)
      result = result << 8 | m_data[m_isBigEndian ? at + i : at + count - 1 - i];
    return result;
  }

  const OmU8* m_data;
  std::size_t m_size;
  bool m_isBigEndian;
};

} // namespace

OmExif::Orientation OmExif::orientationOf(OmU32 number)
{
  return number >= TopLeft && number <= LeftBottom ? static_cast<Orientation>(number) : TopLeft;
}

OmExif::Orientation OmExif::orientation(const OmU8* data, std::size_t size)
{
  constexpr char Prefix[] = "Exif\0"; // and the zero behind it
  if (size >= sizeof Prefix && std::memcmp(data, Prefix, sizeof Prefix) == 0)
    return orientation(data + sizeof Prefix, size - sizeof Prefix);

  if (size < 8 || (std::memcmp(data, "II*\0", 4) != 0 && std::memcmp(data, "MM\0*", 4) != 0))
    return TopLeft;
  const Numbers numbers(data, size);
  const std::size_t directory = numbers.four(4);
  const OmU32 entries = numbers.two(directory);
  std::size_t entry = directory + 2;
  for (OmU32 i = 0; i < entries && entry + EntrySize <= size; ++i, entry += EntrySize)
  {
    const OmU32 type = numbers.two(entry + 2);
    if (numbers.two(entry) != OrientationTag || numbers.four(entry + 4) != 1)
      continue;
    return orientationOf(type == Short ? numbers.two(entry + 8) : type == Long ? numbers.four(entry + 8) : 0);
  }
  return TopLeft;
}
