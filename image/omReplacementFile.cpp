#include "image/omReplacementFile.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{

bool failed(OmString& reason)
{
  reason = std::generic_category().message(errno);
  return false;
}

/// A name that no other file of this process gets. It does not contain the target's, which may be as long as the file
/// system allows.
OmString temporaryName(const OmString& target)
{
  static std::atomic<unsigned> counter{0};
  const std::size_t slash = target.rfind('/');
  const OmString directory = slash == OmString::npos ? OmString() : target.substr(0, slash + 1);
  return directory + ".om" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

} // namespace

OmReplacementFile::~OmReplacementFile()
{
  if (m_stream != nullptr)
    std::fclose(m_stream);
  if (!m_temporary.empty())
    ::unlink(m_temporary.c_str());
}

bool OmReplacementFile::open(const OmString& target, OmString& reason)
{
  struct stat status = {};
  if (::stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
  {
    // The rename would put a file in the place of a device such as /dev/null.
    reason = S_ISDIR(status.st_mode) ? "it is a directory" : "it is not a regular file";
    return false;
  }

  // Not mkostemp(): its mode of 0600 would have to be widened by the umask, which no thread can ask for without
  // changing it for all. O_EXCL makes this creation as safe. A name may be taken by a process of another machine.
  int descriptor = -1;
  OmString name;
  for (int attempt = 0; descriptor < 0 && attempt < 100; ++attempt)
  {
    name = temporaryName(target);
    descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno != EEXIST)
      break;
  }
  if (descriptor < 0)
    return failed(reason);

  m_temporary.swap(name);
  m_stream = ::fdopen(descriptor, "wb");
  if (m_stream == nullptr)
  {
    failed(reason);
    ::close(descriptor);
    return false;
  }
  m_target = target;
  return true;
}

bool OmReplacementFile::commit(OmString& reason)
{
  if (std::fflush(m_stream) != 0 || ::fsync(::fileno(m_stream)) != 0)
    return failed(reason);
  std::FILE* const stream = m_stream;
  m_stream = nullptr;
  if (std::fclose(stream) != 0 || std::rename(m_temporary.c_str(), m_target.c_str()) != 0)
    return failed(reason);
  m_temporary.clear();
  return true;
}
