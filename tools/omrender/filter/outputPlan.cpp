#include "tools/omrender/filter/outputPlan.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/parsedOption.h"
#include "tools/omrender/pictureFile.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

namespace
{

std::optional<OmString> readFileName(const OmString& text)
{
  return text.empty() ? std::nullopt : std::optional(text);
}

std::optional<OmString> readSuffix(const OmString& text)
{
  return text.empty() || text.find('/') != OmString::npos ? std::nullopt : std::optional(text);
}

/// Throws when neither the directory nor those that lead to it can take a file.
void checkDirectory(const std::filesystem::path& directory)
{
  std::error_code error;
  if (std::filesystem::exists(directory, error) && !std::filesystem::is_directory(directory, error))
    throw Failure("cannot write into " + quoted(directory.string()) + ": it is no directory");
  if (std::filesystem::exists(directory, error))
    return checkTarget((directory / ".png").string());
  std::filesystem::path missing = directory;
  while (missing.has_parent_path() && !std::filesystem::exists(missing.parent_path(), error))
    missing = missing.parent_path();
  checkTarget(missing.string());
}

} // namespace

void addPlaceOptions(CLI::App& command, OutputPlaces& places)
{
  addParsedOption(command, "--out", "OUT", places.file, readFileName, "the name of a file, or -",
                  "Write the result in the format of the name's suffix, or with - to standard output; takes one FILE");
  addParsedOption(command, "--out-dir", "DIR", places.directory, readFileName, "the name of a directory",
                  "Write the results here under the files' names, as .png or the suffix of --format; made if need be");
  addParsedOption(command, "--suffix", "TEXT", places.suffix, readSuffix, "a text without a slash",
                  "Put this behind the files' names, as in photo-edges.png; without --out-dir beside the files");
  command.add_flag("--recursive", places.recursive,
                   "Read the pictures in directories and keep their folders: files with a known suffix, not hidden");
  command.add_flag("--skip-existing", places.skipExisting, "Leave results that exist alone, and print how many");
}

void checkPlaceOptions(const OutputPlaces& places, const std::vector<OmString>& files)
{
  const bool isBatch = places.areForBatch();
  if (places.file.empty() != isBatch)
    throw CLI::ValidationError(
        "--out",
        "takes the file to write, --out-dir a directory, --suffix files beside the pictures: give one of them");
  if (!places.file.empty() && files.size() > 1)
    throw CLI::ValidationError("--out", "takes one picture; give --out-dir for more");
  const std::pair<const char*, bool> forBatches[] = {{"--recursive", places.recursive},
                                                     {"--skip-existing", places.skipExisting}};
  for (const auto& [name, isGiven] : forBatches)
    if (isGiven && !isBatch)
      throw CLI::ValidationError(name, "does not go with --out; give --out-dir or --suffix");
}

void checkPlaceOptionsForList(const OutputPlaces& places)
{
  if (!places.file.empty() && (!places.writesStream() || places.areForBatch()))
    throw CLI::ValidationError("--out", "takes one picture; give --out-dir or --suffix for a list, or --out - alone");
  if (places.writesStream() && places.skipExisting)
    throw CLI::ValidationError("--skip-existing", "does not go with --out; give --out-dir or --suffix");
}

OutputPlan::OutputPlan(const std::vector<OmString>& files, const OutputPlaces& places, const OutputOptions& options,
                       const std::vector<OmString>& alsoRead, const Shard& shard)
{
  find(files, places, outputSuffix(options));
  const auto isOfShard = [&](std::size_t number) { return shard.has(m_pictures[number]); };
  if (places.writesStream())
  {
    keep(isOfShard);
    return;
  }
  checkDistinct();
  std::vector<OmString> read = m_pictures;
  read.insert(read.end(), alsoRead.begin(), alsoRead.end());
  checkNotRead(m_results, read);
  keep(isOfShard);
  if (places.file.empty())
    collectDirectories();
  else
    checkTarget(places.file);
  for (const std::filesystem::path& directory : m_directories)
    checkDirectory(directory);
  if (places.skipExisting)
    skipExisting();
}

