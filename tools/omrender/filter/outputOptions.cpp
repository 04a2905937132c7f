#include "tools/omrender/filter/outputOptions.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

namespace
{

using Writer = OmImageReaderWriter;

constexpr int BestQuality = 100;

/// A reader of words that each stand for a value.
template <typename Value>
auto wordReader(const std::map<OmString, Value>& words)
{
  return [words](const OmString& text)
  {
    const auto found = words.find(text);
    return found == words.end() ? std::nullopt : std::optional(found->second);
  };
}

std::map<OmString, Writer::Format> writtenFormats()
{
  std::map<OmString, Writer::Format> names;
  for (const Writer::FormatSupport& support : Writer::formats())
    if (support.isWritten)
      names.emplace(support.name, support.format);
  return names;
}

OmString listed(const OmString& list, const OmString& word, const OmString& separator)
{
  return list.empty() ? word : list + separator + word;
}

const Writer::FormatSupport& supportOf(Writer::Format format)
{
  const auto& formats = Writer::formats();
  return *std::find_if(formats.begin(), formats.end(),
                       [format](const Writer::FormatSupport& support) { return support.format == format; });
}

/// The format by the options or by the name, PNG for one without a suffix; nothing for an unknown suffix.
std::optional<Writer::Format> formatFor(const OutputOptions& options, const OmString& name)
{
  if (options.format)
    return options.format;
  Writer::Format format = Writer::PNG;
  const bool isKnown = Writer::formatOfName(name, format) && supportOf(format).isWritten;
  return isKnown || !std::filesystem::path(name).has_extension() ? std::optional(format) : std::nullopt;
}

/// The channels that a name promises beyond its format: a PGM file is grey, a PPM file is not.
std::optional<Writer::Channels> channelsOfName(const OmString& name)
{
  OmString suffix = std::filesystem::path(name).extension();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](unsigned char c) { return std::tolower(c); });
  if (suffix == ".pgm")
    return Writer::Grey;
  return suffix == ".ppm" ? std::optional(Writer::RGB) : std::nullopt;
}

/// The format of a picture's result, whose name is empty on standard output.
Writer::Format writtenFormat(const OutputOptions& options, const OmString& name, const PictureInput& input)
{
  return name.empty() ? options.format.value_or(input.format()) : *formatFor(options, name);
}

constexpr char OutOption[] = "--out";

/// Why results cannot be written as the options ask for.
struct Problem
{
  OmString option;
  OmString text; ///< empty if there is none
};

/// The name is that of checkOutputOptions().
Problem problemOf(const OutputOptions& options, const OmString& out)
{
  const auto format = out == "-" ? options.format.value_or(Writer::PNG) : formatFor(options, out);
  if (!format)
  {
    OmString suffixes;
    for (const Writer::FormatSupport& support : Writer::formats())
      for (const OmString& suffix : support.suffixes)
        if (support.isWritten)
          suffixes = listed(suffixes, suffix, " ");
    return {OutOption, "has no suffix of a format that is written (" + suffixes + "); give one of these or --format"};
  }
  if (out.empty() && outputSuffix(options).empty())
    return {"--format", supportOf(*format).name + " has no suffix; give --out for it"};
  if (options.depth.value_or(8) != 8 && format != Writer::PNG)
    return {"--depth", "16 is of PNG, not of " + supportOf(*format).name};
  if (options.quality && format != Writer::JPEG && format != Writer::WebP)
    return {"--quality", "is of JPEG and WebP, not of " + supportOf(*format).name};
  return {};
}

} // namespace

void addOutputOptions(CLI::App& command, OutputOptions& options)
{
  OmString names;
  for (const auto& [name, format] : writtenFormats())
    names = listed(names, name, "|");
  addParsedOption(command, "--format", names, options.format, wordReader(writtenFormats()), "one of " + names,
                  "What the results are written as (by OUT's suffix; PNG in a directory; on standard output what "
                  "standard input has)");
  addParsedOption(
      command, "--quality", "N", options.quality, [](const OmString& text) { return readCount(text, BestQuality); },
      "a number from 1 to " + std::to_string(BestQuality), "Of JPEG (90) and WebP (without loss)");
  addParsedOption(
      command, "--compression", "fast|default|small", options.compression,
      wordReader<Writer::Compression>({{"fast", Writer::Fast}, {"default", Writer::Default}, {"small", Writer::Small}}),
      "fast, default or small", "How PNG, JPEG and WebP are compressed");
  addParsedOption(
      command, "--channels", "rgb|rgba|gray|graya", options.channels,
      wordReader<Writer::Channels>(
          {{"rgb", Writer::RGB}, {"rgba", Writer::RGBA}, {"gray", Writer::Grey}, {"graya", Writer::GreyAlpha}}),
      "rgb, rgba, gray or graya",
      "The channels of the results (grey where picture and result are, and "
      "alpha where the picture has it)");
  addParsedOption(command, "--depth", "8|16", options.depth, wordReader<OmU32>({{"8", 8}, {"16", 16}}), "8 or 16",
                  "The bits of a channel in the filter and in PNG (those of the picture)");
  command.add_flag("--strip", options.strip, "Leave out the picture's colour profile, gamma and resolution");
}

void checkOutputOptions(const OutputOptions& options, const OmString& out)
{
  const Problem problem = problemOf(options, out);
  if (!problem.text.empty())
    throw CLI::ValidationError(problem.option, problem.text + (problem.option == OutOption ? ": " + out : ""));
}

void checkResultName(const OutputOptions& options, const OmString& name)
{
  const Problem problem = problemOf(options, name);
  if (!problem.text.empty())
    throw Failure("cannot write " + quoted(name) + ": " + (problem.option == OutOption ? "it" : problem.option) + ' ' +
                  problem.text);
}

std::uint64_t encodingMemory(const OutputOptions& options, const OmString& out)
{
  if (formatFor(options, out) == Writer::WebP)
    return options.quality ? 12 : 32; // measured on photos and on noise
  return 8;                           // PNG's filtered rows and their compressed form, or JPEG's coefficients
}

OmString outputSuffix(const OutputOptions& options)
{
  const auto& suffixes = supportOf(options.format.value_or(Writer::PNG)).suffixes;
  return suffixes.empty() ? "" : suffixes.front();
}

OmU32 resultDepth(const OutputOptions& options, const OmString& name, const PictureInput& input)
{
  return writtenFormat(options, name, input) == Writer::PNG ? options.depth.value_or(input.header().depth) : 8;
}

Writer::WriteSettings writeSettings(const OutputOptions& options, const OmString& name, const PictureInput& input)
{
  Writer::WriteSettings settings;
  settings.format = writtenFormat(options, name, input);
  settings.compression = options.compression;
  settings.quality = options.quality.value_or(0);
  settings.metadata = options.strip ? nullptr : &input.metadata();
  const bool isGrey = input.header().channels < 3;
  // Raw frames do not change their shape from one to the next.
  const auto named = settings.format == Writer::PPM ? channelsOfName(name) : std::nullopt;
  if (options.channels || named)
    settings.channels = options.channels ? *options.channels : *named;
  else if (isGrey && settings.format != Writer::Raw)
    settings.channels = Writer::GreyIfEqual;
  // By alpha that the user asks for, the shader's own counts.
  if (!options.channels || *options.channels == Writer::RGB || *options.channels == Writer::Grey)
    settings.withoutAlpha = !input.header().hasAlpha() || (!options.channels && settings.format == Writer::PPM);
  return settings;
}
