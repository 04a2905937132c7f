#ifndef OM_TOOLS_LIBRARY_LOG_H
#define OM_TOOLS_LIBRARY_LOG_H

#include "foundation/core/omTypes.h"

#include <vector>

/// Collects what the libraries write while it lives, so that a failure can be told in one line.
///
/// Errors and warnings are kept, however high `OM_PRINT_LEVEL` is. Traces and reports, which go out only where the user
/// lowered that level, pass on to standard error.
class LibraryLog
{
public:
  LibraryLog();
  ~LibraryLog();
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  /// Whether an error was written since the last takeReason().
  bool hasErrors() const { return !m_errors.empty(); }
  /// Why something failed: the first error since the last call, without the signature in front; `otherwise` when
  /// there was none.
  OmString takeReason(const OmString& otherwise);
  /// The warnings so far.
  const std::vector<OmString>& warnings() const { return m_warnings; }

private:
  std::vector<OmString> m_errors;
  std::vector<OmString> m_warnings;
};

#endif
