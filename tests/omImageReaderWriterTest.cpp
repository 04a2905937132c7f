#include "image/omImageReaderWriter.h"

#include "foundation/core/omPrint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

/// Present when the address sanitizer is: it needs more address space than any limit.
extern "C" void __asan_init() __attribute__((weak));

namespace
{

namespace fs = std::filesystem;
using Pixel = std::array<int, 4>;

OmString fixture(const OmString& name)
{
  return OmString(OM_FIXTURES) + "/" + name;
}

OmString contents(const OmString& fileName)
{
  std::ifstream file(fileName, std::ios::binary);
  return OmString(std::istreambuf_iterator<char>(file), {});
}

void store(const OmString& fileName, const OmString& bytes)
{
  std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
  file << bytes;
  ASSERT_TRUE(file.flush());
}

OmString bigEndian(OmU32 value)
{
  OmString bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift & 0xff);
  return bytes;
}

OmString pngChunk(const OmString& nameAndData)
{
  OmU32 crc = 0xffffffff;
  for (const char c : nameAndData)
  {
    crc ^= static_cast<OmU8>(c);
    for (int bit = 0; bit < 8; ++bit)
      crc = crc >> 1 ^ (crc & 1 ? 0xedb88320 : 0);
  }
  return bigEndian(static_cast<OmU32>(nameAndData.size() - 4)) + nameAndData + bigEndian(~crc);
}

/// The start of a PNG file, up to the pixels.
OmString pngStart(OmU32 width, OmU32 height, int depth, int colorType, bool interlaced)
{
  const char format[] = {static_cast<char>(depth), static_cast<char>(colorType), 0, 0, interlaced ? '\1' : '\0'};
  return OmString("\x89PNG\r\n\x1a\n") +
         pngChunk("IHDR" + bigEndian(width) + bigEndian(height) + OmString(format, sizeof format));
}

/// Pixels from random numbers, the same at every call.
OmImage noise(OmU32 channels, OmU32 width, OmU32 height)
{
  OmImage image(channels, width, height);
  OmU32 state = 12345 + channels;
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    image.data()[i] = static_cast<OmU8>((state = state * 1664525 + 1013904223) >> 24);
  return image;
}

void expectSame(const OmImage& image, const OmImage& expected)
{
  ASSERT_EQ(image.channels(), expected.channels());
  ASSERT_EQ(image.width(), expected.width());
  ASSERT_EQ(image.height(), expected.height());
  EXPECT_TRUE(std::equal(image.data(), image.data() + image.byteSize(), expected.data()));
  EXPECT_EQ(image.flippedData(), nullptr);
}

/// A directory of its own for every test, and the messages that the test causes.
class OmImageReaderWriterTest : public testing::Test
{
protected:
  void SetUp() override
  {
    OmString name = testing::TempDir() + "omImageXXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    m_directory = name;
    Om::Print::instance().setSink([this](int type, const std::string& text) { m_messages.push_back({type, text}); });
  }
  void TearDown() override
  {
    EXPECT_TRUE(m_messages.empty()) << m_messages[0].second;
    Om::Print::instance().setSink({});
    fs::remove_all(m_directory);
  }

  OmString path(const OmString& name) const { return m_directory + "/" + name; }

  /// One line of type 4 that names the file and ends with the reason.
  void expectReport(const OmString& fileName, const OmString& reason = "\n")
  {
    ASSERT_EQ(m_messages.size(), 1U);
    const auto& [type, text] = m_messages[0];
    EXPECT_EQ(type, 4);
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    EXPECT_NE(text.find(fileName), OmString::npos) << text;
    EXPECT_NE(text.find(reason), OmString::npos) << text;
    m_messages.clear();
  }

  /// The file is refused in one line, and neither an image nor a header comes out of it.
  void expectUnreadable(const OmString& fileName, const OmString& reason = "\n")
  {
    OmImage image = noise(2, 3, 1);
    EXPECT_FALSE(OmImageReaderWriter::read(image, fileName));
    expectReport(fileName, reason);
    expectSame(image, noise(2, 3, 1));
  }

