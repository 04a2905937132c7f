// What any thread may do at any time, under the thread sanitizer above all (preset tsan).

#include "foundation/core/omPrint.h"
#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "tests/support/pictures.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int Threads = 4;
constexpr int Rounds = 50;

/// Calls the function on several threads at once, with their numbers.
template <class Function>
void onThreads(Function function)
{
  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i)
    threads.emplace_back(function, i);
  for (std::thread& thread : threads)
    thread.join();
}

} // namespace

TEST(threadsTest, AnyThreadWritesToTheLogAndSetsItsLevelAndSink)
{
  Om::Print& print = Om::Print::instance();
  std::atomic<int> taken = 0;
  std::atomic<int> torn = 0;
  const Om::Print::Sink sink = [&](int, const std::string& text)
  {
    taken++;
    torn += text != std::string(100, text[0]) + "\n";
  };
  print.setSink(sink);
  onThreads(
      [&](int thread)
      {
        const std::string text(100, static_cast<char>('a' + thread));
        for (int round = 0; round < Rounds; ++round)
        {
          print.write(4, "%s\n", text.c_str());
          print.ostream(5, "threadsTest") << text << "\n";
          print.setPrintLevel(round % 4);
          print.setSink(sink);
        }
      });
  print.setSink({});
  print.setPrintLevel(4);
  EXPECT_EQ(taken, 2 * Threads * Rounds);
  EXPECT_EQ(torn, 0);
}

TEST(threadsTest, ThreadsReadAndWriteFilesAtOnce)
{
  std::string folder = testing::TempDir() + "threadsTestXXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  const std::string shared = folder + "/shared.png";
  std::array<OmImage, Threads> pictures;
  for (int i = 0; i < Threads; ++i)
    pictures[static_cast<std::size_t>(i)] = makePicture(3, 31, 17, static_cast<OmU32>(i));
  ASSERT_TRUE(OmImageReaderWriter::write(pictures[0], shared));

  std::atomic<int> wrong = 0;
  onThreads(
      [&](int thread)
      {
        const OmImage& picture = pictures[static_cast<std::size_t>(thread)];
        const std::string file = folder + "/" + std::to_string(thread) + ".png";
        OmImage read;
        for (int round = 0; round < Rounds / 5; ++round)
        {
          wrong += !OmImageReaderWriter::write(picture, file) || !OmImageReaderWriter::read(read, file);
          wrong += differences(read, picture) != 0;
          // All write this file: what is there is always one of the pictures.
          wrong += !OmImageReaderWriter::write(picture, shared) || !OmImageReaderWriter::read(read, shared);
          bool isWhole = false;
          for (const OmImage& any : pictures)
            isWhole = isWhole || differences(read, any) == 0;
          wrong += !isWhole;
        }
      });
  EXPECT_EQ(wrong, 0);
  std::filesystem::remove_all(folder);
}
