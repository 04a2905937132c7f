#include "foundation/core/omPrint.h"
#include "foundation/common/omUtils.h"
#include "foundation/core/omApplication.h"
#include "support/allocations.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <thread>

namespace
{

// Static objects go after the thread's own; what they write must still find its streams (the sanitizers watch).
struct WritesAtExit
{
  ~WritesAtExit()
  {
    Om::Print::instance().ostream(2, "not shown") << 1 << std::endl;
    Om::Print::instance().ostream(4, "shown") << "the last message of the process" << std::endl;
  }
} s_writesAtExit;

} // namespace

TEST(omPrint, MessagesGoOutLineByLineAsWritten)
{
  PrintCapture capture(1);
  Om::Print& print = Om::Print::instance();
  print.write(4, "%s: %d%%\n", std::string(1000, 'x').c_str(), 7);
  print.ostream(3, "f()") << "one\ntwo " << 2 << std::endl << std::hex << 255 << "\n";
  print.ostream(3, "f()") << "open";
  print.ostream(4, "f()") << 255 << "\n"; // the open line goes out first; the base is decimal again
  print.write(0, "trace\n");
  EXPECT_EQ(capture.messages(), (Messages{{4, std::string(1000, 'x') + ": 7%\n"},
                                          {3, "one\n"},
                                          {3, "two 2\n"},
                                          {3, "ff\n"},
                                          {3, "open"},
                                          {4, "255\n"}}));
}

TEST(omPrint, SinkMayWriteAndMayBeTakenAwayByAnotherThread)
{
  Om::Print& print = Om::Print::instance();
  std::atomic<int> count{0};
  print.setSink(
      [&](int, const std::string& text)
      {
        ++count;
        if (text == "outer\n")
          Om::Print::instance().ostream(4, "") << "inner" << std::endl;
      });
  print.ostream(4, "") << "outer" << std::endl;
  EXPECT_EQ(count, 2);
  std::thread other(
      [&]
      {
        for (int i = 0; i < 200; ++i)
          print.ostream(4, "") << i << "\n";
      });
  for (int i = 0; i < 200; ++i)
    print.write(4, "%d\n", i);
  other.join();
  print.setSink({});
  EXPECT_EQ(count, 402);
}

TEST(omPrint, WhatDoesNotGoOutCostsNoAllocation)
{
  Om::Print& print = Om::Print::instance();
  print.setPrintLevel(4);
  print.ostream(2, "first use of this thread's stream") << 1;
  const std::size_t before = allocationCount();
  for (int i = 0; i < 100; ++i)
  {
    const Om::Print::ScopedPrint scope("a signature that would not fit a small string", "");
    print.ostream(2, "another signature that would not fit a small string") << "text " << i << 1.5 << std::endl;
    print.write(3, "%s %d\n", "text", i);
  }
  EXPECT_EQ(allocationCount() - before, 0u);
}

TEST(omPrint, ScopesAreTracedAtLevelZeroOnly)
{
  for (const int level : {0, 1})
  {
    PrintCapture capture(level);
    {
      const Om::Print::ScopedPrint scope("void f()", "");
    }
    EXPECT_EQ(capture.messages(0).size(), level == 0 ? 2u : 0u);
  }
}

TEST(omApplication, FindsFilesAlongTheSearchPath)
{
  namespace fs = std::filesystem;
  const fs::path root = fs::temp_directory_path() / ("omApplicationTest" + std::to_string(::getpid()));
  fs::create_directories(root / "a" / "onlyADirectory");
  fs::create_directories(root / "b");
  for (const char* name : {"a/both", "b/both", "b/onlyADirectory", "b/second"})
    std::ofstream(root / name) << name;
  Om::Application::addSearchPath((root / "a").string());
  Om::Application::addSearchPath((root / "b").string());

  EXPECT_EQ(Om::Application::findFile("both"), (root / "a/both").string());
  EXPECT_EQ(Om::Application::findFile("second"), (root / "b/second").string());
  EXPECT_EQ(Om::Application::findFile("onlyADirectory"), (root / "b/onlyADirectory").string());
  EXPECT_EQ(Om::Application::findFile("nowhere"), "nowhere");
  EXPECT_EQ(Om::Application::findFile("/absolute/nowhere"), "/absolute/nowhere");
  EXPECT_EQ(Om::Application::findFile(""), "");
  fs::current_path(root / "b");
  EXPECT_EQ(Om::Application::findFile("both"), "both"); // the name itself comes before the search path
  fs::remove_all(root);
}

TEST(omUtils, NumbersAsText)
{
  EXPECT_EQ(OmINT2STRING(1287, 10), "1287");
  EXPECT_EQ(OmINT2STRING(-255, 16), "-ff");
  EXPECT_EQ(OmINT2STRING(std::numeric_limits<long long>::min(), 2).size(), 65u);
  EXPECT_EQ(OmINT2STRING(7, 99), "7");
}
