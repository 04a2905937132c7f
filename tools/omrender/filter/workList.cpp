#include "tools/omrender/filter/workList.h"

#include "tools/omrender/filter/workLine.h"
#include "tools/omrender/parsedOption.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace
{

/// Of results that are remembered. With 8 bytes each, no more than a small picture takes.
constexpr std::size_t RememberedResults = std::size_t{1} << 20;

/// The folders of a picture's name, below the directory of the results.
std::filesystem::path foldersOf(const std::filesystem::path& picture)
{
  const std::filesystem::path folders = picture.relative_path().parent_path();
  if (std::find(folders.begin(), folders.end(), "..") != folders.end())
    throw Failure("the name of " + quoted(picture.string()) +
                  " has \"..\", which would lead out of --out-dir; give it without, or the result by \"out\"");
  return folders.lexically_normal();
}

} // namespace

void addWorkListOptions(CLI::App& command, WorkListFile& file)
{
  addParsedOption(
      command, "--from", "LIST", file.name,
      [](const OmString& text) { return text.empty() ? std::nullopt : std::optional(text); },
      "the name of a file, or -",
      "Filter the pictures that this file names, or - standard input: one a line, or as {\"in\": \"a.png\", "
      "\"out\": \"b.png\", \"set\": {\"radius\": 2}}");
  command.add_flag("-0,--null", file.isNullSeparated, "The names of --from end with NUL, as those of find -print0");
}

WorkList::WorkList(const WorkListFile& file, OutputPlaces places, const OutputOptions& options, const Shard& shard)
    : m_hasLines(!file.isNullSeparated), m_places(std::move(places)), m_options(options), m_shard(shard),
      m_extension(outputSuffix(options)), m_records(file.name, m_hasLines ? '\n' : '\0'), m_results(RememberedResults)
{
}

/// The lines of other shards are read like those of this one, so that each run sees the same failures; what concerns
/// another shard is left to its run.
std::optional<FilterTask> WorkList::next()
{
  for (OmString line; m_records.next(line);)
  {
    FilterTask task;
    OmString reason;
    try
    {
      read(line, task);
    }
    catch (const Failure& failure)
    {
      reason = failure.what();
    }
    if (line.empty() || !m_shard.has(task.picture.empty() ? line : task.picture))
      continue;
    if (!reason.empty())
      throw failureOf(reason);
    ++m_given;
    return task;
  }
  return std::nullopt;
}

/// Leaves the line without the carriage return at its end.
void WorkList::read(OmString& line, FilterTask& task)
{
  if (m_records.isCut())
    throw Failure("more than " + std::to_string(RecordReader::LongestRecord) + " bytes");
  if (m_hasLines && !line.empty() && line.back() == '\r')
    line.pop_back();
  if (line.empty())
    return;
  if (m_hasLines)
    readWorkLine(line, task);
  else
    task.picture = line;
  task.result = resultOf(task);
  if (task.result.empty())
    return;
  const OmString result = std::filesystem::path(task.result).lexically_normal().string();
  if (m_results.has(result))
    throw Failure(::quoted(task.picture) + " would be written to " + ::quoted(task.result) +
                  " as well, like an earlier " + (m_hasLines ? "line" : "name"));
  m_results.add(result);
}

OmString WorkList::resultOf(const FilterTask& task) const
{
  if (m_places.writesStream())
  {
    if (!task.result.empty())
      throw Failure("\"out\" does not go with --out -");
    return "";
  }
  if (!task.result.empty())
  {
    checkResultName(m_options, task.result);
    return task.result;
  }
  if (m_places.directory.empty() && m_places.suffix.empty())
    throw Failure("no place for the result of " + quoted(task.picture) +
                  "; give --out-dir or --suffix, or the result by \"out\"");
  const std::filesystem::path picture(task.picture);
  const std::filesystem::path directory =
      m_places.directory.empty() ? picture.parent_path() : m_places.directory / foldersOf(picture);
  return (directory / (picture.stem().string() + m_places.suffix + m_extension)).string();
}

Failure WorkList::failureOf(const OmString& reason) const
{
  return Failure(quoted(m_records.name()) + (m_hasLines ? ", line " : ", name ") + std::to_string(m_records.number()) +
                 ": " + reason);
}
