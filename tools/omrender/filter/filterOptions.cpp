#include "tools/omrender/filter/filterOptions.h"

#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/filter/uniformSetting.h"
#include "tools/omrender/machine.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"

#include <cstdlib>
#include <utility>

namespace
{

constexpr double SmallestPercent = 0.01;
constexpr double LargestPercent = 10000.0;

/// "name=FILE"
std::optional<TextureSetting> readTextureSetting(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0 || sign + 1 == text.size())
    return std::nullopt;
  return TextureSetting{text.substr(0, sign), text.substr(sign + 1)};
}

/// Adds an option that belongs to the shader before it on the command line, or to the first. `read` and `takes` are as
/// for addParsedOption(); `give` gives a value to the shader, and returns false if there is one already.
template <typename Read, typename Give>
void addShaderOption(CLI::App& command, const OmString& name, const OmString& form, FilterSettings& settings,
                     const Read& read, const OmString& takes, const OmString& description, const Give& give)
{
  const auto store = [name, takes, read, give, &settings](const OmString& text)
  {
    const auto value = read(text);
    if (!value)
      throw CLI::ValidationError(name, "takes " + takes + ", not " + quoted(text));
    if (!give(settings.shaders.back(), *value))
      throw CLI::ValidationError(name, "is given twice for one shader");
  };
  command.add_option_function<OmString>(name, store, description)->type_name(form)->trigger_on_parse();
}

std::optional<OmString> readText(const OmString& text)
{
  return text.empty() ? std::nullopt : std::optional(text);
}

void addShaderOptions(CLI::App& command, FilterSettings& settings)
{
  addShaderOption(command, "--set", "NAME=VALUE", settings, readUniformSetting,
                  "NAME=VALUE with numbers, as 3.5 or 1,0.5,0, or true and false",
                  "Set a uniform: 3.5, 1,0.5,0 or true, as its type takes it; a matrix by rows",
                  [](ShaderSettings& shader, const OmString& uniform)
                  { return shader.uniforms.push_back(uniform), true; });
  addShaderOption(command, "--texture", "NAME=FILE", settings, readTextureSetting, "NAME=FILE",
                  "Another picture for the shader, or a colour table (.cube), as the sampler NAME",
                  [](ShaderSettings& shader, const TextureSetting& texture)
                  { return shader.textures.push_back(texture), true; });
  addShaderOption(
      command, "--passes", "N", settings, [](const OmString& text) { return readCount(text, MostPasses); },
      "a number from 1 to " + std::to_string(MostPasses),
      "How often the shader runs, each time over what it made before (what it says itself, or 1)",
      [](ShaderSettings& shader, int passes) { return !std::exchange(shader.passes, passes); });
  addShaderOption(
      command, "--vertex", "FILE.vert", settings, readText, "a file", "A vertex shader instead of the library's own",
      [](ShaderSettings& shader, const OmString& vertex) { return std::exchange(shader.vertex, vertex).empty(); });
}

void addScalingOptions(CLI::App& command, PictureScaling& scaling)
{
  constexpr char SizeForm[] = "WxH with W and H of at least 1";
  addParsedOption(command, "--crop", "X,Y,W,H", scaling.crop, readBlock, "X,Y,W,H with W and H of at least 1",
                  "Filter only this part of the picture; what overhangs is cut off");
  addParsedOption(command, "--size", "WxH", scaling.size, readSize, SizeForm,
                  "Scale the picture to this size in pixels before the filter");
  addParsedOption(command, "--fit", "WxH", scaling.fit, readSize, SizeForm,
                  "Scale it, up too, to the largest size within this one that keeps its aspect");
  addParsedOption(
      command, "--percent", "P", scaling.percent,
      [](const OmString& text) { return readNumber(text, SmallestPercent, LargestPercent); },
      "a number from 0.01 to 10000", "Scale its sides to so many percent");
  const auto check = [&scaling] // excludes() would write into the help
  {
    if (scaling.size.has_value() + scaling.fit.has_value() + scaling.percent.has_value() > 1)
      throw CLI::ValidationError(scaling.fit ? "--fit" : "--percent",
                                 "comes with another one of --size, --fit and --percent; give one of them");
  };
  command.parse_complete_callback(check);
}

} // namespace

void addFilterOptions(CLI::App& command, FilterSettings& settings)
{
  const auto addShader = [&settings](const OmString& name)
  {
    if (settings.hasShader())
      settings.shaders.emplace_back();
    settings.shaders.back().name = name;
  };
  command
      .add_option_function<OmString>("--shader", addShader,
                                     "The filter: a name from --list or the file of a fragment shader; of several each "
                                     "takes the result of the one before, and the options behind it")
      ->type_name("NAME|FILE.frag")
      ->trigger_on_parse();
  addShaderOptions(command, settings);
  addScalingOptions(command, settings.scaling);
  command.add_flag("--float", settings.floats,
                   "Keep 32-bit floats between passes and shaders, neither rounded nor clamped");
}

std::vector<OmString> filterFiles(const FilterSettings& settings)
{
  std::vector<OmString> files;
  for (const ShaderSettings& shader : settings.shaders)
  {
    files.push_back(findShader(shader.name, ".frag"));
    if (!shader.vertex.empty())
      files.push_back(findShader(shader.vertex, ".vert"));
    for (const TextureSetting& texture : shader.textures)
      files.push_back(texture.file);
  }
  return files;
}

void setDrawingThreads()
{
  ::setenv("LP_NUM_THREADS", std::to_string(usableProcessors()).c_str(), 0);
}
