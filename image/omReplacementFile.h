#ifndef OM_REPLACEMENT_FILE_H
#define OM_REPLACEMENT_FILE_H

#include "foundation/core/omTypes.h"

#include <cstdio>

/// A file that takes its name only once it is complete.
///
/// Until commit() it has no name at all if the file system can do that (O_TMPFILE): then nothing is left of it however
/// the process ends. Otherwise it is a temporary file in the same directory, which a process that is killed leaves
/// behind. Without commit() the file is removed.
class OmReplacementFile
{
public:
  OmReplacementFile() = default;
  ~OmReplacementFile();
  OmReplacementFile(const OmReplacementFile&) = delete;
  OmReplacementFile& operator=(const OmReplacementFile&) = delete;

  /// Creates the file. A target that exists and is no regular file is refused. On failure `reason` says why.
  bool open(const OmString& target, OmString& reason);
  std::FILE* stream() const { return m_stream; }
  /// Brings everything to the disk and renames the file to the target. On failure `reason` says why.
  bool commit(OmString& reason);

private:
  int create();
  bool nameFile();

  OmString m_target;
  OmString m_temporary; ///< empty while the file has no name
  std::FILE* m_stream = nullptr;
};

#endif
