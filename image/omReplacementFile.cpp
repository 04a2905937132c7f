#include "image/omReplacementFile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

/// The directory of a path, with its slash; empty for the current one.
OmString directoryOf(const OmString& path)
{
  return path.substr(0, path.rfind('/') + 1); // npos + 1 is 0
}

/// Makes a name in the target's directory that no other file has: it is random, so that a file left behind by a killed
/// process is never in the way. It does not contain the target's name, which may be as long as the file system allows.
bool makeTemporaryName(const OmString& target, OmString& name)
{
  std::uint64_t number = 0;
  if (::getentropy(&number, sizeof number) != 0)
    return false;
  name = directoryOf(target) + ".om" + std::to_string(number) + ".tmp";
  return true;
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
  if (m_descriptor >= 0)
    ::close(std::exchange(m_descriptor, -1));
  if (!m_temporary.empty())
    ::unlink(m_temporary.c_str());
  m_temporary.clear();
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
  m_descriptor = create();
  return m_descriptor >= 0 || failed(error);
}

/// Creates the file, if possible without a name. Returns its descriptor, or -1 with errno set.
int OmReplacementFile::create()
{
  const int unnamed = createUnnamed(m_target);
  if (unnamed >= 0)
    return unnamed;
  OmString name;
  if (!makeTemporaryName(m_target, name))
    return -1;
  // Not mkostemp(): its mode of 0600 would have to be widened by the umask, which no thread can read without changing
  // it for all. O_EXCL makes this creation as safe.
  const int named = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (named >= 0)
    m_temporary.swap(name);
  return named;
}

/// Gives a file without a name a temporary one: a link, unlike a rename, cannot replace the target.
bool OmReplacementFile::nameFile()
{
  if (!m_temporary.empty())
    return true;
  OmString name;
  if (!makeTemporaryName(m_target, name) ||
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
  if (::fsync(m_descriptor) != 0 || !nameFile() || ::close(std::exchange(m_descriptor, -1)) != 0 ||
      std::rename(m_temporary.c_str(), m_target.c_str()) != 0)
    return failed(error);
  m_temporary.clear();
  return true;
}
