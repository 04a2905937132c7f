#include "image/omImageReaderWriter.h"

#include "foundation/common/omUtils.h"

#include "support/pictures.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

/// Present when the address sanitizer is: it needs more address space than any limit.
extern "C" void __asan_init() __attribute__((weak));

namespace
{

namespace fs = std::filesystem;
using Pixel = std::array<int, 4>;

/// The error with which each of these calls fails, 0 for none: no file system fails on request.
struct Failures
{
  int fsync = 0, rename = 0, access = 0;
} s_failures;

template <typename... Arguments>
int callUnless(int error, const char* function, Arguments... arguments)
{
  if (error == 0)
    return reinterpret_cast<int (*)(Arguments...)>(::dlsym(RTLD_NEXT, function))(arguments...);
  errno = error;
  return -1;
}

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
  fs::remove(fileName); // truncating it instead waits for the disk
  std::ofstream file(fileName, std::ios::binary);
  file << bytes;
  ASSERT_TRUE(file.flush());
}

/// Gives every test a directory and collects the messages that the test causes.
class omImageReaderWriterTest : public testing::Test
{
protected:
  void SetUp() override
  {
    m_directory = testing::TempDir() + "omImageXXXXXX";
    ASSERT_NE(::mkdtemp(m_directory.data()), nullptr);
  }
  void TearDown() override
  {
    s_failures = {};
    EXPECT_EQ(m_capture.messages(), Messages());
    fs::remove_all(m_directory);
  }

  OmString path(const OmString& name) const { return m_directory + "/" + name; }
  auto fileCount() const { return std::distance(fs::directory_iterator(m_directory), fs::directory_iterator()); }

  /// Expects one error message, of one line, that names the file and has the reason.
  void expectReport(const OmString& fileName, const OmString& reason = "\n")
  {
    const Messages messages = m_capture.messages();
    m_capture.clear();
    ASSERT_EQ(messages.size(), 1U);
    const auto& [type, text] = messages[0];
    EXPECT_EQ(type, Om::Print::Error);
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    EXPECT_NE(text.find('"' + OmEscaped(fileName) + '"'), OmString::npos) << text;
    EXPECT_NE(text.find(reason), OmString::npos) << text;
  }

  /// Expects that the file is refused and that the image it should be read into is unchanged.
  void expectUnreadable(const OmString& fileName, const OmString& reason = "\n")
  {
    OmImage image = makePicture(2, 3, 1);
    image.copyFromOrToFlipped(false);
    EXPECT_FALSE(OmImageReaderWriter::read(image, fileName));
    expectReport(fileName, reason);
    EXPECT_EQ(differences(image, makePicture(2, 3, 1)), 0U);
    EXPECT_TRUE(image.isFlipped());
  }

  OmString m_directory;
  PrintCapture m_capture;
};

TEST_F(omImageReaderWriterTest, WritesWhatItReads)
{
  const std::pair<OmU32, OmU32> sizes[] = {{1, 1}, {1, 300}, {333, 1}, {7, 5}, {255, 257}, {1200001, 1}};
  for (OmU32 channels = 1; channels <= 4; ++channels)
    for (const auto& [width, height] : sizes)
    {
      SCOPED_TRACE(testing::Message() << channels << " channels, " << width << " by " << height);
      OmImage image = makePicture(channels, width, height);
      image.copyFromOrToFlipped(false); // the pixels are written even if the flipped copy is in use
      ASSERT_TRUE(OmImageReaderWriter::write(image, path("picture")));

      OmImage copy(1, 2, 2);
      copy.copyFromOrToFlipped(false);
      ASSERT_TRUE(OmImageReaderWriter::read(copy, path("picture")));
      EXPECT_EQ(differences(copy, makePicture(channels, width, height)), 0U);
      EXPECT_FALSE(copy.isFlipped());
      EXPECT_EQ(copy.flippedData(), nullptr);
    }
}

