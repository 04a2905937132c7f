#include "tools/omrender/filter/filterOptions.h"

#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/filter/uniformSetting.h"
#include "tools/omrender/machine.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"

#include <cstdlib>

namespace
{

/// "name=FILE"
std::optional<TextureSetting> readTextureSetting(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0 || sign + 1 == text.size())
    return std::nullopt;
  return TextureSetting{text.substr(0, sign), text.substr(sign + 1)};
}

} // namespace

void addFilterOptions(CLI::App& command, FilterSettings& settings)
{
  command.add_option("--shader", settings.shader, "The filter: a name from --list or the file of a fragment shader")
      ->type_name("NAME|FILE.frag");
  addParsedOptions(command, "--set", "NAME=VALUE", settings.uniforms, readUniformSetting,
                   "NAME=VALUE with numbers, as 3.5 or 1,0.5,0, or true and false",
                   "Set a uniform: 3.5, 1,0.5,0 or true, as its type takes it; a matrix by rows");
  addParsedOptions(command, "--texture", "NAME=FILE", settings.textures, readTextureSetting, "NAME=FILE",
                   "Another picture for the shader, as the sampler NAME");
  addParsedOption(
      command, "--passes", "N", settings.passes, [](const OmString& text) { return readCount(text, MostPasses); },
      "a number from 1 to " + std::to_string(MostPasses),
      "How often the shader runs, each time over what it made before (what it says itself, or 1)");
  addParsedOption(command, "--size", "WxH", settings.size, readSize, "WxH with W and H of at least 1",
                  "The result's size in pixels (the picture's); the first pass then interpolates");
  command.add_flag("--float", settings.floats, "Keep 32-bit floats between the passes, neither rounded nor clamped");
  command.add_option("--vertex", settings.vertex, "A vertex shader instead of the library's own")
      ->type_name("FILE.vert");
}

std::vector<OmString> filterFiles(const FilterSettings& settings)
{
  std::vector<OmString> files = {findShader(settings.shader, ".frag")};
  if (!settings.vertex.empty())
    files.push_back(findShader(settings.vertex, ".vert"));
  for (const TextureSetting& texture : settings.textures)
    files.push_back(texture.file);
  return files;
}

void setDrawingThreads()
{
  ::setenv("LP_NUM_THREADS", std::to_string(usableProcessors()).c_str(), 0);
}
