#ifndef OM_TOOLS_WORK_LIST_H
#define OM_TOOLS_WORK_LIST_H

#include "tools/omrender/failure.h"
#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/outputPlan.h"
#include "tools/omrender/filter/recentNames.h"
#include "tools/omrender/filter/recordReader.h"
#include "tools/omrender/filter/shard.h"
#include "tools/omrender/filter/taskList.h"

#include <CLI/App.hpp>

/// The file that names the pictures of a run.
struct WorkListFile
{
  OmString name;                ///< "-" for standard input; empty if there is none
  bool isNullSeparated = false; ///< NUL ends a name, which may be any; otherwise the file has lines

  bool isGiven() const { return !name.empty(); }
};

void addWorkListOptions(CLI::App& command, WorkListFile& file);

/// The pictures that a file names, one a line or with a NUL behind each, and the file for the result of each. They are
/// read as they are needed, in memory that does not grow with their number.
///
/// A line that makes no sense is a failure with its number, and the lines behind it are read. So is a picture whose
/// result is that of one of the last million already.
class WorkList : public TaskList
{
public:
  /// Gives the pictures of one shard. Throws a Failure if the file cannot be opened.
  WorkList(const WorkListFile& file, OutputPlaces places, const OutputOptions& options, const Shard& shard);

  std::optional<FilterTask> next() override;
  /// How many pictures it has given.
  std::size_t given() const { return m_given; }

private:
  void read(OmString& line, FilterTask& task);
  OmString resultOf(const FilterTask& task) const;
  Failure failureOf(const OmString& reason) const;

  const bool m_hasLines;
  const OutputPlaces m_places;
  const OutputOptions m_options;
  const Shard m_shard;
  const OmString m_extension; ///< of results in a directory
  RecordReader m_records;
  RecentNames m_results;
  std::size_t m_given = 0;
};

#endif
