#include "image/omReplacementFile.h"

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

// A temporary file's name is .om-OWNER-RANDOM.tmp. Its owner is the system that runs the process: its boot, hashed. It
// is written there only while the process holds the file's lock. Then whoever is on the same system and gets the lock
// knows that the process is dead. Locks of other systems may not be seen, so of their files only the age counts.
constexpr char Start[] = ".om-", End[] = ".tmp";
constexpr char OldStart[] = ".om"; ///< a decimal number followed, and no file was locked
constexpr std::size_t Digits = 16; ///< of the owner and of the random number
constexpr char NoOwner[] = "0000000000000000";
constexpr std::time_t LongestWriting = 86400; ///< in seconds; what was not written to for longer is left behind
constexpr int Attempts = 10;

/// The directory of a path, with its slash; empty for the current one.
OmString directoryOf(const OmString& path)
{
  return path.substr(0, path.rfind('/') + 1); // npos + 1 is 0
}

OmString hexadecimal(std::uint64_t number)
{
  char text[Digits + 1];
  std::snprintf(text, sizeof text, "%016" PRIx64, number);
  return text;
}

/// The system that runs this process, until it is started anew.
OmString readOwner()
{
  OmString boot;
  if (!std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), boot))
    return NoOwner;
  std::uint64_t hash = 0xcbf29ce484222325; // FNV-1a, which is the same in all builds
  for (const char byte : boot)
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
  return hexadecimal(hash);
}

const OmString& thisOwner()
{
  static const OmString owner = readOwner();
  return owner;
}

/// Makes a name in the target's directory that no other file has: it is random, so that a file left behind by a killed
/// process is never in the way. It does not contain the target's name, which may be as long as the file system allows.
bool makeTemporaryName(const OmString& target, const OmString& owner, OmString& name)
{
  std::uint64_t number = 0;
  if (::getentropy(&number, sizeof number) != 0)
    return false;
  name = directoryOf(target) + Start + owner + "-" + hexadecimal(number) + End;
  return true;
}

/// Whose a file is by its name: an owner, nobody's, or an empty text if that is not a temporary file's name.
OmString ownerOf(const OmString& name)
{
  const auto consistsOf = [](const OmString& text, const char* digits)
  { return !text.empty() && text.find_first_not_of(digits) == OmString::npos; };
  constexpr std::size_t StartSize = sizeof Start - 1, EndSize = sizeof End - 1, OldStartSize = sizeof OldStart - 1;
  if (name.size() <= OldStartSize + EndSize || name.compare(name.size() - EndSize, EndSize, End) != 0)
    return "";
  const OmString stem = name.substr(0, name.size() - EndSize);
  if (stem.compare(0, OldStartSize, OldStart) == 0 && consistsOf(stem.substr(OldStartSize), "0123456789"))
    return NoOwner;
  const std::size_t middle = StartSize + Digits;
  if (stem.size() != middle + 1 + Digits || stem.compare(0, StartSize, Start) != 0 || stem[middle] != '-')
    return "";
  const OmString owner = stem.substr(StartSize, Digits), number = stem.substr(middle + 1);
  return consistsOf(owner + number, "0123456789abcdef") ? owner : "";
}

