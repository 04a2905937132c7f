#include "tools/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace
{

constexpr double LongestSeconds = 1000000.0;

/// Reads `count` numbers with a separator between them.
bool readList(const OmString& text, OmU32* numbers, int count, char separator = ',')
{
  const char* next = text.data();
  const char* const end = next + text.size();
  for (int i = 0; i < count; ++i)
  {
    if (i > 0 && (next == end || *next++ != separator))
      return false;
    const std::from_chars_result result = std::from_chars(next, end, numbers[i]);
    if (result.ec != std::errc())
      return false;
    next = result.ptr;
  }
  return next == end;
}

/// Reads up to `most` numbers with commas between them and `prefix` in front of each.
template <typename Number>
std::optional<std::vector<Number>> readNumbers(const OmString& text, std::size_t most, const OmString& prefix)
{
  std::vector<Number> numbers;
  const char* next = text.data();
  const char* const end = next + text.size();
  for (;;)
  {
    if (static_cast<std::size_t>(end - next) < prefix.size() || !std::equal(prefix.begin(), prefix.end(), next))
      return std::nullopt;
    Number number = {};
    const std::from_chars_result result = std::from_chars(next + prefix.size(), end, number);
    if (result.ec != std::errc() || !std::isfinite(static_cast<double>(number)))
      return std::nullopt;
    numbers.push_back(number);
    next = result.ptr;
    if (next == end)
      return numbers;
    if (numbers.size() == most || *next++ != ',')
      return std::nullopt;
  }
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

std::optional<std::pair<OmU32, OmU32>> readSize(const OmString& text)
{
  OmU32 numbers[2];
  if (!readList(text, numbers, 2, 'x') || numbers[0] == 0 || numbers[1] == 0)
    return std::nullopt;
  return std::make_pair(numbers[0], numbers[1]);
}

std::optional<int> readCount(const OmString& text, int largest)
{
  OmU32 number = 0;
  if (!readList(text, &number, 1) || number == 0 || number > static_cast<OmU32>(largest))
    return std::nullopt;
  return static_cast<int>(number);
}

std::optional<std::vector<float>> readFloats(const OmString& text)
{
  return readNumbers<float>(text, 3, "");
}

std::optional<std::vector<int>> readIntegers(const OmString& text)
{
  return readNumbers<int>(text, 2, "i");
}