  OmString m_directory;
  std::vector<std::pair<int, OmString>> m_messages;
};

TEST_F(OmImageReaderWriterTest, WritesWhatItReads)
{
  const std::pair<OmU32, OmU32> sizes[] = {{1, 1}, {1, 300}, {333, 1}, {7, 5}, {255, 257}, {1200001, 1}};
  for (OmU32 channels = 1; channels <= 4; ++channels)
    for (const auto& [width, height] : sizes)
    {
      SCOPED_TRACE(testing::Message() << channels << " channels, " << width << " by " << height);
      OmImage image = noise(channels, width, height);
      image.copyFromOrToFlipped(false); // what is written are the pixels, whichever copy is in use
      ASSERT_TRUE(OmImageReaderWriter::write(image, path("picture")));

      OmImage copy(1, 2, 2);
      copy.copyFromOrToFlipped(false);
      ASSERT_TRUE(OmImageReaderWriter::read(copy, path("picture")));
      expectSame(copy, noise(channels, width, height));
      EXPECT_FALSE(copy.isFlipped());
    }
}

/// What makePictures.py puts into a 16-bit file, to the nearest of 8 bits.
int narrow(int value)
{
  return (value * 255 + 32767) / 65535;
}

/// The fixtures' pixels are those of fixtures/makePictures.py.
TEST_F(OmImageReaderWriterTest, ReadsEveryKindOfPng)
{
  const Pixel palette[] = {{255, 0, 0, 0}, {0, 255, 0, 128}, {0, 0, 255, 255}, {10, 20, 30, 255}};
  const auto rgb = [](int x, int y) { return Pixel{x * 28, y * 40, (x + y) * 17}; };
  const auto wide = [](int x, int y) { return Pixel{narrow(x * 7000 + 300), narrow(y * 9001), (x + y) * 17}; };
  struct Case
  {
    const char* name;
    OmU32 channels;
    std::function<Pixel(int, int)> pixel;
  };
  const Case cases[] = {
      {"grey1.png", 1, [](int x, int y) { return Pixel{(x + y) % 2 * 255}; }},
      {"grey4.png", 1, [](int x, int y) { return Pixel{(x + y) * 17}; }},
      {"grey16.png", 1, wide},
      {"greyKey.png", 2,
       [](int x, int) {
         return Pixel{x * 28, x == 2 ? 0 : 255};
       }},
      {"greyAlpha.png", 2, rgb},
      {"palette.png", 3, [&](int x, int y) { return palette[(x + y) % 4]; }},
      {"paletteAlpha.png", 4, [&](int x, int y) { return palette[(x + y) % 4]; }},
      {"rgb.png", 3, rgb},
      {"rgbInterlaced.png", 3, rgb},
      {"rgb16Key.png", 4,
       [&](int x, int y)
       {
         const Pixel color = wide(x, y);
         return Pixel{color[0], color[1], color[2], x == 3 && y == 2 ? 0 : 255};
       }},
      {"rgba16.png", 4,
       [&](int x, int y)
       {
         const Pixel color = wide(x, y);
         return Pixel{color[0], color[1], color[2], narrow(x * 8000)};
       }},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    OmU32 width = 0, height = 0, channels = 0;
    ASSERT_TRUE(OmImageReaderWriter::readHeader(fixture(c.name), width, height, channels));
    EXPECT_EQ(channels, c.channels);

    OmImage image, expected(c.channels, 9, 7);
    ASSERT_TRUE(OmImageReaderWriter::read(image, fixture(c.name)));
    OmU8* byte = expected.data();
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 9; ++x)
        for (OmU32 channel = 0; channel < c.channels; ++channel)
          *byte++ = static_cast<OmU8>(c.pixel(x, y)[channel]);
    expectSame(image, expected);
    EXPECT_EQ(width, 9U);
    EXPECT_EQ(height, 7U);
  }
}