bool lock(int descriptor)
{
  return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

/// Whether the name still means the file. The count of its links would not tell: NFS keeps an open file that is removed
/// under another name.
bool isNameOf(int directory, const OmString& name, int descriptor)
{
  struct stat named = {}, opened = {};
  return ::fstatat(directory, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && ::fstat(descriptor, &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

/// The name under which the process itself finds a file that has none.
OmString descriptorName(int descriptor)
{
  return "/proc/self/fd/" + std::to_string(descriptor);
}

/// Creates a file that has no name yet, so that nothing of it is left however the process ends. Fails if the file
/// system cannot do that, or if there is no /proc through which the file is named later.
int createUnnamed(const OmString& target)
{
  const int descriptor = ::open((directoryOf(target) + ".").c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666);
  if (descriptor < 0 || ::access(descriptorName(descriptor).c_str(), F_OK) == 0)
    return descriptor;
  ::close(descriptor);
  return -1;
}

/// Creates a file that has a temporary name and, if the file system has locks, is locked.
int createNamed(const OmString& target, OmString& name)
{
  OmString owner = thisOwner();
  for (int attempt = 1;; ++attempt)
  {
    if (!makeTemporaryName(target, owner, name))
      return -1;
    // Not mkostemp(): its mode of 0600 would have to be widened by the umask, which no thread can read without changing
    // it for all. O_EXCL makes this creation as safe.
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0)
    {
      name.clear();
      return -1;
    }
    const bool isLocked = lock(descriptor);
    const bool hasNoLocks = !isLocked && errno != EWOULDBLOCK;
    if (owner == NoOwner || (isLocked && isNameOf(AT_FDCWD, name, descriptor)))
      return descriptor;
    // Before it was locked, a sweep took it for a dead process's file. One without an owner is swept for its age alone.
    if (hasNoLocks || attempt == Attempts)
      owner = NoOwner;
    ::unlink(name.c_str());
    ::close(descriptor);
  }
}

/// Creates a file in the target's directory, if possible without a name. Returns its descriptor, or -1 with errno set.
int create(const OmString& target, OmString& name)
{
  name.clear();
  const int unnamed = createUnnamed(target);
  return unnamed >= 0 ? unnamed : createNamed(target, name);
}

/// The time by the clock of a directory's file system, which may be another machine's.
std::optional<std::time_t> timeIn(const OmString& directory)
{
  OmString name;
  struct stat status = {};
  const int descriptor = create(directory, name);
  const bool isKnown = descriptor >= 0 && ::fstat(descriptor, &status) == 0;
  if (descriptor >= 0 && !name.empty())
    ::unlink(name.c_str());
  if (descriptor >= 0)
    ::close(descriptor);
  return isKnown ? std::optional(status.st_mtime) : std::nullopt;
}

/// Removes a temporary file if nobody writes to it any more.
template <typename IsOld>
void removeIfDead(int directory, const OmString& name, const OmString& owner, const IsOld& isOld)
{
  struct stat status = {};
  if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode) ||
      status.st_uid != ::geteuid())
    return;
  // To write: on NFS only such a file can be locked. O_NONBLOCK in case it has just become a pipe.
  const int descriptor = ::openat(directory, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0)
    return;
  const bool isOurs = owner != NoOwner && owner == thisOwner();
  if ((isOurs || isOld(descriptor)) && lock(descriptor) && isNameOf(directory, name, descriptor))
    ::unlinkat(directory, name.c_str(), 0);
  ::close(descriptor);
}

struct CloseDirectory
{
  void operator()(DIR* directory) const { ::closedir(directory); }
};

} // namespace

OmReplacementFile::~OmReplacementFile()
{
  discard();
}

/// Takes the error of the system call that failed, and removes the file.
bool OmReplacementFile::failed(std::error_code& error)
{
  error.assign(errno, std::generic_category());
  discard();
  return false;
}

void OmReplacementFile::discard()
{
  if (!m_temporary.empty())
    ::unlink(m_temporary.c_str());
  m_temporary.clear();
  if (m_descriptor >= 0)
    ::close(std::exchange(m_descriptor, -1));
}

OmBoolean OmReplacementFile::open(const OmString& target, std::error_code& error)
{
  discard();
  struct stat status = {};
  if (::stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
  {
    // The rename would put a file in the place of a device such as /dev/null.
    error = std::make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory : std::errc::invalid_argument);
    return false;
  }
  m_target = target;
  m_descriptor = create(target, m_temporary);
  return m_descriptor >= 0 || failed(error);
}

/// Gives a file without a name a temporary one: a link, unlike a rename, cannot replace the target.
bool OmReplacementFile::nameFile()
{
  if (!m_temporary.empty())
    return true;
  OmString name;
  if (!makeTemporaryName(m_target, lock(m_descriptor) ? thisOwner() : NoOwner, name) ||
      ::linkat(AT_FDCWD, descriptorName(m_descriptor).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0)
    return false;
  m_temporary.swap(name);
  return true;
}

OmBoolean OmReplacementFile::write(const void* data, std::size_t size, std::error_code& error)
{
  const auto* rest = static_cast<const char*>(data);
  while (size > 0)
  {
    const ssize_t written = ::write(m_descriptor, rest, size);
    if (written < 0 && errno != EINTR)
      return failed(error);
    if (written > 0)
    {
      rest += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  return true;
}

OmBoolean OmReplacementFile::commit(std::error_code& error)
{
  if (::fsync(m_descriptor) != 0 || !nameFile() || std::rename(m_temporary.c_str(), m_target.c_str()) != 0)
    return failed(error);
  m_temporary.clear();
  ::close(std::exchange(m_descriptor, -1)); // only now: its lock is to last as long as the temporary name
  return true;
}

void OmReplacementFile::sweep(const OmString& directory)
{
  const OmString path = directory.empty() ? "./" : directory + "/";
  const std::unique_ptr<DIR, CloseDirectory> entries(::opendir(path.c_str()));
  if (!entries)
    return;
  std::optional<std::time_t> now;
  const auto isOld = [&](int descriptor)
  {
    if (!now)
      now = timeIn(path);
    struct stat status = {};
    return now && ::fstat(descriptor, &status) == 0 && *now - status.st_mtime > LongestWriting;
  };
  while (const dirent* const entry = ::readdir(entries.get()))
  {
    const OmString owner = ownerOf(entry->d_name);
    if (!owner.empty())
      removeIfDead(::dirfd(entries.get()), entry->d_name, owner, isOld);
  }
}
