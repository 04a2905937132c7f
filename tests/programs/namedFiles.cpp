// For LD_PRELOAD: a file system on which every file has a name from the start (no O_TMPFILE). A file is brought to the
// disk only when somebody opens the pipe named by OM_HOLD, if that is set.

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

extern "C" int open(const char* path, int flags, ...)
{
  static const auto next = reinterpret_cast<int (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "open"));
  constexpr mode_t Mode = 0644; // for whatever is created
  if ((flags & O_TMPFILE) != O_TMPFILE)
    return next(path, flags, Mode);
  errno = EOPNOTSUPP;
  return -1;
}

extern "C" int fsync(int)
{
  if (const char* const hold = std::getenv("OM_HOLD"))
    close(open(hold, O_RDONLY));
  return 0;
}
