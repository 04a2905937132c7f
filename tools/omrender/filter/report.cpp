#include "tools/omrender/filter/report.h"

#include <cerrno>
#include <cmath>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// With at most three decimals.
double rounded(double milliseconds)
{
  return std::round(milliseconds * 1000.0) / 1000.0;
}

nlohmann::ordered_json textOrNull(const OmString& text)
{
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

} // namespace

Report::Report(const OmString& file) : m_name(file == "-" ? "standard output" : quoted(file))
{
  constexpr mode_t Permissions = 0666;
  if (file == "-")
    m_descriptor = ::dup(STDOUT_FILENO);
  else // a FIFO must not block
    m_descriptor = ::open(file.c_str(), O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, Permissions);
  const std::error_code error(errno, std::generic_category());
  if (m_descriptor < 0 && error == std::errc::too_many_symbolic_link_levels)
    throw Failure("cannot write the report " + m_name + ": it is a symbolic link; name the file itself", WrongUse);
  if (m_descriptor < 0)
    throw Failure("cannot write the report " + m_name + ": " + error.message(), statusOf(error));
  struct stat status = {};
  if (file == "-" || (::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode)))
    return;
  ::close(m_descriptor);
  throw Failure("cannot write the report " + m_name + ": it is not a regular file", WrongUse);
}

Report::~Report()
{
  ::close(m_descriptor);
}

void Report::append(const PictureReport& picture)
{
  nlohmann::ordered_json line;
  line["in"] = textOrNull(picture.in);
  line["out"] = textOrNull(picture.out);
  line["status"] = picture.status;
  if (!picture.reason.empty())
    line["reason"] = picture.reason;
  line["bytes"] = picture.bytes;
  line["width"] = picture.width;
  line["height"] = picture.height;
  line["milliseconds"] = nlohmann::ordered_json::object();
  for (std::size_t stage = 0; stage < picture.milliseconds.size(); ++stage)
    if (picture.milliseconds[stage])
      line["milliseconds"][PictureReport::Stages[stage]] = rounded(*picture.milliseconds[stage]);
  // A process that was killed may have left half a line at any time.
  const OmString before = lacksNewline() ? "\n" : "";
  write(before + line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n');
}

bool Report::lacksNewline() const
{
  struct stat status = {};
  char last = '\n';
  return ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
         ::pread(m_descriptor, &last, 1, status.st_size - 1) == 1 && last != '\n';
}

/// By one call, so that no other process writes in between.
void Report::write(const OmString& line)
{
  ssize_t written = 0;
  do
    written = ::write(m_descriptor, line.data(), line.size());
  while (written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(line.size()))
    return;
  const std::error_code error(written < 0 ? errno : ENOSPC, std::generic_category());
  throw Failure("cannot write the report " + m_name + ": " + error.message(), statusOf(error));
}
