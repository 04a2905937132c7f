#include "tools/omrender/filter/recordReader.h"

#include "tools/omrender/failure.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr std::size_t BufferSize = std::size_t{64} << 10; // that of a pipe

constexpr char StandardInput[] = "-";

Failure failureToRead(const OmString& name)
{
  return Failure("cannot read " + quoted(name) + ": " + std::generic_category().message(errno));
}

} // namespace

RecordReader::RecordReader(const OmString& file, char end)
    : m_name(file == StandardInput ? "standard input" : file), m_end(end),
      m_descriptor(file == StandardInput ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC)),
      m_bytes(BufferSize)
{
  if (m_descriptor == -1)
    throw failureToRead(m_name);
}

RecordReader::~RecordReader()
{
  if (m_descriptor != STDIN_FILENO)
    ::close(m_descriptor);
}

/// Returns false at the end of the file.
bool RecordReader::fill()
{
  if (m_isEnded)
    return false;
  ssize_t size = 0;
  do
    size = ::read(m_descriptor, m_bytes.data(), m_bytes.size());
  while (size == -1 && errno == EINTR);
  m_next = 0;
  m_filled = size > 0 ? static_cast<std::size_t>(size) : 0;
  m_isEnded = size <= 0;
  if (size == -1)
    throw failureToRead(m_name);
  return size > 0;
}

bool RecordReader::next(OmString& record)
{
  record.clear();
  m_isCut = false;
  bool isBegun = false;
  while (m_next < m_filled || fill())
  {
    const char* const begin = m_bytes.data() + m_next;
    const char* const filled = m_bytes.data() + m_filled;
    const char* const end = std::find(begin, filled, m_end);
    const auto size = static_cast<std::size_t>(end - begin);
    const std::size_t taken = std::min(size, LongestRecord - record.size());
    record.append(begin, taken);
    m_isCut = m_isCut || taken < size;
    m_number += isBegun ? 0 : 1;
    isBegun = true;
    m_next += size + (end == filled ? 0 : 1);
    if (end != filled)
      break;
  }
  return isBegun;
}
