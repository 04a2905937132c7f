#include "tools/omrender/show/aheadReader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

namespace
{

/// Pictures of one pixel, whose value is the index. Counts how often each is read.
class Source
{
public:
  OmImage read(std::size_t index)
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_reads[index];
    m_read.notify_all();
    if (index == Broken)
      throw std::runtime_error("broken");
    OmImage image(1, 1, 1);
    *image.data() = static_cast<OmU8>(index);
    return image;
  }
  void waitFor(std::size_t index)
  {
    std::unique_lock<std::mutex> lock(m_mutex);
    EXPECT_TRUE(m_read.wait_for(lock, std::chrono::seconds(20), [&] { return m_reads.count(index); })) << index;
  }
  std::map<std::size_t, int> reads()
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reads;
  }

  static constexpr std::size_t Broken = 5;

private:
  std::mutex m_mutex;
  std::condition_variable m_read;
  std::map<std::size_t, int> m_reads;
};

using Reads = std::map<std::size_t, int>;

TEST(aheadReaderTest, ReadsNeighboursOnceWithinItsBound)
{
  Source source;
  {
    AheadReader reader({1, 1, 1, 9, 1, 1, 1, 1, 1}, 3, [&](std::size_t index) { return source.read(index); });
    EXPECT_EQ(*reader.get(0, 1)->data(), 0); // the one of 9 bytes is beyond the bound
    source.waitFor(2);
    EXPECT_EQ(*reader.get(1, 1)->data(), 1);
    source.waitFor(4);
    EXPECT_EQ(*reader.get(0, -1)->data(), 0); // has been kept
  }
  EXPECT_EQ(source.reads(), (Reads{{0, 1}, {1, 1}, {2, 1}, {4, 1}}));
}

TEST(aheadReaderTest, TurnsWithItsUserAndDoesNotInsistOnBrokenOnes)
{
  Source source;
  {
    AheadReader reader(std::vector<std::uint64_t>(9, 1), 100, [&](std::size_t index) { return source.read(index); });
    reader.get(8, -1);
    source.waitFor(Source::Broken); // the third one
    EXPECT_THROW(reader.get(Source::Broken, -1), std::runtime_error);
    reader.get(4, -1);
    source.waitFor(1);
  }
  EXPECT_EQ(source.reads(), (Reads{{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 3}, {6, 1}, {7, 1}, {8, 1}}));
}

} // namespace
