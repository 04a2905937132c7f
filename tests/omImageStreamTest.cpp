#include "image/omImageStream.h"

#include "support/pictures.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace
{

using Bytes = std::vector<OmU8>;
using Format = OmImageReaderWriter::Format;

Bytes encoded(const OmImage& image, Format format)
{
  OmImageReaderWriter::WriteSettings settings;
  settings.format = format;
  Bytes bytes;
  EXPECT_TRUE(OmImageReaderWriter::encode(image, "picture", settings, bytes));
  return bytes;
}

Bytes bytesOf(const OmString& text)
{
  return Bytes(text.begin(), text.end());
}

Bytes operator+(Bytes a, const Bytes& b)
{
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// A stream of bytes in memory; of none at all if there are none.
std::unique_ptr<std::FILE, int (*)(std::FILE*)> streamOf(Bytes& bytes)
{
  return {bytes.empty() ? std::fopen("/dev/null", "rb") : ::fmemopen(bytes.data(), bytes.size(), "rb"), std::fclose};
}

/// What the stream ends with, after so many pictures.
std::pair<OmImageStream::Result, int> endOf(Bytes bytes, OmString& reason)
{
  const auto file = streamOf(bytes);
  OmImageStream stream(file.get());
  Bytes picture;
  Format format = {};
  for (int count = 0;; ++count)
  {
    const OmImageStream::Result result = stream.next(picture, format, reason);
    if (result != OmImageStream::Picture)
      return {result, count};
  }
}

} // namespace

TEST(omImageStreamTest, TakesMixedPicturesFromAPipe)
{
  const std::pair<OmImage, Format> pictures[] = {
      {makePicture(3, 1500, 900), Format::PPM}, {makePicture(4, 900, 700), Format::PNG},
      {makePicture(1, 5, 3), Format::PPM},      {makePicture(2, 1, 1), Format::PAM},
      {makePicture(4, 333, 2), Format::PAM},    {makePicture(3, 7, 5), Format::PNG}};
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::thread writer(
      [&]
      {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(::fdopen(ends[1], "wb"), std::fclose);
        for (const auto& [image, format] : pictures)
        {
          const Bytes bytes = encoded(image, format);
          std::fwrite(bytes.data(), 1, bytes.size(), out.get());
        }
      });
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(::fdopen(ends[0], "rb"), std::fclose);
  OmImageStream stream(in.get());
  Bytes bytes;
  Format format = {};
  OmString reason;
  for (const auto& [image, itsFormat] : pictures)
  {
    EXPECT_EQ(stream.next(bytes, format, reason), OmImageStream::Picture) << reason;
    EXPECT_EQ(bytes, encoded(image, itsFormat));
    EXPECT_EQ(format, itsFormat);
  }
  EXPECT_EQ(stream.next(bytes, format, reason), OmImageStream::End);
  EXPECT_EQ(stream.next(bytes, format, reason), OmImageStream::End);
  writer.join();
}

TEST(omImageStreamTest, EveryEarlyEndIsBroken)
{
  const PrintCapture capture;
  const OmImage image = makePicture(3, 4, 2);
  for (const Format format : {Format::PNG, Format::PPM, Format::PAM})
  {
    const Bytes whole = encoded(image, format);
    for (std::size_t size = 0; size <= 2 * whole.size(); ++size)
    {
      Bytes stream = whole + whole;
      stream.resize(size);
      OmString reason;
      const auto [result, count] = endOf(stream, reason);
      EXPECT_EQ(count, static_cast<int>(size / whole.size()));
      ASSERT_EQ(result, size % whole.size() == 0 ? OmImageStream::End : OmImageStream::Broken) << size;
      EXPECT_EQ(reason.find("ends early") != OmString::npos, result == OmImageStream::Broken) << reason;
    }
  }
  EXPECT_EQ(capture.messages(), Messages());
}

TEST(omImageStreamTest, DamageIsBrokenAndTakesNoMemory)
{
  const Bytes png = encoded(makePicture(3, 4, 2), Format::PNG);
  const Bytes start(png.begin(), png.begin() + 33); // up to the pixels
  struct Case
  {
    Bytes bytes;
    const char* reason;
  };
  const Case cases[] = {
      {bytesOf("\xff\xd8\xff\xe0"), "neither a PNG, PPM, PGM nor PAM"},
      {png + bytesOf("\n"), "neither a PNG, PPM, PGM nor PAM"},
      {bytesOf("P4\n1 1\n"), "not with P5, P6 or P7"},
      {start + bytesOf("\x7f\xff\xff\xffIDATabc"), "ends early"},
      {start + bytesOf("\x80"
                       "abcIDATabc"),
       "damaged chunk"},
      {start + Bytes(20, 0), "damaged chunk"},
      {bytesOf("P6 1000000000 1000000000 65535\nabc"), "ends early"},
      {bytesOf("P6 4294967297 1 255\nabc"), "has no size"},
      {bytesOf("P6 0 1 255\nabc"), "has no size"},
      {bytesOf("P6 1 1 65536\nabc"), "no maximum"},
      {bytesOf("P5 -1 1 255\nabc"), "has no size"},
      {bytesOf("P6\n#" + OmString(100000, 'x')), "longer than 64 KiB"},
      {bytesOf("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 5\nMAXVAL 255\nENDHDR\nabcde"), "5 channels"},
      {bytesOf("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE CMYK\nENDHDR\nabcd"), "type CMYK"},
  };
  rusage before = {}, after = {};
  ::getrusage(RUSAGE_SELF, &before);
  for (const Case& c : cases)
  {
    OmString reason;
    EXPECT_EQ(endOf(c.bytes, reason).first, OmImageStream::Broken);
    EXPECT_NE(reason.find(c.reason), OmString::npos) << reason << ", not " << c.reason;
  }
  ::getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024);
}

