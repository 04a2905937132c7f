#include "tools/uniformSetting.h"

#include "tools/numbers.h"

std::optional<UniformSetting> readUniformSetting(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0)
    return std::nullopt;
  const OmString value = text.substr(sign + 1);
  UniformSetting setting = {text.substr(0, sign), {}, {}};
  if (const auto floats = readFloats(value))
    setting.floats = *floats;
  else if (const auto integers = readIntegers(value))
    setting.integers = *integers;
  else
    return std::nullopt;
  return setting;
}
