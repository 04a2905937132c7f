#include "tools/numbers.h"

#include <charconv>
#include <system_error>

namespace
{

constexpr double LongestSeconds = 1000000.0;

/// Reads `count` numbers with commas between them.
bool readList(const OmString& text, OmU32* numbers, int count)
{
  const char* next = text.data();
  const char* const end = next + text.size();
  for (int i = 0; i < count; ++i)
  {
    if (i > 0 && (next == end || *next++ != ','))
      return false;
    const std::from_chars_result result = std::from_chars(next, end, numbers[i]);
    if (result.ec != std::errc())
      return false;
    next = result.ptr;
  }
  return next == end;
}

} // namespace

std::optional<double> readSeconds(const OmString& text)
{
  double seconds = 0.0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, seconds);
  const bool inRange = seconds >= 0.0 && seconds <= LongestSeconds; // false for what is not a number
  if (result.ec != std::errc() || result.ptr != end || !inRange)
    return std::nullopt;
  return seconds;
}

std::optional<OmPixel> readPosition(const OmString& text, OmU32 largest)
{
  OmU32 numbers[2];
  if (!readList(text, numbers, 2) || numbers[0] > largest || numbers[1] > largest)
    return std::nullopt;
  return OmPixel(numbers[0], numbers[1]);
}

std::optional<OmImageBlock> readBlock(const OmString& text)
{
  OmU32 numbers[4];
  if (!readList(text, numbers, 4) || numbers[2] == 0 || numbers[3] == 0)
    return std::nullopt;
  return OmImageBlock(OmPixel(numbers[0], numbers[1]), numbers[2], numbers[3]);
}
