#include "tools/omrender/filter/filterCommand.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/filter/batch.h"
#include "tools/omrender/filter/fileBatch.h"
#include "tools/omrender/filter/filterOptions.h"
#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/outputPlan.h"
#include "tools/omrender/filter/report.h"
#include "tools/omrender/filter/resultFiles.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/filter/shard.h"
#include "tools/omrender/filter/streamBatch.h"
#include "tools/omrender/filter/workList.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/machine.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"
#include "tools/omrender/pictureFile.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <malloc.h>

#include <unistd.h>

namespace
{

constexpr char StandardStream[] = "-"; ///< in place of a file

struct FilterOptions
{
  std::vector<OmString> files;
  WorkListFile from; ///< instead of the files
  Shard shard;
  FilterSettings filter;
  OutputPlaces places;
  std::optional<int> jobs;             ///< as many as there are processors by default
  std::optional<std::uint64_t> memory; ///< in bytes; a quarter of what there is by default
  std::optional<RawFrames> raw;
  OutputOptions output;
  OmString report; ///< a file, or "-" for standard output; empty for none
  ProgressKind progress = ProgressKind::Bar;
  bool list = false;

  bool readsStream() const { return files == std::vector<OmString>{StandardStream}; }
  bool isStream() const { return readsStream() || places.writesStream(); }
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
                          "none. The result is RGBA where the picture has alpha, else RGB; or grey, where\n"
                          "the picture is grey and the result's channels are equal everywhere. It has 16\n"
                          "bits a channel where the picture has them and PNG is written, else 8.\n"
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
                          "  omrender filter --shader sharpen --recursive --out-dir sharp photos\n"
                          "  omrender filter --shader blur --shader edges photo.jpg --out smooth.png\n"
                          "  omrender filter --shader lut --texture lut=film.cube photo.jpg --out film.png\n"
                          "  omrender filter --device cuda:1 --shader ./my.frag photo.jpg --out my.png\n"
                          "  ffmpeg -i in.mp4 -f image2pipe -c:v ppm - |\n"
                          "    omrender filter --shader edges - --out - |\n"
                          "    ffmpeg -f image2pipe -framerate 30 -c:v ppm -i - out.mp4";

/// Throws if the options for streams do not fit the others.
void checkStreams(const FilterOptions& options)
{
  const bool reads = options.readsStream();
  const bool writes = options.places.writesStream();
  if (!reads && std::count(options.files.begin(), options.files.end(), StandardStream) > 0)
    throw CLI::ValidationError("FILE", "- is standard input; give no other FILE with it");
  if (reads && options.places.file.empty())
    throw CLI::ValidationError("--out-dir",
                               "takes files, and so does --suffix; give --out - for what comes from standard input");
  if (!reads && options.raw)
    throw CLI::ValidationError("--raw", "says what standard input has; give - as FILE");
  if (reads && options.shard.count > 1)
    throw CLI::ValidationError("--shard", "goes by the names of pictures, which standard input has not");
  if (reads && ::isatty(STDIN_FILENO) == 1)
    throw CLI::ValidationError("FILE", "- is standard input, which is a terminal; send pictures into it by a pipe");
  if (writes && ::isatty(STDOUT_FILENO) == 1)
    throw CLI::ValidationError("--out", "- is standard output, which is a terminal; send it into a pipe or a file");
}

/// Throws if the options for a list do not fit the others.
void checkWorkList(const FilterOptions& options)
{
  if (!options.from.isGiven() && options.from.isNullSeparated)
    throw CLI::ValidationError("--null", "says what ends the names of --from; give that too");
  if (!options.from.isGiven())
    return;
  if (!options.files.empty())
    throw CLI::ValidationError("--from", "names the pictures; give no FILE with it");
  if (options.places.recursive)
    throw CLI::ValidationError("--recursive", "does not go with --from; find DIR -type f makes a list");
  if (options.from.name == StandardStream && ::isatty(STDIN_FILENO) == 1)
    throw CLI::ValidationError("--from", "- is standard input, which is a terminal; send names into it by a pipe");
}

void checkOptions(const FilterOptions& options)
{
  if (!options.filter.hasShader())
    throw CLI::RequiredError("--shader");
  if (options.files.empty() && !options.from.isGiven())
    throw CLI::RequiredError("FILE");
  checkWorkList(options);
  if (options.from.isGiven())
    checkPlaceOptionsForList(options.places);
  else
    checkPlaceOptions(options.places, options.files);
  checkStreams(options);
  const bool isByLine = options.from.isGiven() && !options.places.areGiven(); // and so checked for each
  if (!isByLine)
    checkOutputOptions(options.output, options.places.file);
  if (options.report == StandardStream && options.places.writesStream())
    throw CLI::ValidationError("--report", "- is standard output, which gets the results; give it a file");
}

/// Keeps the memory of a picture for the next one. By default glibc gives large blocks back to the system, which then
/// clears every page again: a fifth of the time with one job.
void keepFreedMemory()
{
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20); // the largest that it takes
  ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

OutputPlan makePlan(const FilterOptions& options)
{
  const std::vector<OmString> files = options.readsStream() ? std::vector<OmString>{"/dev/stdin"} : options.files;
  std::vector<OmString> alsoRead = filterFiles(options.filter);
  if (!options.report.empty())
    alsoRead.push_back(options.report); // no result replaces it
  return {files, options.places, options.output, alsoRead, options.shard};
}

/// The source keeps references to the tasks and the files of their results.
std::unique_ptr<PictureSource> makeSource(const FilterOptions& options, TaskList& tasks, ResultFiles& results,
                                          FilterPipeline& pipeline, LibraryLog& log)
{
  if (options.raw)
    pipeline.checkPicture({"standard input", options.raw->width, options.raw->height, options.raw->channels});
  if (options.readsStream())
    return std::make_unique<StreamSource>(options.raw, options.places.writesStream() ? "" : options.places.file,
                                          pipeline.largestSide(), log);
  return std::make_unique<FileSource>(tasks, results, log);
}

std::unique_ptr<PictureSink> makeSink(const FilterOptions& options, LibraryLog& log)
{
  if (options.places.writesStream())
    return std::make_unique<StreamSink>(options.output, log);
  return std::make_unique<FileSink>(options.output, log);
}

/// Returns null without --report. Neither a picture nor a file of the filter gets lines.
std::unique_ptr<Report> openReport(const FilterOptions& options)
{
  if (options.report.empty())
    return nullptr;
  std::vector<OmString> read = filterFiles(options.filter);
  read.insert(read.end(), options.files.begin(), options.files.end());
  if (options.from.isGiven())
    read.push_back(options.from.name);
  checkNotRead({options.report}, read);
  return std::make_unique<Report>(options.report);
}

std::optional<ProgressKind> readProgress(const OmString& text)
{
  static const std::map<OmString, ProgressKind> kinds = {
      {"bar", ProgressKind::Bar}, {"json", ProgressKind::Json}, {"none", ProgressKind::None}};
  const auto found = kinds.find(text);
  return found == kinds.end() ? std::nullopt : std::optional(found->second);
}

/// Filters all pictures.
ExitStatus runBatch(const FilterOptions& options, TaskList& tasks, ResultFiles& results, Report* report,
                    FilterPipeline& pipeline, LibraryLog& log)
{
  const std::unique_ptr<PictureSource> source = makeSource(options, tasks, results, pipeline, log);
  const std::unique_ptr<PictureSink> sink = makeSink(options, log);
  const int jobs = options.jobs.value_or(std::min(usableProcessors(), MostJobs));
  const bool isStream = options.isStream();
  const ProgressKind progress =
      isStream && options.progress == ProgressKind::Bar ? ProgressKind::None : options.progress;
  const BatchSettings settings = {
      jobs, options.memory.value_or(usableMemory() / 4), isStream ? 0 : tasks.total(), isStream, progress, report};
  return Batch(*source, pipeline, *sink, settings).run();
}

void printSkipped(const FilterOptions& options, std::size_t skipped, std::size_t all)
{
  if (options.places.skipExisting && options.report != StandardStream)
    std::cout << "skipped " << skipped << " of " << all << " pictures, whose results exist\n";
}

/// Filters the pictures of --from.
ExitStatus filterWorkList(const FilterOptions& options, Report* report, LibraryLog& log)
{
  std::vector<OmString> alsoRead = filterFiles(options.filter);
  if (options.from.name != StandardStream)
    alsoRead.push_back(options.from.name);
  if (!options.report.empty())
    alsoRead.push_back(options.report); // no result replaces it
  WorkList list(options.from, options.places, options.output, options.shard);
  ResultFiles results(std::move(alsoRead), options.places.skipExisting);
  FilterPipeline pipeline(options.filter, log);
  printWarnings(log);
  const ExitStatus status = runBatch(options, list, results, report, pipeline, log);
  printSkipped(options, results.skipped(), list.given());
  return status;
}

/// Filters the pictures that the command line names.
ExitStatus filterFileArguments(const FilterOptions& options, Report* report, LibraryLog& log)
{
  OutputPlan plan = makePlan(options);
  ResultFiles results(filterFiles(options.filter), false);
  FilterPipeline pipeline(options.filter, log);
  printWarnings(log);
  plan.makeDirectories();
  const ExitStatus status = runBatch(options, plan, results, report, pipeline, log);
  printSkipped(options, plan.skipped(), plan.skipped() + plan.total());
  return status;
}

/// Throws a Failure for what keeps the run from beginning.
void filter(const FilterOptions& options, LibraryLog& log)
{
  addShaderDirectories();
  if (options.list)
  {
    listShaders(std::cout);
    return;
  }
  checkOptions(options);
  const std::unique_ptr<Report> report = openReport(options);
  setDrawingThreads();
  keepFreedMemory();
  const ExitStatus status = options.from.isGiven() ? filterWorkList(options, report.get(), log)
                                                   : filterFileArguments(options, report.get(), log);
  if (status != AllDone)
    throw CLI::RuntimeError(status);
}

/// The same with the status of that: it would be so on every machine, unless the Failure says otherwise.
void begin(const FilterOptions& options, LibraryLog& log)
{
  try
  {
    filter(options, log);
  }
  catch (const Failure& failure)
  {
    throw Failure(failure.what(), failure.status() == SomeFailed ? WrongUse : failure.status());
  }
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

} // namespace

void addFilterCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("filter", "Run a fragment shader over picture files");
  const auto options = std::make_shared<FilterOptions>();
  command
      ->add_option("FILE", options->files,
                   "PNG, JPEG, WebP, TIFF, PPM or PAM files, directories with --recursive, or - for a stream of PNG, "
                   "PPM or PAM pictures")
      ->type_name("");
  addWorkListOptions(*command, options->from);
  addShardOption(*command, options->shard);
  addFilterOptions(*command, options->filter);
  addPlaceOptions(*command, options->places);
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
  command
      ->add_option("--report", options->report,
                   "Append a line of JSON for each picture to this file, or with - to standard output")
      ->type_name("FILE.jsonl");
  addParsedOption(*command, "--progress", "bar|json|none", options->progress, readProgress, "bar, json or none",
                  "What standard error shows of a batch: a bar on a terminal, or lines of JSON (bar)");
  addBackEndOptions(*command, options->filter.backEnd, "egl on hardware, else x11, else egl");
  command->add_flag("--list", options->list, "List the filters that --shader finds by name, and exit");
  command->footer(Footer);
  command->callback([options, &log] { begin(*options, log); });
}
