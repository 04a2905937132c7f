#include "foundation/core/omPrint.h"
#include "foundation/common/omUtils.h"
#include "foundation/core/omApplication.h"
#include "support/allocations.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <limits>
#include <locale>
#include <ostream>
#include <thread>
#include <unistd.h>

namespace
{

// Static objects are destroyed after the streams of the main thread; the address sanitizer sees a use of those.
struct WritesAtExit
{
  WritesAtExit() { Om::Print::instance().ostream(4, "a signature on the heap, which is freed with the stream"); }
  ~WritesAtExit()
  {
    Om::Print::instance().ostream(2, "not shown") << 1 << std::endl;
    Om::Print::instance().ostream(4, "shown") << "the last message of the process" << std::endl;
  }
} s_writesAtExit;

} // namespace

TEST(omPrintTest, MessagesGoOutLineByLineAsWritten)
{
  PrintCapture capture(1);
  Om::Print& print = Om::Print::instance();
  print.write(4, "%s: %d%%\n", std::string(1000, 'x').c_str(), 7);
  print.ostream(3, "f()") << "one\ntwo " << 2 << std::endl
                          << std::hex << std::setfill('*') << std::setprecision(2) << 255 << "\n";
  print.ostream(3, "f()") << "open";
  // The open line goes out first, and the stream formats as a new one.
  print.ostream(4, "f()") << std::setw(4) << 255 << " " << 0.123456 << "\n";
  print.write(0, "trace\n");
  EXPECT_EQ(capture.messages(), (Messages{{4, std::string(1000, 'x') + ": 7%\n"},
                                          {3, "one\n"},
                                          {3, "two 2\n"},
                                          {3, "ff\n"},
                                          {3, "open"},
                                          {4, " 255 0.123456\n"}}));
}

/// Groups digits and has a comma for the decimal point, as many locales do.
class Grouping : public std::numpunct<char>
{
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(omPrintTest, NumbersDoNotFollowTheLocale)
{
  PrintCapture capture(1);
  const std::locale grouping(std::locale::classic(), new Grouping);
  const std::locale before = std::locale::global(grouping);
  std::thread newStreams([] { Om::Print::instance().ostream(4, "f()") << 1234 << " " << 0.5 << "\n"; });
  newStreams.join();
  Om::Print::instance().ostream(4, "f()").imbue(grouping);
  Om::Print::instance().ostream(4, "f()") << 1234 << "\n";
  std::locale::global(before);
  EXPECT_EQ(capture.messages(), (Messages{{4, "1234 0.5\n"}, {4, "1234\n"}}));
}

TEST(omPrintTest, TheSinkMayWrite)
{
  Om::Print& print = Om::Print::instance();
  int count = 0;
  print.setSink(
      [&](int, const std::string& text)
      {
        ++count;
        if (text == "outer\n")
          Om::Print::instance().ostream(4, "") << "inner" << std::endl;
      });
  print.ostream(4, "") << "outer" << std::endl;
  EXPECT_EQ(count, 2);
  print.setSink({});
}

TEST(omPrintTest, WhatDoesNotGoOutCostsNoAllocation)
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

TEST(omPrintTest, StandardErrorShowsScopesAndSignaturesAtLevelZeroOnly)
{
  for (const int level : {0, 1})
  {
    Om::Print::instance().setPrintLevel(level);
    testing::internal::CaptureStderr();
    {
      const Om::Print::ScopedPrint scope("void f()", " begins");
      Om::Print::instance().ostream(3, "void f()") << "line\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              level == 0 ? "> void f() begins\nvoid f(): line\n< void f() begins\n" : "line\n");
  }
}

TEST(omPrintTest, TheEnvironmentSetsTheFirstLevel)
{
  testing::FLAGS_gtest_death_test_style = "threadsafe"; // the level is read once in a process, so each case starts one
  for (const auto& [text, level] : {std::pair("2", 2), {"0", 0}, {"", 4}, {"3x", 4}, {"loud", 4}})
  {
    ASSERT_EQ(::setenv("OM_PRINT_LEVEL", text, 1), 0);
    EXPECT_EXIT(std::_Exit(Om::Print::instance().printLevel()), testing::ExitedWithCode(level), "") << text;
  }
}

TEST(omPrintTest, FindsFilesAlongTheSearchPath)
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

TEST(omPrintTest, ControlCharactersAreEscaped)
{
  EXPECT_EQ(OmEscaped("a\n\t\r\x1b[31m\x7f\xc2\x9b"), "a\\n\\t\\r\\x1b[31m\\x7f\\xc2\\x9b");
  const OmString plain = "a\\n \xc2\xa0\xc3\x84\xc3\x9b\xc2"; // letters in UTF-8, and one that is cut off
  EXPECT_EQ(OmEscaped(plain), plain);
}

TEST(omPrintTest, NumbersAsText)
{
  EXPECT_EQ(OmINT2STRING(1287, 10), "1287");
  EXPECT_EQ(OmINT2STRING(-255, 16), "-ff");
  EXPECT_EQ(OmINT2STRING(std::numeric_limits<long long>::min(), 2).size(), 65u);
}
