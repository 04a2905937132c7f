#include "image/codec/omInputFile.h"

#include "foundation/core/omApplication.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <system_error>

bool OmInputFile::open(const OmString& fileName, OmString& reason)
{
  m_stream.reset(Om::Application::openFile(fileName, reason));
  if (!m_stream)
    return false;
  struct stat status = {};
  if (::fstat(::fileno(m_stream.get()), &status) != 0)
    reason = std::generic_category().message(errno);
  else if (status.st_size <= 0)
    reason = "the file is empty";
  else
  {
    m_size = static_cast<std::uint64_t>(status.st_size);
    return true;
  }
  return false;
}

bool OmInputFile::open(const std::vector<OmU8>& bytes, OmString& reason)
{
  if (bytes.empty())
  {
    reason = "the file is empty";
    return false;
  }
  // A stream that is opened for reading does not write to its memory.
  m_stream.reset(::fmemopen(const_cast<OmU8*>(bytes.data()), bytes.size(), "rb"));
  if (!m_stream)
  {
    reason = "out of memory";
    return false;
  }
  m_size = bytes.size();
  return true;
}

bool OmInputFile::readStart(std::uint64_t size, std::vector<OmU8>& bytes) const
{
  constexpr std::uint64_t BytesInAdvance = std::uint64_t{1} << 20;
  std::rewind(stream());
  bytes.clear();
  while (bytes.size() < size)
  {
    const std::size_t done = bytes.size();
    const std::uint64_t part = std::min(size - done, std::max<std::uint64_t>(done, BytesInAdvance));
    bytes.resize(done + part);
    if (std::fread(bytes.data() + done, 1, part, stream()) != part)
      return false;
  }
  return true;
}
