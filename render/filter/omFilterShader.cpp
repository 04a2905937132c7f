#include "render/filter/omFilterShader.h"

#include "foundation/core/omApplication.h"

#include <charconv>
#include <sstream>

namespace
{

constexpr OmU32 MostPasses = 1000;

/// The word behind `key` if the line of comment starts with it; empty otherwise.
OmString wordAfter(const OmString& key, const OmString& line)
{
  OmString word;
  const std::size_t start = line.find_first_not_of(' ', 2);
  if (start != OmString::npos && line.compare(start, key.size(), key) == 0)
    std::istringstream(line.substr(start + key.size())) >> word;
  return word;
}

/// 0 for a text that is no number from 1 to MostPasses.
OmU32 readPasses(const OmString& text)
{
  OmU32 passes = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, passes);
  return result.ec == std::errc() && result.ptr == end && passes <= MostPasses ? passes : 0;
}

} // namespace

OmString OmFilterShader::readFile(const OmString& fileName)
{
  const OmString path = Om::Application::findFile(fileName);
  name = '"' + path + '"';
  OmString reason;
  return Om::Application::readFile(path, source, reason) ? "" : "cannot read " + name + ": " + reason;
}

OmString OmFilterShader::readComment()
{
  std::istringstream text(source);
  for (OmString line; std::getline(text, line) && line.compare(0, 2, "//") == 0;)
  {
    if (const OmString word = wordAfter("passes:", line); !word.empty())
    {
      passes = readPasses(word);
      if (passes == 0)
        return name + ": cannot make \"" + word + "\" passes; write 1 to " + std::to_string(MostPasses);
    }
    if (const OmString word = wordAfter("default:", line); !word.empty())
    {
      const auto setting = OmUniformSetting::read(word);
      if (!setting)
        return name + ": the default \"" + word + "\" is not like " + OmUniformSettingForms;
      defaults.push_back(*setting);
    }
  }
  return "";
}