/// Each JPEG fixture has one color in its left half and another in its right half.
TEST_F(OmImageReaderWriterTest, ReadsEveryKindOfJpeg)
{
  const Pixel red = {200, 40, 60}, blue = {30, 120, 220};
  const Pixel greenInk = {0, 204, 102}, orangeInk = {255, 100, 50};
  // Without Adobe's marker, the same bytes are amounts of ink.
  OmString plainInk = contents(fixture("cmyk.jpg"));
  const std::size_t adobe = plainInk.find("\xff\xee");
  ASSERT_NE(adobe, OmString::npos);
  store(path("ink.jpg"), plainInk.erase(adobe, 16));

  struct Case
  {
    OmString name;
    OmU32 channels, width, height;
    Pixel left, right;
  };
  const Case cases[] = {
      {fixture("grey.jpg"), 1, 32, 16, {50}, {180}},         {fixture("baseline.jpg"), 3, 32, 16, red, blue},
      {fixture("progressive.jpg"), 3, 32, 16, red, blue},    {fixture("rgb.jpg"), 3, 32, 16, red, blue},
      {fixture("arithmetic.jpg"), 3, 1024, 1024, red, blue}, {fixture("cmyk.jpg"), 3, 32, 16, greenInk, orangeInk},
      {fixture("ycck.jpg"), 3, 32, 16, greenInk, orangeInk}, {path("ink.jpg"), 3, 32, 16, {51, 0, 26}, {0, 0, 0}},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    OmU32 width = 0, height = 0, channels = 0;
    ASSERT_TRUE(OmImageReaderWriter::readHeader(c.name, width, height, channels));
    OmImage image;
    ASSERT_TRUE(OmImageReaderWriter::read(image, c.name));
    ASSERT_EQ(image.channels(), c.channels);
    ASSERT_EQ(image.width(), c.width);
    ASSERT_EQ(image.height(), c.height);
    EXPECT_TRUE(width == c.width && height == c.height && channels == c.channels);
    for (OmU32 y = 0; y < c.height; ++y)
      for (OmU32 x = 0; x < c.width; ++x)
        for (OmU32 channel = 0; channel < c.channels; ++channel)
          ASSERT_NEAR(image.data()[(y * c.width + x) * c.channels + channel],
                      (x < c.width / 2 ? c.left : c.right)[channel], 2)
              << x << ", " << y;
  }
}

TEST_F(OmImageReaderWriterTest, RefusesWhatIsNoPicture)
{
  const OmString png = contents(fixture("rgb.png"));
  const std::size_t pixels = png.find("IDAT"), end = png.size() - 12;
  OmString wrongCrc = png;
  ++wrongCrc[end - 1];
  // The checksum of the pixels in a chunk of its own, which is read when all of them are there.
  OmString wrongSum = "IDAT" + png.substr(end - 8, 4);
  ++wrongSum.back();
  wrongSum =
      png.substr(0, pixels - 4) + pngChunk(png.substr(pixels, end - 8 - pixels)) + pngChunk(wrongSum) + png.substr(end);
  const OmString noPixels = png.substr(0, pixels - 4) + pngChunk("IEND");

  struct Case
  {
    const char* name;
    OmString bytes;
    const char* reason;
  };
  const Case cases[] = {
      {"empty", "", "the file is empty"},
      {"text", "P6 1 1 255 abc", "neither a PNG nor a JPEG"},
      {"signature.png", png.substr(0, 8), "the file ends early"},
      {"start.jpg", "\xff\xd8\xff", "\n"},
      {"crc.png", wrongCrc, "CRC"},
      {"sum.png", wrongSum, "incorrect data check"},
      {"no pixels.png", noPixels, "\n"},
      {"no end.png", png.substr(0, end), "the file ends early"},
      {"line\nbreak", "text", "neither a PNG nor a JPEG"},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    store(path(c.name), c.bytes);
    OmString shown = path(c.name);
    std::replace(shown.begin(), shown.end(), '\n', '?');
    OmImage image = noise(2, 3, 1);
    image.copyFromOrToFlipped(false);
    EXPECT_FALSE(OmImageReaderWriter::read(image, path(c.name)));
    expectReport(shown, c.reason);
    EXPECT_TRUE(image.isFlipped());
    image.copyFromOrToFlipped(true);
    EXPECT_TRUE(std::equal(image.data(), image.data() + image.byteSize(), noise(2, 3, 1).data()));
  }

  expectUnreadable(m_directory, "directory");
  expectUnreadable(path("missing"), "No such file");
  expectUnreadable("/dev/null", "not a regular file");
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  expectUnreadable(path("pipe"), "not a regular file");

  OmU32 width = 1, height = 2, channels = 3;
  EXPECT_FALSE(OmImageReaderWriter::readHeader(path("text"), width, height, channels));
  expectReport(path("text"));
  EXPECT_TRUE(width == 1 && height == 2 && channels == 3);
}

