#ifndef OM_TOOLS_RESULT_FILES_H
#define OM_TOOLS_RESULT_FILES_H

#include "tools/omrender/filter/recentNames.h"
#include "tools/omrender/filter/taskList.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

/// What becomes of the files for results while pictures are filtered whose names nobody has seen before. Several
/// threads may call at once.
class ResultFiles
{
public:
  /// `alsoRead` are files of the run besides its pictures. With `skipsExisting`, results that exist are not wanted.
  ResultFiles(std::vector<OmString> alsoRead, bool skipsExisting);

  /// Whether the result of a picture is to be made. Throws a Failure if it would be written over a file that is read.
  bool wants(const FilterTask& task);
  /// Makes the directory that the result of a picture needs. Throws a Failure if the result cannot be written.
  void prepare(const FilterTask& task);
  /// How many results were not wanted.
  std::size_t skipped() const { return m_skipped; }

private:
  void prepareDirectory(const OmString& directory);

  const std::vector<OmString> m_alsoRead;
  const bool m_skipsExisting;
  std::atomic<std::size_t> m_skipped{0};
  std::mutex m_mutex;
  RecentNames m_directories; ///< that are ready
};

#endif
