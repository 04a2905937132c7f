#include "tools/omrender/show/fileWatch.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{

// What is still being written is left alone until nothing came for this long. A file that its writer closes does not
// wait for that.
constexpr long Pause = 40'000'000; // in ns

// Writing is asked for of the files alone, so that nothing is to be done when others in their directories are written.
constexpr OmU32 OfDirectories = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_ONLYDIR;
constexpr OmU32 OfFiles = IN_MODIFY | IN_CLOSE_WRITE;

constexpr int MostLinks = 40; // as Linux itself

/// Whether inotify has run out of something. That a directory is not there is no matter.
bool isExhausted(int error)
{
  return error == ENOSPC || error == ENOMEM || error == EMFILE || error == ENFILE;
}

void put(std::deque<OmString>& names, const std::filesystem::path& path)
{
  std::deque<OmString> front;
  for (const std::filesystem::path& part : path.relative_path())
    if (!part.empty() && part != ".")
      front.push_back(part.string());
  names.insert(names.begin(), front.begin(), front.end());
}

void listen(int poll, int descriptor)
{
  epoll_event event = {};
  event.events = EPOLLIN;
  ::epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event);
}

bool same(const timespec& a, const timespec& b)
{
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

OwnedDescriptor::~OwnedDescriptor()
{
  if (m_descriptor != -1)
    ::close(m_descriptor);
}

OwnedDescriptor::OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1))
{
}

OwnedDescriptor& OwnedDescriptor::operator=(OwnedDescriptor&& other) noexcept
{
  std::swap(m_descriptor, other.m_descriptor);
  return *this;
}

FileWatch::FileWatch(std::vector<OmString> files)
    : m_poll(::epoll_create1(EPOLL_CLOEXEC)), m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
  for (OmString& file : files)
    m_files.push_back({std::move(file), {}});
  listen(m_poll.get(), m_timer.get());
  watchAll();
  for (File& file : m_files)
    file.status = statusOf(file.name);
}

std::vector<OmString> FileWatch::changed()
{
  if (!isNotified())
    lookAround();
  else
  {
    takeTime();
    if (takeEvents())
      watchAgain();
  }
  std::vector<OmString> names;
  for (File& file : m_files)
    if (std::exchange(file.isChanged, false))
    {
      names.push_back(file.name);
      file.isWritten = false;
      file.status = statusOf(file.name);
    }
  return names;
}

/// With inotify if it is to be had, otherwise by the timer.
void FileWatch::watchAll()
{
  m_steps.clear();
  m_notify = OwnedDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  bool isWatched = isNotified();
  for (std::size_t file = 0; isWatched && file < m_files.size(); ++file)
    isWatched = watchWay(file);
  if (isWatched)
    listen(m_poll.get(), m_notify.get());
  else
  {
    m_notify = OwnedDescriptor();
    setTimer(true);
  }
}

/// Watches the directories that lead to a file, and those that links on the way lead to: each of them may be replaced.
/// Returns false when inotify has no more watches.
bool FileWatch::watchWay(std::size_t file)
{
  std::error_code error;
  std::deque<OmString> names;
  put(names, std::filesystem::absolute(m_files[file].name, error));
  std::filesystem::path directory = "/";
  for (int links = 0; !names.empty() && links < MostLinks;)
  {
    const OmString name = names.front();
    names.pop_front();
    if (name == "..")
    {
      directory = directory.parent_path();
      continue;
    }
    const std::filesystem::path path = directory / name;
    const Step step = {-1, name, file, names.empty()};
    if (!addStep(directory.string(), step, OfDirectories)) // before a look at it, so that no change is missed
      return false;
    if (std::filesystem::is_symlink(path, error))
    {
      const std::filesystem::path target = std::filesystem::read_symlink(path, error);
      put(names, target);
      if (target.is_absolute())
        directory = "/";
      ++links;
    }
    else if (step.isLast)
      return addStep(path.string(), {-1, "", file, true}, OfFiles);
    else
      directory = path;
  }
  return true;
}

/// Returns false when inotify has no more watches.
bool FileWatch::addStep(const OmString& path, const Step& step, OmU32 events)
{
  const int watch = ::inotify_add_watch(m_notify.get(), path.c_str(), events | IN_MASK_ADD);
  if (watch == -1)
    return !isExhausted(errno);
  m_steps.push_back({watch, step.name, step.file, step.isLast});
  return true;
}

/// Returns whether the ways to the files may be others now.
bool FileWatch::takeEvents()
{
  alignas(inotify_event) char buffer[8192];
  bool isMoved = false;
  int reads = 64; // then others have their turn, however busy the directories are
  for (ssize_t size = 0; reads > 0 && (size = ::read(m_notify.get(), buffer, sizeof buffer)) > 0; --reads)
    for (const char* at = buffer; at < buffer + size;)
    {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      at += sizeof(inotify_event) + event->len;
      const bool isOverflow = (event->mask & IN_Q_OVERFLOW) != 0; // some events are lost
      isMoved |= isOverflow || takeEvent(event->wd, event->mask, event->len > 0 ? event->name : "");
    }
  return isMoved;
}

bool FileWatch::takeEvent(int watch, OmU32 mask, const OmString& name)
{
  bool isMoved = false;
  for (const Step& step : m_steps)
  {
    if (step.watch != watch || step.name != name)
      continue;
    if (mask & (IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM)) // there is another file, or another directory or link
      isMoved = true;
    File& file = m_files[step.file];
    if (step.isLast && (mask & (IN_CLOSE_WRITE | IN_MOVED_TO)))
      file.isChanged = true;
    else if (step.isLast && (mask & (IN_CREATE | IN_MODIFY)))
    {
      file.isWritten = true;
      setTimer(false);
    }
  }
  return isMoved;
}

/// Those files that were written and left alone since have changed.
void FileWatch::takeTime()
{
  std::uint64_t times = 0;
  if (::read(m_timer.get(), &times, sizeof times) != sizeof times)
    return;
  for (File& file : m_files)
    if (std::exchange(file.isWritten, false) && statusOf(file.name).size > 0)
      file.isChanged = true;
}

/// Replaces the watches, and finds out what changed meanwhile. What is being written is left to the timer.
void FileWatch::watchAgain()
{
  watchAll();
  for (File& file : m_files)
  {
    const Status now = statusOf(file.name);
    if (!file.isWritten && now.size > 0 && !(now == file.status))
      file.isChanged = true;
  }
}

/// Without inotify: a file has changed that is another than before, and then the same for a moment.
void FileWatch::lookAround()
{
  std::uint64_t times = 0;
  if (::read(m_timer.get(), &times, sizeof times) != sizeof times)
    return;
  for (File& file : m_files)
  {
    const Status now = statusOf(file.name);
    if (!(now == file.status))
    {
      file.status = now;
      file.isWritten = true;
    }
    else if (std::exchange(file.isWritten, false) && now.size > 0)
      file.isChanged = true;
  }
}

void FileWatch::setTimer(bool repeats) const
{
  itimerspec time = {};
  time.it_value.tv_nsec = Pause;
  time.it_interval.tv_nsec = repeats ? Pause : 0;
  ::timerfd_settime(m_timer.get(), 0, &time, nullptr);
}

/// Zeros if there is no such file.
FileWatch::Status FileWatch::statusOf(const OmString& file)
{
  struct stat status = {};
  if (::stat(file.c_str(), &status) != 0)
    return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

bool FileWatch::Status::operator==(const Status& other) const
{
  return device == other.device && number == other.number && size == other.size && same(modified, other.modified) &&
         same(changed, other.changed);
}
