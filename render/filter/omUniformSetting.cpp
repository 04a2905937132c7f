#include "render/filter/omUniformSetting.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace
{

/// Reads up to `most` numbers with commas between them and `prefix` in front of each. Returns none for any other text.
template <typename Number>
std::vector<Number> readNumbers(const OmString& text, std::size_t most, const OmString& prefix)
{
  std::vector<Number> numbers;
  const char* const end = text.data() + text.size();
  for (std::size_t at = 0; numbers.size() < most; ++at)
  {
    if (text.compare(at, prefix.size(), prefix) != 0)
      return {};
    Number number = {};
    const std::from_chars_result result = std::from_chars(text.data() + at + prefix.size(), end, number);
    if (result.ec != std::errc() || !std::isfinite(static_cast<double>(number)))
      return {};
    numbers.push_back(number);
    if (result.ptr == end)
      return numbers;
    if (*result.ptr != ',')
      return {};
    at = static_cast<std::size_t>(result.ptr - text.data());
  }
  return {};
}

} // namespace

std::optional<OmUniformSetting> OmUniformSetting::read(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0)
    return std::nullopt;
  const OmString value = text.substr(sign + 1);
  OmUniformSetting setting = {text.substr(0, sign), readNumbers<float>(value, 3, ""), readNumbers<int>(value, 2, "i")};
  if (setting.floats.empty() && setting.integers.empty())
    return std::nullopt;
  return setting;
}
