#include "tools/omrender/filter/filterCommand.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/filter/batch.h"
#include "tools/omrender/filter/fileBatch.h"
#include "tools/omrender/filter/filterPipeline.h"
#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/filter/streamBatch.h"
#include "tools/omrender/filter/uniformSetting.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/machine.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include <malloc.h>

#include <unistd.h>

namespace
{

constexpr char StandardStream[] = "-"; ///< in place of a file

struct FilterOptions
{
  std::vector<OmString> files;
  FilterSettings filter;
  OmString out; ///< either this or the directory is empty
  OmString outDirectory;
  std::optional<int> jobs;             ///< as many as there are processors by default
  std::optional<std::uint64_t> memory; ///< in bytes; a quarter of what there is by default
  std::optional<RawFrames> raw;
  OutputOptions output;
  bool list = false;

  bool readsStream() const { return files == std::vector<OmString>{StandardStream}; }
  bool writesStream() const { return out == StandardStream; }
};

constexpr int MostJobs = 1024;

constexpr char Footer[] = "A shader reads the picture by texture2D(image, gl_TexCoord[0].st), in which y\n"
                          "runs from the top down. Reads beyond the picture's edge give the edge. Of these\n"
                          "uniforms it gets those that it has:\n"
                          "  sampler2D image       the picture, or what the pass before made of it\n"
                          "  vec2      imageSize   its size in pixels\n"
                          "  vec2      texelSize   the size of a pixel in texture coordinates\n"
                          "  int       pass        the number of the pass, from 0\n"
                          "  vec2      direction   (1, 0) in even passes, (0, 1) in odd ones\n"
                          "With --texture NAME=FILE also the sampler NAME, and its NAMESize and\n"
                          "NAMETexelSize. Comment lines at the shader's start may say '// passes: 2' and,\n"
                          "for values that --set replaces, '// default: radius=3'.\n"
                          "\n"
                          "Grey pictures are read as RGB with equal channels, and alpha as 1 where there is\n"
                          "none. The result is 8-bit RGBA where the picture has alpha, else RGB; or grey,\n"
                          "where the picture is grey and the result's channels are equal everywhere.\n"
                          "\n"
                          "With - as FILE standard input has PNG, PPM or PAM pictures one after another, or\n"
                          "raw frames (--raw); their results go to --out - as they come.\n"
                          "\n"
                          "Shaders are looked for as files, in $OM_SHADER_PATH and among those that come\n"
                          "with the program.\n"
                          "\n"
                          "Examples:\n"
                          "  omrender filter --list\n"
                          "  omrender filter --shader edges photo.jpg --out edges.png\n"
                          "  omrender filter --shader blur --set radius=3.5 --out-dir out *.jpg\n"
                          "  omrender filter --shader lut --texture lut=table.png photo.jpg --out film.png\n"
                          "  omrender filter --device cuda:1 --shader ./my.frag photo.jpg --out my.png\n"
                          "  ffmpeg -i in.mp4 -f image2pipe -c:v ppm - |\n"
                          "    omrender filter --shader edges - --out - |\n"
                          "    ffmpeg -f image2pipe -framerate 30 -c:v ppm -i - out.mp4";

/// Throws if the options for streams do not fit the others.
void checkStreams(const FilterOptions& options)
{
  const bool reads = options.readsStream();
  const bool writes = options.writesStream();
  if (!reads && std::count(options.files.begin(), options.files.end(), StandardStream) > 0)
    throw CLI::ValidationError("FILE", "- is standard input; give no other FILE with it");
  if (reads && !options.outDirectory.empty())
    throw CLI::ValidationError("--out-dir", "takes files; give --out - for what comes from standard input");
  if (!reads && options.raw)
    throw CLI::ValidationError("--raw", "says what standard input has; give - as FILE");
  if (reads && ::isatty(STDIN_FILENO) == 1)
    throw CLI::ValidationError("FILE", "- is standard input, which is a terminal; send pictures into it by a pipe");
  if (writes && ::isatty(STDOUT_FILENO) == 1)
    throw CLI::ValidationError("--out", "- is standard output, which is a terminal; send it into a pipe or a file");
}

void checkOptions(const FilterOptions& options)
{
  if (options.filter.shader.empty())
    throw CLI::RequiredError("--shader");
  if (options.files.empty())
    throw CLI::RequiredError("FILE");
  if (options.out.empty() == options.outDirectory.empty())
    throw CLI::ValidationError("--out", "takes the file to write, or --out-dir a directory: give one of them");
  if (!options.out.empty() && options.files.size() > 1)
    throw CLI::ValidationError("--out", "takes one picture; give --out-dir for more");
  checkStreams(options);
  checkOutputOptions(options.output, options.out);
}

/// The files that a run reads.
std::vector<OmString> inputs(const FilterOptions& options)
{
  std::vector<OmString> files = options.readsStream() ? std::vector<OmString>{"/dev/stdin"} : options.files;
  files.push_back(findShader(options.filter.shader, ".frag"));
  if (!options.filter.vertex.empty())
    files.push_back(findShader(options.filter.vertex, ".vert"));
  for (const TextureSetting& texture : options.filter.textures)
    files.push_back(texture.file);
  return files;
}

/// Throws if two pictures would be written to the same file.
void checkDistinct(const std::vector<OmString>& files, const std::vector<OmString>& outputs)
{
  std::map<OmString, OmString> inputs;
  for (std::size_t i = 0; i < files.size(); ++i)
  {
    const auto [other, isNew] = inputs.emplace(outputs[i], files[i]);
    if (!isNew)
      throw Failure(::quoted(other->second) + " and " + quoted(files[i]) + " would both be written to " +
                    quoted(outputs[i]) + "; filter them in separate runs");
  }
}

/// Throws when the file or directory for the outputs cannot be written. Writes nothing.
void checkPlace(const FilterOptions& options)
{
  const std::filesystem::path directory(options.outDirectory);
  std::error_code error;
  if (!options.out.empty())
    checkTarget(options.out);
  else if (std::filesystem::exists(directory, error))
    checkTarget((directory / ".png").string());
  else // it is made later
    checkTarget((directory.has_filename() ? directory : directory.parent_path()).string());
}

OmString outputOf(const OmString& picture, const FilterOptions& options)
{
  if (!options.out.empty())
    return options.out;
  std::filesystem::path name = std::filesystem::path(picture).filename();
  return (options.outDirectory / name.replace_extension(outputSuffix(options.output))).string();
}

/// Returns the file for each picture. Throws for one that cannot be written, before anything is.
std::vector<OmString> planOutputs(const FilterOptions& options)
{
  std::vector<OmString> outputs;
  if (options.writesStream())
    return outputs;
  for (const OmString& picture : options.files)
    outputs.push_back(outputOf(picture, options));
  checkDistinct(options.files, outputs);
  checkNotRead(outputs, inputs(options));
  checkPlace(options);
  return outputs;
}

void makeDirectory(const OmString& directory)
{
  std::error_code error;
  std::filesystem::create_directory(directory, error);
  if (error)
    throw Failure("cannot make the directory " + quoted(directory) + ": " + error.message());
}

/// Lets Mesa's software renderer draw with all processors that there are, unless the environment says otherwise: a
/// filter may take longer than reading and writing. Mesa itself does not know the limits of containers.
void setDrawingThreads()
{
  ::setenv("LP_NUM_THREADS", std::to_string(usableProcessors()).c_str(), 0);
}

/// Keeps the memory of a picture for the next one. By default glibc gives large blocks back to the system, which then
/// clears every page again: a fifth of the time with one job.
void keepFreedMemory()
{
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20); // the largest that it takes
  ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

std::unique_ptr<PictureSource> makeSource(const FilterOptions& options, FilterPipeline& pipeline, LibraryLog& log)
{
  if (options.raw)
    pipeline.checkPicture({"standard input", options.raw->width, options.raw->height, options.raw->channels});
  if (options.readsStream())
    return std::make_unique<StreamSource>(options.raw, !options.writesStream(), pipeline.largestSide(), log);
  return std::make_unique<FileSource>(options.files, log);
}

std::unique_ptr<PictureSink> makeSink(const FilterOptions& options, const std::vector<OmString>& outputs,
                                      LibraryLog& log)
{
  if (options.writesStream())
    return std::make_unique<StreamSink>(options.output, log);
  return std::make_unique<FileSink>(outputs, options.output, log);
}

void filter(const FilterOptions& options, LibraryLog& log)
{
  addShaderDirectories();
  if (options.list)
  {
    listShaders(std::cout);
    return;
  }
  checkOptions(options);
  const std::vector<OmString> outputs = planOutputs(options);
  const int jobs = options.jobs.value_or(std::min(usableProcessors(), MostJobs));
  setDrawingThreads();
  keepFreedMemory();
  FilterPipeline pipeline(options.filter, log);
  printWarnings(log);
  if (!options.outDirectory.empty())
    makeDirectory(options.outDirectory);
  const std::unique_ptr<PictureSource> source = makeSource(options, pipeline, log);
  const std::unique_ptr<PictureSink> sink = makeSink(options, outputs, log);
  const bool isStream = options.readsStream() || options.writesStream();
  const BatchSettings settings = {jobs,
                                  options.memory.value_or(usableMemory() / 4),
                                  isStream ? 0 : options.files.size(),
                                  isStream,
                                  options.filter.size,
                                  encodingMemory(options.output, options.out)};
  if (!Batch(*source, pipeline, *sink, settings).run())
    throw CLI::RuntimeError(1);
}

/// "WIDTHxHEIGHT:FORMAT", with ffmpeg's names of formats.
std::optional<RawFrames> readRawFrames(const OmString& text)
{
  static const std::map<OmString, OmU32> channels = {{"gray", 1}, {"rgb24", 3}, {"rgba", 4}};
  const std::size_t colon = text.find(':');
  const auto size = readSize(text.substr(0, colon));
  const auto found = colon == OmString::npos ? channels.end() : channels.find(text.substr(colon + 1));
  if (!size || found == channels.end())
    return std::nullopt;
  return RawFrames{found->second, size->first, size->second};
}

/// "name=FILE"
std::optional<TextureSetting> readTextureSetting(const OmString& text)
{
  const std::size_t sign = text.find('=');
  if (sign == OmString::npos || sign == 0 || sign + 1 == text.size())
    return std::nullopt;
  return TextureSetting{text.substr(0, sign), text.substr(sign + 1)};
}

} // namespace

void addFilterCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("filter", "Run a fragment shader over picture files");
  const auto options = std::make_shared<FilterOptions>();
  command
      ->add_option("FILE", options->files,
                   "PNG, JPEG, WebP, TIFF, PPM or PAM files, or - for a stream of PNG, PPM or PAM pictures")
      ->type_name("");
  command
      ->add_option("--shader", options->filter.shader,
                   "The filter: a name from --list or the file of a fragment shader")
      ->type_name("NAME|FILE.frag");
  const auto readOut = [](const OmString& text) { return text.empty() ? std::nullopt : std::optional(text); };
  addParsedOption(*command, "--out", "OUT", options->out, readOut, "the name of a file, or -",
                  "Write the result in the format of the name's suffix, or with - to standard output; takes one FILE");
  command
      ->add_option("--out-dir", options->outDirectory,
                   "Write the results here under the files' names, as .png or the suffix of --format")
      ->type_name("DIR");
  addParsedOptions(*command, "--set", "NAME=V[,V[,V]]", options->filter.uniforms, readUniformSetting,
                   "NAME=V with one to three numbers, or NAME=iN or NAME=iN,iN with whole ones",
                   "Set a uniform of floats; NAME=i3 or NAME=i3,i4 one of whole numbers");
  addParsedOptions(*command, "--texture", "NAME=FILE", options->filter.textures, readTextureSetting, "NAME=FILE",
                   "Another picture for the shader, as the sampler NAME");
  addParsedOption(
      *command, "--passes", "N", options->filter.passes,
      [](const OmString& text) { return readCount(text, MostPasses); },
      "a number from 1 to " + std::to_string(MostPasses),
      "How often the shader runs, each time over what it made before (what it says itself, or 1)");
  addParsedOption(*command, "--size", "WxH", options->filter.size, readSize, "WxH with W and H of at least 1",
                  "The result's size in pixels (the picture's); the first pass then interpolates");
  command->add_flag("--float", options->filter.floats,
                    "Keep 32-bit floats between the passes, neither rounded nor clamped");
  command->add_option("--vertex", options->filter.vertex, "A vertex shader instead of the library's own")
      ->type_name("FILE.vert");
  addParsedOption(*command, "--raw", "WxH:FORMAT", options->raw, readRawFrames,
                  "WxH:FORMAT with a size and one of rgb24, rgba and gray",
                  "Standard input has raw frames of this size in pixels and this format: rgb24, rgba or gray");
  addOutputOptions(*command, options->output);
  addParsedOption(
      *command, "--jobs", "N", options->jobs, [](const OmString& text) { return readCount(text, MostJobs); },
      "a number from 1 to " + std::to_string(MostJobs),
      "Read and write this many pictures at the same time (as many as there are processors)");
  addParsedOption(*command, "--memory", "SIZE", options->memory, readBytes,
                  "a number of bytes, or one with K, M, G or T",
                  "What pictures under way may take, as in 512M (a quarter of the memory)");
  addBackEndOptions(*command, options->filter.backEnd, "egl on hardware, else x11, else egl");
  command->add_flag("--list", options->list, "List the filters that --shader finds by name, and exit");
  command->footer(Footer);
  command->callback([options, &log] { filter(*options, log); });
}
