#include "tools/omrender/optionValues.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <limits>
#include <system_error>

namespace
{

constexpr double LongestSeconds = 1000000.0;

/// Reads `count` numbers with a separator between them.
template <typename Number>
bool readList(const OmString& text, Number* numbers, int count, char separator = ',')
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

} // namespace

std::optional<double> readNumber(const OmString& text, double smallest, double largest)
{
  double number = 0.0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number);
  const bool inRange = number >= smallest && number <= largest; // false for NaN
  if (result.ec != std::errc() || result.ptr != end || !inRange)
    return std::nullopt;
  return number;
}

std::optional<double> readSeconds(const OmString& text)
{
  return readNumber(text, 0.0, LongestSeconds);
}

std::optional<OmString> readPngName(const OmString& text)
{
  OmString suffix = std::filesystem::path(text).extension().string();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](unsigned char letter) { return std::tolower(letter); });
  if (text.empty() || text == "-" || (!suffix.empty() && suffix != ".png"))
    return std::nullopt;
  return text;
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

std::optional<std::uint64_t> readBytes(const OmString& text)
{
  static const OmString units = "KMGT";
  std::uint64_t number = 0;
  const std::size_t unit = text.empty() ? OmString::npos : units.find(text.back());
  const bool hasUnit = unit != OmString::npos;
  if (!readList(hasUnit ? text.substr(0, text.size() - 1) : text, &number, 1) || number == 0)
    return std::nullopt;
  const std::size_t shift = hasUnit ? 10 * (unit + 1) : 0;
  return number <= std::numeric_limits<std::uint64_t>::max() >> shift ? std::optional(number << shift) : std::nullopt;
}