TEST_F(omImageReaderWriterTest, ReadsALargeRowAfterTryingIt)
{
  OmImage image(1, (64U << 20) + 1, 1);
  image.data()[image.byteSize() - 1] = 200;
  ASSERT_TRUE(OmImageReaderWriter::write(image, path("wide")));
  OmImage copy;
  ASSERT_TRUE(OmImageReaderWriter::read(copy, path("wide")));
  EXPECT_EQ(differences(copy, image), 0U);
}

/// A 16-bit value of makePictures.py, rounded to 8 bits.
int narrow(int value)
{
  return (value * 255 + 32767) / 65535;
}

/// The fixtures' pixels are those of fixtures/makePictures.py.
TEST_F(omImageReaderWriterTest, ReadsEveryKindOfPng)
{
  const Pixel palette[] = {{255, 0, 0, 0}, {0, 255, 0, 128}, {0, 0, 255, 255}, {10, 20, 30, 255}};
  const auto withAlpha = [](const Pixel& color, int alpha) { return Pixel{color[0], color[1], color[2], alpha}; };
  const auto key = [](int x, int) { return Pixel{x * 28, x == 2 ? 0 : 255}; };
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
      {"greyKey.png", 2, key},
      {"greyAlpha.png", 2, rgb},
      {"palette.png", 3, [&](int x, int y) { return palette[(x + y) % 4]; }},
      {"paletteAlpha.png", 4, [&](int x, int y) { return palette[(x + y) % 4]; }},
      {"rgb.png", 3, rgb},
      {"rgbInterlaced.png", 3, rgb},
      {"rgb16Key.png", 4, [&](int x, int y) { return withAlpha(wide(x, y), x == 3 && y == 2 ? 0 : 255); }},
      {"rgba16.png", 4, [&](int x, int y) { return withAlpha(wide(x, y), narrow(x * 8000)); }},
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
    EXPECT_EQ(differences(image, expected), 0U);
    EXPECT_TRUE(width == 9 && height == 7);
  }
}

