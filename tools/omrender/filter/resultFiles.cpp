#include "tools/omrender/filter/resultFiles.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/pictureFile.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace
{

constexpr std::size_t RememberedDirectories = std::size_t{1} << 14;

} // namespace

ResultFiles::ResultFiles(std::vector<OmString> alsoRead, bool skipsExisting)
    : m_alsoRead(std::move(alsoRead)), m_skipsExisting(skipsExisting), m_directories(RememberedDirectories)
{
}

bool ResultFiles::wants(const FilterTask& task)
{
  if (task.result.empty())
    return true;
  checkNotRead({task.result}, {task.picture});
  checkNotRead({task.result}, m_alsoRead);
  std::error_code error;
  if (!m_skipsExisting || !std::filesystem::is_regular_file(task.result, error))
    return true;
  ++m_skipped;
  return false;
}

void ResultFiles::prepare(const FilterTask& task)
{
  if (task.result.empty())
    return;
  prepareDirectory(std::filesystem::path(task.result).parent_path().string());
  checkTarget(task.result);
}

void ResultFiles::prepareDirectory(const OmString& directory)
{
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (m_directories.has(directory))
    return;
  std::error_code error;
  if (!directory.empty())
    std::filesystem::create_directories(directory, error);
  if (error)
    throw Failure("cannot make the directory " + quoted(directory) + ": " + error.message());
  m_directories.add(directory);
}
