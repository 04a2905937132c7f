#include "tools/filterCommand.h"

#include "image/omImageReaderWriter.h"
#include "tools/failure.h"
#include "tools/filterPipeline.h"
#include "tools/libraryLog.h"
#include "tools/numbers.h"
#include "tools/parsedOption.h"
#include "tools/progressBar.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

struct FilterOptions
{
  std::vector<OmString> files;
  OmString shader;
  OmString vertex; ///< empty for the library's own
  std::vector<UniformSetting> uniforms;
  std::vector<TextureSetting> textures;
  std::optional<int> passes;
  std::optional<std::pair<OmU32, OmU32>> size;
  bool floats = false;
  OmString out; ///< either this or the directory is empty
  OmString outDirectory;
  bool list = false;
};

/// A picture and the file that its filtered version goes into.
struct Job
{
  OmString input;
  OmString output;
};

constexpr char Footer[] =
    "A shader reads the picture by texture2D(image, gl_TexCoord[0].st), in which y runs from the top\n"
    "down. Reads beyond the picture's edge give the edge. Of these uniforms it gets those that it has:\n"
    "  sampler2D image       the picture, or what the pass before made of it\n"
    "  vec2      imageSize   its size in pixels\n"
    "  vec2      texelSize   the size of a pixel in texture coordinates\n"
    "  int       pass        the number of the pass, from 0\n"
    "  vec2      direction   (1, 0) in even passes, (0, 1) in odd ones, for separable filters\n"
    "With --texture NAME=FILE also the sampler NAME, and its NAMESize and NAMETexelSize. Comment lines at\n"
    "the shader's start may say '// passes: 2' and, for values that --set replaces, '// default: radius=3'.\n"
    "\n"
    "Grey pictures are read as RGB with equal channels, and alpha as 1 where there is none. The result is\n"
    "8-bit RGBA where the picture has alpha, else RGB.\n"
    "\n"
    "Shaders are looked for as files, in $OM_SHADER_PATH and among those that come with the program.\n"
    "\n"
    "Examples:\n"
    "  omrender filter --list\n"
    "  omrender filter --shader edges photo.jpg --out edges.png\n"
    "  omrender filter --shader blur --set radius=3.5 --out-dir out *.jpg\n"
    "  omrender filter --shader lut --texture lut=film.png photo.jpg --out film-photo.png\n"
    "  xvfb-run omrender filter --shader ./my.frag photo.jpg --out my.png    # without a display of its own";

void checkOptions(const FilterOptions& options)
{
  if (options.shader.empty())
    throw CLI::RequiredError("--shader");
  if (options.files.empty())
    throw CLI::RequiredError("FILE");
  if (options.out.empty() == options.outDirectory.empty())
    throw CLI::ValidationError("--out", "takes the file to write, or --out-dir a directory: give one of them");
  if (!options.out.empty() && options.files.size() > 1)
    throw CLI::ValidationError("--out", "takes one picture; give --out-dir for more");
}

/// Throws for an output that two pictures would have, and for one that is itself among the pictures.
void checkOutputs(const std::vector<Job>& jobs)
{
  std::map<OmString, OmString> inputs;
  for (const Job& job : jobs)
  {
    const auto [other, isNew] = inputs.emplace(job.output, job.input);
    const OmString& first = other->second;
    if (!isNew)
      throw Failure(quoted(first) + " and " + quoted(job.input) + " would both be written to " + quoted(job.output) +
                    "; filter them in runs of their own");
    checkDistinct(job.input, job.output);
  }
}

/// Plans the outputs, and refuses what cannot be written while nothing has been done yet.
std::vector<Job> planJobs(const FilterOptions& options)
{
  std::vector<Job> jobs;
  const std::filesystem::path directory(options.outDirectory);
  for (const OmString& file : options.files)
  {
    std::filesystem::path output = options.out;
    if (output.empty())
      output = directory / std::filesystem::path(file).filename().replace_extension(".png");
    jobs.push_back({file, output.string()});
  }
  checkOutputs(jobs);
  std::error_code error;
  if (options.out.empty() && !std::filesystem::exists(directory, error))
    checkTarget((directory.has_filename() ? directory : directory.parent_path()).string()); // it is made below
  else
    checkTarget(options.out.empty() ? (directory / ".png").string() : options.out);
  return jobs;
}

