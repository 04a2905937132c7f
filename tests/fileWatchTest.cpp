#include "tools/omrender/show/fileWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

/// A directory of its own, as the current one.
class FileWatchTest : public testing::Test
{
protected:
  FileWatchTest()
  {
    char name[] = "/tmp/omFileWatchXXXXXX";
    m_directory = ::mkdtemp(name);
    fs::current_path(m_directory);
    fs::create_directories("far/deep");
    write("a.frag");
    write("far/deep/b.frag");
    fs::create_symlink("far/deep/b.frag", "link.frag");
    fs::create_directory_symlink("far", "there");
  }
  ~FileWatchTest() override
  {
    fs::current_path("/");
    fs::remove_all(m_directory);
  }

  static void write(const fs::path& file) { std::ofstream(file) << "text " << ++s_texts; }

  static void replace(const fs::path& file)
  {
    write("new");
    fs::rename("new", file);
  }

  fs::path m_directory;
  static int s_texts;
};

int FileWatchTest::s_texts = 0;

/// What changes until something does; nothing after ten seconds.
std::vector<OmString> nextChange(FileWatch& watch)
{
  using Clock = std::chrono::steady_clock;
  std::vector<OmString> changed;
  for (const auto end = Clock::now() + std::chrono::seconds(10); changed.empty() && Clock::now() < end;)
  {
    pollfd input = {watch.descriptor(), POLLIN, 0};
    ::poll(&input, 1, 100);
    changed = watch.changed();
  }
  return changed;
}

using Names = std::vector<OmString>;

} // namespace

TEST_F(FileWatchTest, EveryWayToSaveAFileIsSeenOnce)
{
  FileWatch watch({"a.frag", "link.frag", "there/deep/c.frag"});
  ASSERT_TRUE(watch.isNotified());
  std::FILE* kept = nullptr;
  const auto append = [&]
  {
    std::fputs("more", kept);
    std::fflush(kept);
  };
  const struct
  {
    const char* what;
    std::function<void()> act;
    Names changed;
  } cases[] = {
      {"written in place", [] { write("a.frag"); }, {"a.frag"}},
      {"renamed over", [] { replace("a.frag"); }, {"a.frag"}},
      {"and again", [] { replace("a.frag"); }, {"a.frag"}},
      {"deleted and made", [] { fs::remove("a.frag"), write("a.frag"); }, {"a.frag"}},
      {"moved to a backup and made", [] { fs::rename("a.frag", "a.frag~"), write("a.frag"); }, {"a.frag"}},
      {"linked",
       [] { write("new"), fs::remove("a.frag"), fs::create_hard_link("new", "a.frag"), fs::remove("new"); },
       {"a.frag"}},
      {"behind a link, in place", [] { write("far/deep/b.frag"); }, {"link.frag"}},
      {"behind a link, replaced", [] { replace("far/deep/b.frag"); }, {"link.frag"}},
      {"made at last", [] { write("far/deep/c.frag"); }, {"there/deep/c.frag"}},
      {"the link names another",
       [] { fs::create_symlink("a.frag~", "new"), fs::rename("new", "link.frag"); },
       {"link.frag"}},
      {"written behind the new link", [] { write("a.frag~"); }, {"link.frag"}},
      {"written, not closed", [&] { kept = std::fopen("a.frag", "w"), append(); }, {"a.frag"}},
      {"written on", append, {"a.frag"}},
      {"a directory takes its place",
       []
       {
         fs::create_directories("next/deep"), write("next/deep/c.frag"), fs::rename("far", "old"),
             fs::rename("next", "far");
       },
       {"there/deep/c.frag"}},
      {"written in the new directory", [] { write("far/deep/c.frag"); }, {"there/deep/c.frag"}},
      {"made with its directories",
       [] { fs::remove_all("far"), fs::create_directories("far/deep"), write("far/deep/c.frag"); },
       {"there/deep/c.frag"}},
      {"written there", [] { write("far/deep/c.frag"); }, {"there/deep/c.frag"}},
  };
  for (const auto& one : cases)
  {
    write("other.frag");      // of no interest
    fs::remove("other.frag"); // nor this
    one.act();
    Names changed = nextChange(watch);
    EXPECT_EQ(changed, one.changed) << one.what;
    EXPECT_EQ(watch.changed(), Names()) << one.what;
  }
  std::fclose(kept);
  EXPECT_EQ(nextChange(watch), Names{"a.frag"}); // closed
  fs::remove("a.frag");
  kept = std::fopen("a.frag", "w");
  append();
  EXPECT_EQ(watch.changed(), Names()); // half of it, perhaps
  std::fclose(kept);
  EXPECT_EQ(nextChange(watch), Names{"a.frag"});
}

TEST_F(FileWatchTest, WithoutInotifyTheTimesAreLookedAt)
{
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const int next = ::dup(0);
  ASSERT_NE(next, -1);
  ::close(next);
  const rlimit few = {static_cast<rlim_t>(next) + 2, limit.rlim_max}; // no third descriptor
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  FileWatch watch({"a.frag", "link.frag"});
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  ASSERT_FALSE(watch.isNotified());
  write("a.frag");
  EXPECT_EQ(nextChange(watch), Names{"a.frag"});
  replace("far/deep/b.frag");
  EXPECT_EQ(nextChange(watch), Names{"link.frag"});
}
