#ifndef OM_REPLACEMENT_FILE_H
#define OM_REPLACEMENT_FILE_H

#include "foundation/core/omTypes.h"

#include <cstdio>

/// A file that takes its name only once it is complete: until commit() it is a temporary file in the same directory,
/// and without commit() it is gone again.
class OmReplacementFile
{
public:
  OmReplacementFile() = default;
  ~OmReplacementFile();
  OmReplacementFile(const OmReplacementFile&) = delete;
  OmReplacementFile& operator=(const OmReplacementFile&) = delete;

  /// Creates the temporary file. A target that exists and is no regular file is refused. On failure `reason` says why.
  bool open(const OmString& target, OmString& reason);
  std::FILE* stream() const { return m_stream; }
  /// Brings everything to the disk and renames the file over the target. On failure `reason` says why.
  bool commit(OmString& reason);

private:
  OmString m_target;
  OmString m_temporary; ///< empty when there is none
  std::FILE* m_stream = nullptr;
};

#endif
