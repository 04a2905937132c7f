#ifndef OM_TOOLS_FILE_WATCH_H
#define OM_TOOLS_FILE_WATCH_H

#include "foundation/core/omTypes.h"

#include <ctime>
#include <vector>

#include <sys/types.h>

/// A file descriptor that is closed at the end; -1 for none.
class OwnedDescriptor
{
public:
  explicit OwnedDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
  ~OwnedDescriptor();
  OwnedDescriptor(OwnedDescriptor&& other) noexcept;
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept;

  int get() const { return m_descriptor; }

private:
  int m_descriptor;
};

/// Notices when files are written, replaced, deleted and made again, also by way of links and of their directories
/// (inotify). A file need not be there.
///
/// A file has changed when whoever wrote it closes it, when another is renamed to its name, and when it was written or
/// made and then left alone for a moment. Where inotify is not to be had, the files' times are looked at instead.
class FileWatch
{
public:
  explicit FileWatch(std::vector<OmString> files);

  /// Can be read when changed() may have something to tell.
  int descriptor() const { return m_poll.get(); }
  /// Which of the files have changed since the last call, under the names that they were given by. Waits for nothing.
  std::vector<OmString> changed();
  /// Whether inotify tells of changes; otherwise they are looked for 25 times a second.
  bool isNotified() const { return m_notify.get() != -1; }

private:
  /// What two contents of a file under a name do not have in common.
  struct Status
  {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    timespec modified = {};
    timespec changed = {};

    bool operator==(const Status& other) const;
  };

  struct File
  {
    OmString name;
    Status status;
    bool isWritten = false; ///< and perhaps not completely yet
    bool isChanged = false;
  };

  /// A name in a directory that the way to a file leads through, or the file itself.
  struct Step
  {
    int watch;
    OmString name; ///< empty for the file itself
    std::size_t file;
    bool isLast; ///< the file's own name, not that of a directory or a link on the way
  };

  static Status statusOf(const OmString& file);

  void watchAll();
  bool watchWay(std::size_t file);
  bool addStep(const OmString& path, const Step& step, OmU32 events);
  bool takeEvents();
  bool takeEvent(int watch, OmU32 mask, const OmString& name);
  void takeTime();
  void watchAgain();
  void lookAround();
  void setTimer(bool repeats) const;

  std::vector<File> m_files;
  std::vector<Step> m_steps;
  OwnedDescriptor m_poll;
  OwnedDescriptor m_timer;
  OwnedDescriptor m_notify;
};

#endif