const char* const DamagedFixtures[] = {"paletteAlpha.png", "rgb.png",  "rgba16.png", "grey.jpg",
                                       "progressive.jpg",  "cmyk.jpg", "ycck.jpg"};

TEST_F(OmImageReaderWriterTest, RefusesEveryTruncation)
{
  for (const char* name : DamagedFixtures)
  {
    const OmString whole = contents(fixture(name));
    ASSERT_GT(whole.size(), 100U);
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
      SCOPED_TRACE(testing::Message() << name << " cut to " << size);
      store(path("cut"), whole.substr(0, size));
      expectUnreadable(path("cut"));
    }
  }
}

TEST_F(OmImageReaderWriterTest, SurvivesEveryChangedByte)
{
  for (const char* name : DamagedFixtures)
  {
    const OmString whole = contents(fixture(name));
    const bool isPng = whole[0] != '\xff';
    for (std::size_t at = 0; at < whole.size(); ++at)
      for (const int change : {0x01, 0x80, 0xff})
      {
        SCOPED_TRACE(testing::Message() << name << " byte " << at << " changed by " << change);
        OmString bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ change);
        store(path("changed"), bytes);
        OmImage image;
        if (OmImageReaderWriter::read(image, path("changed")))
        {
          EXPECT_FALSE(isPng && at < 33); // signature and header stand under a checksum
          EXPECT_EQ(image.byteSize(), std::size_t{image.width()} * image.height() * image.channels());
          EXPECT_TRUE(m_messages.empty());
        }
        else
        {
          expectReport(path("changed"));
          EXPECT_EQ(image.data(), nullptr);
        }
      }
  }
}