FilterSettings makeSettings(const FilterOptions& options)
{
  FilterSettings settings;
  settings.fragment = readShader(options.shader, ".frag");
  if (!options.vertex.empty())
    settings.vertex = readShader(options.vertex, ".vert");
  settings.uniforms = options.uniforms;
  settings.textures = options.textures;
  settings.passes = options.passes.value_or(settings.fragment.passes);
  settings.floats = options.floats;
  if (options.size)
    std::tie(settings.width, settings.height) = *options.size;
  return settings;
}

void makeDirectory(const OmString& directory)
{
  std::error_code error;
  std::filesystem::create_directory(directory, error);
  if (error)
    throw Failure("cannot make the directory " + quoted(directory) + ": " + error.message());
}

void filterPicture(FilterPipeline& pipeline, const Job& job, OmImage& image, LibraryLog& log)
{
  pipeline.checkPicture(readHeader(job.input, log));
  if (!OmImageReaderWriter::read(image, job.input))
    throw Failure(log.takeReason("cannot read " + quoted(job.input)));
  if (!OmImageReaderWriter::write(pipeline.run(image, job.input), job.output))
    throw Failure(log.takeReason("cannot write " + quoted(job.output)));
}

/// Filters what can be filtered and tells what cannot. Returns whether everything went well.
bool filterPictures(FilterPipeline& pipeline, const std::vector<Job>& jobs, LibraryLog& log)
{
  bool good = true;
  ProgressBar bar(jobs.size());
  const auto tell = [&](const OmString& message)
  {
    good = false;
    bar.hide();
    printFailure("omrender", message);
  };
  OmImage image;
  std::size_t done = 0;
  for (const Job& job : jobs)
  {
    try
    {
      filterPicture(pipeline, job, image, log);
    }
    catch (const Failure& failure)
    {
      tell(failure.what());
    }
    catch (const std::bad_alloc&)
    {
      image = OmImage();
      tell("out of memory for " + quoted(job.input) + "; scale it down first");
    }
    bar.setDone(++done);
  }
  return good;
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
  const std::vector<Job> jobs = planJobs(options);
  FilterPipeline pipeline(makeSettings(options), log);
  if (!options.outDirectory.empty())
    makeDirectory(options.outDirectory);
  if (!filterPictures(pipeline, jobs, log))
    throw CLI::RuntimeError(1);
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
  CLI::App* const command =
      program.add_subcommand("filter", "Run a fragment shader over pictures and write the results");
  const auto options = std::make_shared<FilterOptions>();
  command->add_option("FILE", options->files, "PNG or JPEG files")->type_name("");
  command->add_option("--shader", options->shader, "The filter: a name from --list or a fragment shader's file")
      ->type_name("NAME|FILE.frag");
  command->add_option("--out", options->out, "Write the result as PNG; takes one FILE")->type_name("OUT.png");
  command->add_option("--out-dir", options->outDirectory, "Write the results here under the files' names, as .png")
      ->type_name("DIR");
  addParsedOptions(*command, "--set", "NAME=V[,V[,V]]", options->uniforms, readUniformSetting,
                   "NAME=V with one to three numbers, or NAME=iN or NAME=iN,iN with whole ones",
                   "Set a uniform of floats; NAME=i3 or NAME=i3,i4 one of whole numbers");
  addParsedOptions(*command, "--texture", "NAME=FILE", options->textures, readTextureSetting, "NAME=FILE",
                   "Another picture for the shader, as the sampler NAME");
  addParsedOption(
      *command, "--passes", "N", options->passes, [](const OmString& text) { return readCount(text, MostPasses); },
      "a number from 1 to " + std::to_string(MostPasses),
      "How often the shader runs, each time over what it made before (what it says itself, or 1)");
  addParsedOption(*command, "--size", "WxH", options->size, readSize, "WxH with W and H of at least 1",
                  "The result's size in pixels (the picture's); the first pass then interpolates");
  command->add_flag("--float", options->floats, "Keep 32-bit floats between the passes, neither rounded nor clamped");
  command->add_option("--vertex", options->vertex, "A vertex shader instead of the library's own")
      ->type_name("FILE.vert");
  command->add_flag("--list", options->list, "List the filters that --shader finds by name, and exit");
  command->footer(Footer);
  command->callback([options, &log] { filter(*options, log); });
}
