#include "render/filter/omUniformSetting.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace
{

constexpr std::size_t Most = 16; ///< those of a mat4

/// Reads one value behind the prefix; nothing for any other text.
template <typename Number>
std::optional<Number> readNumber(const OmString& text, const OmString& prefix)
{
  Number number = {};
  if (text.compare(0, prefix.size(), prefix) != 0)
    return std::nullopt;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data() + prefix.size(), end, number);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(static_cast<double>(number)))
    return std::nullopt;
  return number;
}

std::optional<int> readBoolean(const OmString& text)
{
  return text == "true" ? std::optional(1) : text == "false" ? std::optional(0) : std::nullopt;
}

/// Reads every text; nothing at all if one does not fit.
template <typename Value, typename Read>
std::vector<Value> readAll(const std::vector<OmString>& texts, const Read& read)
{
  std::vector<Value> values;
  for (const OmString& text : texts)
  {
    const std::optional<Value> value = read(text);
    if (!value)
      return {};
    values.push_back(*value);
  }
  return values;
}

std::vector<OmString> split(const OmString& text)
{
  std::vector<OmString> parts(1);
  for (const char character : text)
    if (character == ',')
      parts.emplace_back();
    else
      parts.back() += character;
  return parts;
}

} // namespace

std::optional<OmUniformSetting> OmUniformSetting::read(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0)
    return std::nullopt;
  const std::vector<OmString> parts = split(text.substr(sign + 1));
  const auto readInteger = [](const OmString& prefix)
  { return [prefix](const OmString& part) { return readNumber<int>(part, prefix); }; };
  OmUniformSetting setting = {
      text.substr(0, sign),
      readAll<float>(parts, [](const OmString& part) { return readNumber<float>(part, ""); }),
      readAll<int>(parts, readInteger("")),
      readAll<int>(parts, readBoolean),
  };
  if (setting.size() == 0)
    setting.integers = readAll<int>(parts, readInteger("i"));
  if (setting.size() == 0 || setting.size() > Most)
    return std::nullopt;
  return setting;
}