/// The most memory, in KiB, that the process ever had in use.
long peakMemory()
{
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST_F(OmImageReaderWriterTest, LargePicturesOnPaperTakeNoMemory)
{
  // A real start of the pixels, then nothing but zeros: the size of the file alone would justify the picture.
  const OmString pixels("IDAT\x78\x01\x62", 7);
  const OmString padding(1000000, '\0');
  const OmString baseline = contents(fixture("baseline.jpg"));
  const auto jpegOfSize = [](OmString bytes, OmU32 width, OmU32 height)
  {
    const std::size_t frame = std::min({bytes.find("\xff\xc0"), bytes.find("\xff\xc2"), bytes.find("\xff\xca")});
    return bytes.replace(frame + 5, 4, bigEndian(height << 16 | width));
  };
  struct Case
  {
    const char* name;
    OmString bytes;
    const char* reason = "too small";
    long mebibytes = 32;
  };
  const Case cases[] = {
      {"small.png", pngStart(60000, 60000, 8, 6, false) + pngChunk(pixels)},
      {"most.png", pngStart(0x7fffffff, 0x7fffffff, 16, 6, true) + pngChunk(pixels)},
      {"padded.png", pngStart(16000, 15000, 8, 6, false) + pngChunk(pixels + padding), "\n"},
      {"interlaced.png", pngStart(16000, 15000, 8, 6, true) + pngChunk(pixels + padding), "\n"},
      {"wide.png", pngStart(0x1fffffff, 1, 1, 0, false) + pngChunk(pixels + padding), "\n", 200}, // libpng holds a row
      {"small.jpg", jpegOfSize(baseline, 65000, 65000)},
      {"small progressive.jpg", jpegOfSize(contents(fixture("progressive.jpg")), 65000, 65000)},
      {"arithmetic.jpg", jpegOfSize(contents(fixture("arithmetic.jpg")), 65000, 65000)},
      {"padded.jpg", jpegOfSize(baseline, 16000, 10000) + padding, "\n"},
      {"padded progressive.jpg", jpegOfSize(contents(fixture("progressive.jpg")), 16000, 10000) + padding, "\n"},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    store(path(c.name), c.bytes);
    const auto start = std::chrono::steady_clock::now();
    const long memory = peakMemory();
    expectUnreadable(path(c.name), c.reason);
    EXPECT_LT(peakMemory() - memory, c.mebibytes * 1024);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  }
}

TEST_F(OmImageReaderWriterTest, RefusesAFloodOfScans)
{
  // The last scan of the file, a refinement of one coefficient band, over and over.
  const OmString whole = contents(fixture("progressive.jpg"));
  const std::size_t lastScan = whole.rfind("\xff\xda");
  const OmString scan = whole.substr(lastScan, whole.size() - 2 - lastScan);
  OmString bytes = whole.substr(0, whole.size() - 2);
  for (int i = 0; i < 2000; ++i)
    bytes += scan;
  store(path("flood.jpg"), bytes + "\xff\xd9");
  expectUnreadable(path("flood.jpg"), "too many scans");
}

TEST_F(OmImageReaderWriterTest, RunningOutOfMemoryIsAFailureLikeAnother)
{
  if (__asan_init != nullptr)
    GTEST_SKIP() << "the address sanitizer does not run within a limit";
  // Whole and small on the disk: only the memory is missing.
  ASSERT_TRUE(OmImageReaderWriter::write(OmImage(4, 6000, 5000), path("zero.png")));
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &limit), 0);
  const rlimit tight = {rlim_t{100} << 20, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
  expectUnreadable(path("zero.png"), "out of memory");
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
}

TEST_F(OmImageReaderWriterTest, FailedWritesLeaveEverythingAsItWas)
{
  store(path("old.png"), "old");
  OmImage flippedOnly;
  flippedOnly.zeroFlippedImage(1, 0, 2, 2);
  struct Case
  {
    const char* what;
    OmImage image;
    OmString target;
    const char* reason;
  };
  const Case cases[] = {
      {"no image", OmImage(), path("old.png"), "no pixels"},
      {"flipped copy only", flippedOnly, path("old.png"), "no pixels"},
      {"channels", OmImage(5, 2, 2), path("old.png"), "5 channels"},
      {"no directory", noise(1, 2, 2), path("none/new.png"), "No such file"},
      {"directory", noise(1, 2, 2), m_directory, "directory"},
      {"device", noise(1, 2, 2), "/dev/null", "not a regular file"},
      {"no name", noise(1, 2, 2), "", "\n"},
      {"disk full", noise(4, 200, 200), path("old.png"), "File too large"},
      {"disk full at the end", noise(1, 2, 2), path("old.png"), "File too large"},
  };
  std::signal(SIGXFSZ, SIG_IGN);
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.what);
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit tight = {OmString(c.what) == "disk full" ? rlim_t{20000} : rlim_t{10}, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    EXPECT_FALSE(OmImageReaderWriter::write(c.image, c.target));
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    expectReport(c.target, c.reason);
    EXPECT_EQ(contents(path("old.png")), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), fs::directory_iterator()), 1);
  }
}

TEST_F(OmImageReaderWriterTest, WritesReplaceAndFollowTheUmask)
{
  const mode_t mask = ::umask(027);
  const OmString longName(255, 'n');
  ASSERT_TRUE(OmImageReaderWriter::write(noise(1, 2, 2), path(longName)));
  ASSERT_TRUE(OmImageReaderWriter::write(noise(3, 4, 5), path(longName)));
  ::umask(mask);
  OmImage image;
  ASSERT_TRUE(OmImageReaderWriter::read(image, path(longName)));
  expectSame(image, noise(3, 4, 5));
  EXPECT_EQ(fs::status(path(longName)).permissions(), fs::perms(0640));
  EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), fs::directory_iterator()), 1);
}

} // namespace
