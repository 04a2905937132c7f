#ifndef OM_TOOLS_TASK_LIST_H
#define OM_TOOLS_TASK_LIST_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <optional>
#include <vector>

/// A picture of a run, where its result goes, and what the filter gets for it alone.
struct FilterTask
{
  OmString picture;               ///< a file
  OmString result;                ///< a file; empty for standard output
  std::vector<OmString> uniforms; ///< as for OmImageFilter::set(), instead of those of the command line
};

/// The pictures of a run, one after another.
class TaskList
{
public:
  virtual ~TaskList() = default;

  /// Returns the next picture, or nothing at the end. Throws a Failure if there is one that cannot be taken; the call
  /// after that goes on behind it. One thread calls at a time, and may have to wait.
  virtual std::optional<FilterTask> next() = 0;
  /// How many there are in all; 0 if that is not known.
  virtual std::size_t total() const { return 0; }
};

#endif