/// Each JPEG fixture has one color in its left half and another in its right half.
TEST_F(omImageReaderWriterTest, ReadsEveryKindOfJpeg)
{
  const Pixel red = {200, 40, 60}, blue = {30, 120, 220};
  const Pixel greenInk = {0, 204, 102}, orangeInk = {255, 100, 50};

  struct Case
  {
    OmString name;
    OmU32 channels, width, height;
    Pixel left, right;
  };
  const Case cases[] = {
      {"grey.jpg", 1, 32, 16, {50}, {180}},
      {"baseline.jpg", 3, 32, 16, red, blue},
      {"progressive.jpg", 3, 32, 16, red, blue},
      {"rgb.jpg", 3, 32, 16, red, blue},
      {"arithmetic.jpg", 3, 1024, 1024, red, blue},
      {"cmyk.jpg", 3, 32, 16, greenInk, orangeInk},
      {"ycck.jpg", 3, 32, 16, greenInk, orangeInk},
      {"plainInk.jpg", 3, 32, 16, {51, 0, 26}, {0, 0, 0}} // the same bytes without Adobe's marker: amounts of ink,
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    OmU32 width = 0, height = 0, channels = 0;
    ASSERT_TRUE(OmImageReaderWriter::readHeader(fixture(c.name), width, height, channels));
    OmImage image;
    ASSERT_TRUE(OmImageReaderWriter::read(image, fixture(c.name)));
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

TEST_F(omImageReaderWriterTest, RefusesWhatIsNoPicture)
{
  const OmString png = contents(fixture("rgb.png"));
  // Repeats the last scan of a file, which refines one band of coefficients.
  const OmString jpeg = contents(fixture("progressive.jpg"));
  OmString flood = jpeg.substr(0, jpeg.size() - 2);
  for (int i = 0; i < 2000; ++i)
    flood += jpeg.substr(jpeg.rfind("\xff\xda"), jpeg.size() - 2 - jpeg.rfind("\xff\xda"));

  struct Case
  {
    const char* name;
    OmString bytes;
    const char* reason;
  };
  const Case cases[] = {
      {"empty", "", "the file is empty"},
      {"text", "P3 1 1 255 1 2 3", "neither a PNG, JPEG, WebP"},
      {"signature.png", png.substr(0, 8), "the file ends early"},
      {"start.jpg", "\xff\xd8\xff", "\n"},
      {"crc.png", contents(fixture("wrongCrc.png")), "CRC"},
      {"sum.png", contents(fixture("wrongSum.png")), "incorrect data check"},
      {"no pixels.png", contents(fixture("noPixels.png")), "\n"},
      {"flood.jpg", flood + "\xff\xd9", "too many scans"},
      {"no end.png", png.substr(0, png.size() - 12), "the file ends early"},
      {"line\nbreak %n", "text", "neither a PNG, JPEG, WebP, TIFF, PPM, PGM nor PAM file"},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    store(path(c.name), c.bytes);
    expectUnreadable(path(c.name), c.reason);
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

/// Whether the library was built with the format that the name has.
bool isBuilt(const OmString& name)
{
  OmImageReaderWriter::Format format = OmImageReaderWriter::Raw;
  OmImageReaderWriter::formatOfName(name, format);
  for (const OmImageReaderWriter::FormatSupport& support : OmImageReaderWriter::formats())
    if (support.format == format)
      return support.isRead;
  return false;
}

TEST_F(omImageReaderWriterTest, RefusesEveryTruncationAndSurvivesEveryChangedByte)
{
  for (const char* name : {"paletteAlpha.png", "rgb.png", "rgba16.png", "grey.jpg", "progressive.jpg", "cmyk.jpg",
                           "ycck.jpg", "turned.png", "turned.jpg", "turned.webp", "lossy.webp", "lossless.webp",
                           "strips.tif", "tiles.tif", "palette.tif"})
  {
    if (!isBuilt(name))
      continue;
    const OmString whole = contents(fixture(name));
    ASSERT_GT(whole.size(), 70U);
    const bool isTiff = whole[1] == 'I';
    OmImage expected;
    OmImageMetadata metadata;
    ASSERT_TRUE(OmImageReaderWriter::read(expected, fixture(name), 0, metadata));
    EXPECT_EQ(metadata.profile.size(),
              whole.find("acsp") != OmString::npos || OmString(name) == "turned.png" ? 132U : 0U);
    for (std::size_t at = 0; at < whole.size(); ++at)
    {
      SCOPED_TRACE(testing::Message() << name << " byte " << at);
      store(path("cut"), whole.substr(0, at));
      OmImage cut; // a TIFF file may end with what does not concern the pixels
      if (isTiff && at > whole.size() - 70 && OmImageReaderWriter::read(cut, path("cut")))
        EXPECT_EQ(differences(cut, expected), 0U);
      else
      {
        m_capture.clear();
        expectUnreadable(path("cut"));
      }
      for (const int change : {0x01, 0x80, 0xff})
      {
        OmString bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ change);
        store(path("changed"), bytes);
        OmImage image;
        OmImageMetadata ignored;
        if (OmImageReaderWriter::read(image, path("changed"), 0, ignored))
        {
          EXPECT_FALSE(whole[0] == '\x89' && at < 33) << "a checksum protects the header of a PNG file";
          EXPECT_EQ(image.byteSize(), std::size_t{image.width()} * image.height() * image.channels());
          EXPECT_EQ(m_capture.messages(), Messages());
        }
        else
        {
          expectReport(path("changed"));
          EXPECT_EQ(image.data(), nullptr);
        }
      }
    }
  }
}

/// The most memory, in KiB, that the process has used at any time.
long peakMemory()
{
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

/// Gives a JPEG, WebP or TIFF fixture another size in its header.
void enlarge(OmString& bytes, int side)
{
  const auto high = static_cast<char>(side >> 8), low = static_cast<char>(side);
  const std::size_t frame = std::min({bytes.find("\xff\xc0"), bytes.find("\xff\xc2"), bytes.find("\xff\xca")});
  if (bytes.find("VP8 ") == 12)
    bytes.replace(26, 4, {low, high, low, high});
  else if (bytes.find("VP8L") == 12)
    bytes.replace(21, 4, "\xfe\xbf\xff\x1f"); // 16383 by 16383, in 14 bits each
  else if (bytes[0] == 'I')
    for (const OmString& tag : {OmString("\0\1\3\0\1\0\0\0", 8), OmString("\1\1\3\0\1\0\0\0", 8)})
      bytes.replace(bytes.find(tag) + 8, 2, {low, high});
  else
    bytes.replace(frame + 5, 4, {high, low, high, low});
}

TEST_F(omImageReaderWriterTest, AHeaderAloneTakesNoMemory)
{
  struct Case
  {
    const char* name;
    int side;               // that the file gets here, if it is no PNG file
    std::uintmax_t padding; // zeros: the file is large enough for the picture
    const char* reason = "too small";
    long mebibytes = 32;
  };
  const Case cases[] = {
      {"huge.png", 0, 0},
      {"hugest.png", 0, 0},
      {"huge.png", 0, 1000000, "\n"},
      {"hugeInterlaced.png", 0, 1000000, "\n"},
      {"wide.png", 0, 1000000, "\n", 200}, // libpng holds a row
      {"baseline.jpg", 65000, 0},
      {"progressive.jpg", 65000, 0},
      {"arithmetic.jpg", 65000, 0},
      {"baseline.jpg", 12000, 1000000, "\n"},
      {"progressive.jpg", 12000, 1000000, "\n"},
      {"lossy.webp", 16383, 0},
      {"lossless.webp", 16383, 0},
      {"lossy.webp", 16383, 2000000, "\n", 64},
      {"lossless.webp", 16383, 2000000, "\n", 64},
      {"strips.tif", 60000, 0},
      {"tiles.tif", 60000, 0, "\n"},
      {"palette.tif", 60000, 0},
      {"strips.tif", 20000, 2000000, "\n"},
      {"tiles.tif", 20000, 2000000, "\n"},
      {"palette.tif", 20000, 2000000, "\n"},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    if (!isBuilt(c.name))
      continue;
    OmString bytes = contents(fixture(c.name));
    if (c.side != 0)
      enlarge(bytes, c.side);
    store(path("picture"), bytes + OmString(c.padding, '\0'));
    const long memory = peakMemory();
    expectUnreadable(path("picture"), c.reason);
#ifdef __SANITIZE_ADDRESS__
    constexpr long Kept = 4; // the sanitizer keeps what was freed
#else
    constexpr long Kept = 1;
#endif
    EXPECT_LT(peakMemory() - memory, Kept * c.mebibytes * 1024);
  }
}

TEST_F(omImageReaderWriterTest, RunningOutOfMemoryIsReported)
{
  if (__asan_init != nullptr)
    GTEST_SKIP() << "The address sanitizer does not run within a limit.";
  // A whole file that is small on the disk and large in memory.
  ASSERT_TRUE(OmImageReaderWriter::write(OmImage(4, 6000, 5000), path("zero.png")));
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &limit), 0);
  const rlimit tight = {rlim_t{100} << 20, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
  expectUnreadable(path("zero.png"), "out of memory");
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
}

void limitFileSize(rlim_t bytes)
{
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(omImageReaderWriterTest, FailedWritesLeaveEverythingAsItWas)
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
    rlim_t fileSize = RLIM_INFINITY;
    Failures failures = {};
  };
  const OmImage small = makePicture(1, 2, 2), large = makePicture(4, 200, 200);
  const Case cases[] = {
      {"no image", OmImage(), path("old.png"), "no pixels"},
      {"flipped copy only", flippedOnly, path("old.png"), "no pixels"},
      {"channels", OmImage(5, 2, 2), path("old.png"), "5 channels"},
      {"no directory", small, path("none/new.png"), "No such file"},
      {"read-only directory", small, "/sys/new.png", "\n"},
      {"directory", small, m_directory, "directory"},
      {"device", small, "/dev/null", "not a regular file"},
      {"no name", small, "", "No such file"},
      {"file limit", large, path("old.png"), "File too large", 20000},
      {"file limit at the end", small, path("old.png"), "File too large", 10},
      {"disk error", small, path("old.png"), "Input/output error", RLIM_INFINITY, {EIO}},
      {"no rename", small, path("a\n\"%n"), "Permission denied", RLIM_INFINITY, {0, EACCES}},
  };
  std::signal(SIGXFSZ, SIG_IGN);
  for (const Case& c : cases)
    for (const int noProc : {0, ENOENT}) // without /proc the file has a name from the start
    {
      SCOPED_TRACE(testing::Message() << c.what << " " << noProc);
      s_failures = c.failures;
      s_failures.access = noProc;
      limitFileSize(c.fileSize);
      EXPECT_FALSE(OmImageReaderWriter::write(c.image, c.target));
      limitFileSize(RLIM_INFINITY);
      expectReport(c.target, c.reason);
      EXPECT_EQ(contents(path("old.png")), "old");
      EXPECT_EQ(fileCount(), 1);
    }
}

TEST_F(omImageReaderWriterTest, AKilledWriteLeavesNothing)
{
  const int descriptor = ::open(m_directory.c_str(), O_WRONLY | O_TMPFILE, 0600);
  if (descriptor < 0)
    GTEST_SKIP() << "The file system of " << m_directory << " does not have files without a name.";
  ::close(descriptor);
  store(path("old.png"), "old");
  const auto killedInTheMiddle = [this]
  {
    std::signal(SIGXFSZ, SIG_DFL);
    limitFileSize(20000);
    OmImageReaderWriter::write(makePicture(4, 200, 200), path("old.png"));
  };
  EXPECT_EXIT(killedInTheMiddle(), testing::KilledBySignal(SIGXFSZ), "");
  EXPECT_EQ(contents(path("old.png")), "old");
  EXPECT_EQ(fileCount(), 1);
}

TEST_F(omImageReaderWriterTest, WritesReplaceAndFollowTheUmask)
{
  const mode_t mask = ::umask(027);
  const fs::path before = fs::current_path();
  fs::current_path(m_directory);
  for (const int noProc : {0, ENOENT})
  {
    s_failures.access = noProc;
    const OmString longName(255, noProc == 0 ? 'n' : 'm');
    ASSERT_TRUE(OmImageReaderWriter::write(makePicture(1, 2, 2), longName));
    ASSERT_TRUE(OmImageReaderWriter::write(makePicture(3, 4, 5), path(longName)));
    OmImage image;
    ASSERT_TRUE(OmImageReaderWriter::read(image, longName));
    EXPECT_EQ(differences(image, makePicture(3, 4, 5)), 0U);
    EXPECT_EQ(fs::status(longName).permissions(), fs::perms(0640));
  }
  EXPECT_EQ(fileCount(), 2);
  fs::current_path(before);
  ::umask(mask);
}

} // namespace

extern "C" int fsync(int descriptor)
{
  return callUnless(s_failures.fsync, "fsync", descriptor);
}

extern "C" int rename(const char* oldName, const char* newName) noexcept
{
  return callUnless(s_failures.rename, "rename", oldName, newName);
}

// What access() does not find in /proc cannot be linked from there.
extern "C" int linkat(int from, const char* oldName, int to, const char* newName, int flags) noexcept
{
  return callUnless(s_failures.access, "linkat", from, oldName, to, newName, flags);
}

extern "C" int access(const char* name, int mode) noexcept
{
  return callUnless(s_failures.access, "access", name, mode);
}
