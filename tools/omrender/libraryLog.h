#ifndef OM_TOOLS_LIBRARY_LOG_H
#define OM_TOOLS_LIBRARY_LOG_H

#include "foundation/core/omTypes.h"

#include <vector>

/// Collects the messages of the libraries while it lives, so that the program can report a failure in one line.
///
/// Errors and warnings are kept, however high `OM_PRINT_LEVEL` is. If the user has lowered that level, traces and
/// reports go to standard error.
///
/// Each thread has its own errors and warnings, so that the failure of one picture is not taken for another's.
class LibraryLog
{
public:
  LibraryLog();
  ~LibraryLog();
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  /// Whether this thread wrote an error since the last takeReason().
  bool hasErrors() const;
  /// Returns why something failed: this thread's first error since the last call, without the signature in front, or
  /// `otherwise` when there was none.
  OmString takeReason(const OmString& otherwise);
  /// Adds a warning of the program itself.
  void warn(const OmString& warning);
  /// Returns this thread's warnings since the last call.
  std::vector<OmString> takeWarnings();
};

/// Writes this thread's warnings to standard error, each as a line.
void printWarnings(LibraryLog& log);

#endif