TEST(omImageStreamTest, RawFramesBecomePictures)
{
  for (OmU32 channels = 1; channels <= 4; ++channels)
  {
    const OmImage frames[] = {makePicture(channels, 31, 17, 1), makePicture(channels, 31, 17, 2)};
    Bytes all = encoded(frames[0], Format::Raw) + encoded(frames[1], Format::Raw) + Bytes(5);
    ASSERT_EQ(all.size(), 2 * frames[0].byteSize() + 5);
    const auto file = streamOf(all);
    OmImageStream stream(file.get());
    stream.setRawFrames(channels, 31, 17);
    Bytes bytes;
    Format format = {};
    OmString reason;
    for (const OmImage& frame : frames)
    {
      ASSERT_EQ(stream.next(bytes, format, reason), OmImageStream::Picture);
      OmImage image;
      EXPECT_TRUE(OmImageReaderWriter::decode(image, bytes, "frame", 0));
      EXPECT_EQ(differences(image, frame), 0U);
      EXPECT_EQ(format, Format::Raw);
    }
    EXPECT_EQ(stream.next(bytes, format, reason), OmImageStream::Broken);
    EXPECT_EQ(reason, "it ends early");
  }
}

TEST(omImageStreamTest, APictureBeyondTheLimitIsBrokenBeforeItIsTaken)
{
  for (const Format format : {Format::PNG, Format::PPM, Format::PAM})
  {
    const Bytes picture = encoded(makePicture(3, 31, 17), format);
    Bytes two = picture + picture;
    for (const std::size_t limit : {picture.size(), picture.size() - 1, std::size_t{20}})
    {
      const auto file = streamOf(two);
      OmImageStream stream(file.get());
      stream.setLargestPicture(limit);
      Bytes bytes;
      Format found = {};
      OmString reason;
      EXPECT_EQ(stream.next(bytes, found, reason),
                limit < picture.size() ? OmImageStream::Broken : OmImageStream::Picture);
      EXPECT_EQ(reason, limit < picture.size() ? "it takes more than " + std::to_string(limit) + " bytes" : "");
    }
  }
}