void OutputPlan::find(const std::vector<OmString>& files, const OutputPlaces& places, const OmString& extension)
{
  std::vector<FoundPicture> found;
  for (const OmString& file : files)
  {
    std::error_code error;
    found.clear();
    if (!std::filesystem::is_directory(file, error))
      found.push_back({file, {}});
    else if (!places.recursive)
      throw Failure(quoted(file) + " is a directory; give --recursive to filter the pictures in it");
    else
    {
      LeftOut leftOut = {places.directory, ""};
      // Where results lie among the pictures, those of an earlier run are no pictures.
      if (!places.suffix.empty() &&
          (places.directory.empty() || std::filesystem::equivalent(file, places.directory, error)))
        leftOut.ending = places.suffix + extension;
      findPictures(file, leftOut, found);
      if (found.empty())
        throw Failure(quoted(file) + " has no pictures; they are known by their suffixes");
    }
    for (const FoundPicture& picture : found)
      add(picture, places, extension);
  }
}

void OutputPlan::add(const FoundPicture& picture, const OutputPlaces& places, const OmString& extension)
{
  m_pictures.push_back(picture.file);
  if (places.writesStream())
    return;
  const std::filesystem::path path(picture.file);
  const std::filesystem::path directory =
      places.directory.empty() ? path.parent_path() : places.directory / picture.folder;
  m_results.push_back(places.file.empty() ? (directory / (path.stem().string() + places.suffix + extension)).string()
                                          : places.file);
}

/// Throws if two pictures would be written to the same file.
void OutputPlan::checkDistinct() const
{
  std::vector<std::size_t> order(m_results.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [this](std::size_t one, std::size_t other)
            { return std::tie(m_results[one], one) < std::tie(m_results[other], other); });
  const auto same =
      std::adjacent_find(order.begin(), order.end(),
                         [this](std::size_t one, std::size_t other) { return m_results[one] == m_results[other]; });
  if (same != order.end())
    throw Failure(quoted(m_pictures[*same]) + " and " + quoted(m_pictures[*(same + 1)]) + " would both be written to " +
                  quoted(m_results[*same]) + "; filter them in separate runs");
}

void OutputPlan::collectDirectories()
{
  const OmString* last = nullptr;
  for (const OmString& result : m_results)
  {
    // Most results lie beside the one before.
    const std::size_t slash = result.rfind('/');
    if (last && slash == last->rfind('/') && result.compare(0, slash, *last, 0, slash) == 0)
      continue;
    last = &result;
    const std::filesystem::path directory = std::filesystem::path(result).parent_path();
    m_directories.insert(directory.empty() ? "." : directory);
  }
}

void OutputPlan::skipExisting()
{
  const std::size_t all = m_pictures.size();
  const auto isMissing = [this](std::size_t number)
  {
    std::error_code error;
    return !std::filesystem::is_regular_file(m_results[number], error);
  };
  keep(isMissing);
  m_skipped = all - m_pictures.size();
}

/// Keeps the pictures for whose numbers the condition is true.
template <typename Condition>
void OutputPlan::keep(const Condition& isKept)
{
  std::size_t kept = 0;
  for (std::size_t i = 0; i < m_pictures.size(); ++i)
  {
    if (!isKept(i))
      continue;
    std::swap(m_pictures[kept], m_pictures[i]);
    if (!m_results.empty())
      std::swap(m_results[kept], m_results[i]);
    ++kept;
  }
  m_pictures.resize(kept);
  if (!m_results.empty())
    m_results.resize(kept);
}

std::optional<FilterTask> OutputPlan::next()
{
  if (m_next == m_pictures.size())
    return std::nullopt;
  const std::size_t number = m_next++;
  return FilterTask{m_pictures[number], m_results.empty() ? "" : m_results[number], {}};
}

void OutputPlan::makeDirectories() const
{
  for (const std::filesystem::path& directory : m_directories)
  {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
      throw Failure("cannot make the directory " + quoted(directory.string()) + ": " + error.message());
  }
}
