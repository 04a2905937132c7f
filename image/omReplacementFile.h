#ifndef OM_REPLACEMENT_FILE_H
#define OM_REPLACEMENT_FILE_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <system_error>

/// A file that takes its name only once it is complete.
///
/// \code
///   OmReplacementFile file;
///   std::error_code error;
///   if (!file.open("table.csv", error) || !file.write("1,2\n", 4, error) || !file.commit(error))
///     return error == std::errc::no_space_on_device ? 2 : 1; // what was in table.csv before is there still
/// \endcode
///
/// Until commit() it has no name at all if the file system can do that (O_TMPFILE): then nothing is left of it however
/// the process ends, but for a moment in commit(). Otherwise it is a temporary file in the same directory, which
/// a process that is killed leaves behind until sweep() finds it. Without commit() the file is removed.
///
/// The file that had the name before is unchanged under its other names and for those who have it open. A name that is
/// a symbolic link becomes the file itself; what the link led to is unchanged.
///
/// The errors are those of the system, in std::generic_category(). Use each object from one thread at a time.
class OM_EXPORT OmReplacementFile
{
public:
  /// No file.
  OmReplacementFile() = default;
  /// Removes what has not been committed.
  ~OmReplacementFile();
  OmReplacementFile(const OmReplacementFile&) = delete;
  OmReplacementFile& operator=(const OmReplacementFile&) = delete;

  /// Creates the file in the directory of `target`. What was open before is removed. If the target exists and is no
  /// regular file, or a link to something that is none, it is refused: the error is std::errc::is_a_directory for a
  /// directory and std::errc::invalid_argument for all others. On failure returns false, and `error` says why.
  OmBoolean open(const OmString& target, std::error_code& error);
  /// Appends to the file. On failure returns false, and `error` says why; the file is removed then.
  OmBoolean write(const void* data, std::size_t size, std::error_code& error);
  /// Brings everything to the disk and gives the file its name. On failure returns false, and `error` says why; the
  /// file is removed then, and the target is as it was. So it is after a write() that failed.
  OmBoolean commit(std::error_code& error);

  /// Removes the temporary files in a directory that processes of this user have left behind. It reads the whole
  /// directory once; an empty name is the current one. A file that is being written is never removed: one of this
  /// machine is locked (flock()) for as long as it has a temporary name, and one of another machine, or from before the
  /// last start of this one, stays until it was not written to for a day by the clock of its file system. What cannot
  /// be removed stays, without a message.
  static void sweep(const OmString& directory);

private:
  bool nameFile();
  bool failed(std::error_code& error);
  void discard();

  OmString m_target;
  OmString m_temporary; ///< empty while the file has no name
  int m_descriptor = -1;
};

#endif
