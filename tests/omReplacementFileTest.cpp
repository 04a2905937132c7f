#include "image/omReplacementFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sched.h>
#include <set>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace
{

bool s_onlyNamed = false;          ///< the file system has no files without a name
std::function<int()> s_beforeLock; ///< called once before a file is locked; its result other than 0 is errno
std::function<void()> s_beforeRename;
std::time_t s_clockBehind = 0; ///< how much the file system's clock is behind the process's, in seconds

template <typename Function>
Function* real(const char* name)
{
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// In the place of the system's own.

extern "C" int open(const char* path, int flags, ...)
{
  static const auto next = real<int(const char*, int, ...)>("open");
  if (!s_onlyNamed || (flags & O_TMPFILE) != O_TMPFILE)
    return next(path, flags, 0644);
  errno = EOPNOTSUPP;
  return -1;
}

extern "C" int flock(int descriptor, int operation) noexcept
{
  static const auto next = real<int(int, int)>("flock");
  if (s_beforeLock)
    if (const int error = std::exchange(s_beforeLock, nullptr)())
    {
      errno = error;
      return -1;
    }
  return next(descriptor, operation);
}

extern "C" int rename(const char* from, const char* to) noexcept
{
  static const auto next = real<int(const char*, const char*)>("rename");
  if (s_beforeRename)
    s_beforeRename();
  return next(from, to);
}

extern "C" int fstat(int descriptor, struct stat* status) noexcept
{
  static const auto next = real<int(int, struct stat*)>("fstat");
  const int result = next(descriptor, status);
  status->st_mtim.tv_sec -= s_clockBehind;
  return result;
}

namespace
{

constexpr char Owner[] = "0123456789abcdef"; ///< another system

void make(const OmString& name, int hoursOld)
{
  std::ofstream(name) << "x";
  std::filesystem::last_write_time(name, std::filesystem::file_time_type::clock::now() - std::chrono::hours(hoursOld));
}

OmString contentOf(const OmString& name)
{
  std::ifstream file(name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Each in an empty directory of its own.
class omReplacementFileTest : public testing::Test
{
protected:
  using Names = std::set<OmString>;

  void SetUp() override
  {
    OmString directory = testing::TempDir() + "omReplacementFileXXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    std::filesystem::current_path(directory);
  }
  void TearDown() override
  {
    const std::filesystem::path directory = std::filesystem::current_path();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(directory);
    s_onlyNamed = false;
    s_beforeLock = nullptr;
    s_beforeRename = nullptr;
    s_clockBehind = 0;
  }

  static Names names()
  {
    Names result;
    for (const auto& entry : std::filesystem::directory_iterator("."))
      result.insert(entry.path().filename().string());
    return result;
  }

  /// The only file.
  static OmString onlyName() { return names().size() == 1 ? *names().begin() : "there is not one file"; }

  static bool replace(const OmString& target, const OmString& content)
  {
    OmReplacementFile file;
    std::error_code error;
    return file.open(target, error) && file.write(content.data(), content.size(), error) && file.commit(error);
  }

  /// A process that writes half of a file and, if it is to commit it, dies in the middle of that.
  static pid_t startWriter(bool commits)
  {
    int ready[2];
    EXPECT_EQ(::pipe(ready), 0);
    const pid_t process = ::fork();
    if (process == 0)
    {
      OmReplacementFile file;
      std::error_code error;
      if (!file.open("a", error) || !file.write("half", 4, error))
        ::_exit(1);
      s_beforeRename = [] { std::raise(SIGKILL); };
      if (commits)
        file.commit(error);
      ::close(ready[1]);
      for (;;)
        ::pause();
    }
    ::close(ready[1]);
    char byte;
    EXPECT_EQ(::read(ready[0], &byte, 1), 0);
    ::close(ready[0]);
    return process;
  }

  static void end(pid_t process)
  {
    ::kill(process, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status));
  }
};

} // namespace

TEST_F(omReplacementFileTest, ReplacesAFileOnceItIsComplete)
{
  for (const bool isNamed : {false, true})
  {
    s_onlyNamed = isNamed;
    make("a", 0);
    std::filesystem::create_symlink("a", "link");
    OmReplacementFile file;
    std::error_code error;
    ASSERT_TRUE(file.open("link", error) && file.write("new", 3, error) && file.write("er", 2, error)) << error;
    EXPECT_EQ(names().size(), isNamed ? 3U : 2U);
    EXPECT_EQ(contentOf("link"), "x");
    ASSERT_TRUE(file.commit(error)) << error;
    EXPECT_EQ(names(), Names({"a", "link"}));
    EXPECT_EQ(contentOf("link"), "newer");
    EXPECT_EQ(contentOf("a"), "x");

    EXPECT_FALSE(file.commit(error));
    EXPECT_EQ(error, std::errc::bad_file_descriptor);
    ASSERT_TRUE(file.open("a", error) && file.write("lost", 4, error));
    ASSERT_TRUE(file.open("b", error));
    EXPECT_EQ(names().size(), isNamed ? 3U : 2U);
    ASSERT_TRUE(file.commit(error));
    EXPECT_EQ(names(), Names({"a", "b", "link"}));
    EXPECT_EQ(contentOf("a") + contentOf("b"), "x");
    for (const OmString& name : names())
      std::filesystem::remove(name);
  }
}

TEST_F(omReplacementFileTest, RefusesWhatIsNoFile)
{
  std::filesystem::create_directory("directory");
  std::filesystem::create_symlink("directory", "link");
  ASSERT_EQ(::mkfifo("pipe", 0666), 0);
  for (const auto& [target, expected] :
       {std::pair("directory", std::errc::is_a_directory), std::pair("link", std::errc::is_a_directory),
        std::pair("pipe", std::errc::invalid_argument), std::pair("/dev/null", std::errc::invalid_argument),
        std::pair("missing/a", std::errc::no_such_file_or_directory)})
  {
    OmReplacementFile file;
    std::error_code error;
    EXPECT_FALSE(file.open(target, error)) << target;
    EXPECT_EQ(error, expected) << target;
  }
  EXPECT_EQ(names(), Names({"directory", "link", "pipe"}));
}

TEST_F(omReplacementFileTest, LeavesTheTargetOnAFullDisk)
{
  if (::unshare(::geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
      ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("none", ".", "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "no file system can be mounted here";
  const std::filesystem::path below = std::filesystem::current_path();
  std::filesystem::current_path(below);
  for (const bool isNamed : {false, true})
  {
    s_onlyNamed = isNamed;
    make("a", 0);
    const OmString much(100000, 'y');
    OmReplacementFile file;
    std::error_code error;
    ASSERT_TRUE(file.open("a", error));
    EXPECT_FALSE(file.write(much.data(), much.size(), error));
    EXPECT_EQ(error, std::errc::no_space_on_device);
    EXPECT_EQ(names(), Names({"a"}));
    EXPECT_FALSE(file.commit(error));
    EXPECT_EQ(contentOf("a"), "x");
  }
  std::filesystem::current_path("/");
  EXPECT_EQ(::umount(below.c_str()), 0);
  std::filesystem::current_path(below); // which is removed
}

TEST_F(omReplacementFileTest, SweepsWhatDeadProcessesLeft)
{
  s_onlyNamed = true;
  const pid_t first = startWriter(false), second = startWriter(false);
  EXPECT_EQ(names().size(), 2U);
  OmReplacementFile::sweep(".");
  EXPECT_EQ(names().size(), 2U);
  end(first);
  OmReplacementFile::sweep("");
  EXPECT_EQ(names().size(), 1U);
  end(second);
  OmReplacementFile::sweep(std::filesystem::current_path().string());
  EXPECT_EQ(names(), Names());

  s_onlyNamed = false;
  end(startWriter(false));
  EXPECT_EQ(names(), Names());
  end(startWriter(true));
  EXPECT_EQ(contentOf(onlyName()), "half");
  OmReplacementFile::sweep(".");
  EXPECT_EQ(names(), Names());
  OmReplacementFile::sweep("missing");
}

TEST_F(omReplacementFileTest, SweepsOnlyWhatCanBeLeftBehind)
{
  end(startWriter(true));
  const OmString ours = onlyName();
  const OmString random = "-0000000000000001.tmp";
  const auto number = [](const OmString& letter) { return "-000000000000000" + letter + ".tmp"; };
  const OmString foreign = OmString(".om-") + Owner;
  ASSERT_EQ(ours.size(), foreign.size() + random.size());

  const Names dead = {ours, ours.substr(0, 20) + random, foreign + number("1"), ".om-0000000000000000" + random,
                      ".om18446744073709551615.tmp"};
  for (const OmString& name : dead)
    make(name, name.substr(0, 20) == ours.substr(0, 20) ? 0 : 25);

  Names kept = {foreign + number("2"), ".om-0000000000000000" + number("2"), ".om2.tmp"};
  for (const OmString& name : kept)
    make(name, 23);
  for (const OmString& name :
       {foreign + number("G"), foreign + "_0000000000000001.tmp", foreign + number("A"), foreign + "-01.tmp",
        foreign + ".tmp", foreign + number("1") + "x", "x" + foreign + number("1"), OmString(".om.tmp"),
        OmString(".om1a.tmp"), OmString(".om-1.tmp"), OmString("a.tmp")})
  {
    make(name, 1000);
    kept.insert(name);
  }
  make("target", 1000);
  std::filesystem::create_symlink("target", foreign + number("3"));
  std::filesystem::create_directory(foreign + number("4"));
  ASSERT_EQ(::mkfifo((ours.substr(0, 20) + number("5")).c_str(), 0666), 0);
  kept.insert({"target", foreign + number("3"), foreign + number("4"), ours.substr(0, 20) + number("5")});
  const OmString locked = foreign + number("6");
  make(locked, 1000);
  const int descriptor = ::open(locked.c_str(), O_WRONLY);
  ASSERT_EQ(::flock(descriptor, LOCK_EX), 0);
  kept.insert(locked);
  const OmString strange = foreign + number("7");
  make(strange, 1000);
  if (::chown(strange.c_str(), ::geteuid() + 1, ::getegid()) == 0)
    kept.insert(strange);

  OmReplacementFile::sweep(".");
  EXPECT_EQ(names(), kept);
  ::close(descriptor);
}

TEST_F(omReplacementFileTest, AsksTheFileSystemForTheTime)
{
  const OmString name = OmString(".om-") + Owner + "-0000000000000001.tmp";
  make(name, 0);
  s_clockBehind = 48 * 3600;
  OmReplacementFile::sweep(".");
  EXPECT_EQ(names(), Names({name}));
  s_onlyNamed = true;
  make(name, 25);
  OmReplacementFile::sweep(".");
  EXPECT_EQ(names(), Names());
}

TEST_F(omReplacementFileTest, IsNotSweptWhileItIsOpenedOrCommitted)
{
  const auto sweep = []
  {
    OmReplacementFile::sweep(".");
    return 0;
  };
  int other = -1; // a sweep in the middle: it has locked the file and not removed it yet
  const auto lockIt = [&]
  {
    other = ::open(onlyName().c_str(), O_RDWR);
    return ::flock(other, LOCK_EX | LOCK_NB);
  };
  OmReplacementFile file;
  std::error_code error;
  s_onlyNamed = true;
  for (const std::function<int()>& before : {std::function<int()>(sweep), std::function<int()>(lockIt)})
  {
    s_beforeLock = before;
    ASSERT_TRUE(file.open("a", error));
    EXPECT_FALSE(s_beforeLock);
    OmReplacementFile::sweep(".");
    ASSERT_TRUE(file.commit(error)) << error;
    EXPECT_EQ(onlyName(), "a");
    std::filesystem::remove("a");
  }
  EXPECT_EQ(::close(other), 0);
  s_beforeRename = sweep;
  for (const bool isNamed : {false, true})
  {
    s_onlyNamed = isNamed;
    EXPECT_TRUE(replace("a", "whole"));
    EXPECT_EQ(onlyName(), "a");
  }
}

TEST_F(omReplacementFileTest, SweepsNoFileThatHasTakenTheName)
{
  end(startWriter(true));
  const OmString name = onlyName();
  s_beforeLock = [&]
  {
    std::filesystem::rename(name, "a");
    make(name, 0);
    return 0;
  };
  OmReplacementFile::sweep(".");
  EXPECT_EQ(names(), Names({name, "a"}));
}

TEST_F(omReplacementFileTest, IsSweptForItsAgeWhereItCannotBeLocked)
{
  for (const bool isNamed : {false, true})
  {
    s_onlyNamed = isNamed;
    s_beforeLock = [] { return ENOLCK; };
    end(startWriter(!isNamed));
    s_beforeLock = nullptr;
    OmReplacementFile::sweep(".");
    const OmString name = onlyName();
    EXPECT_EQ(contentOf(name), "half");
    make(name, 25);
    OmReplacementFile::sweep(".");
    EXPECT_EQ(names(), Names());
  }
}
