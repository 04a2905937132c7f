// What picture files hold, in every format that is written, and what PPM, PGM and PAM files may look like.

#include "image/omImageReaderWriter.h"

#include "support/pictures.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace
{

using namespace std::string_literals;

OmString fixture(const OmString& name)
{
  return OmString(OM_FIXTURES) + "/" + name;
}

/// An image without its last channel.
OmImage shortened(const OmImage& image)
{
  const OmU32 channels = image.channels();
  OmImage result(channels - 1, image.width(), image.height());
  for (std::size_t i = 0; i < result.byteSize(); ++i)
    result.data()[i] = image.data()[i / (channels - 1) * channels + i % (channels - 1)];
  return result;
}

} // namespace

TEST(omImageFormatsTest, DecodesWhatItEncodes)
{
  using Writer = OmImageReaderWriter;
  OmImage smooth = makePicture(3, 300, 200); // slopes along and across, for the filters that look at both
  for (std::size_t i = 903; i < smooth.byteSize(); ++i)
    smooth.data()[i] = static_cast<OmU8>(smooth.data()[i - 3] + smooth.data()[i - 900] - smooth.data()[i - 903] +
                                         (smooth.data()[i] / 64));
  OmImage soft = makePicture(1, 300, 200);
  for (std::size_t i = 300; i < soft.byteSize(); ++i)
    soft.data()[i] = static_cast<OmU8>((soft.data()[i - 1] + soft.data()[i - 300]) / 2 + soft.data()[i] / 16);
  const OmImage images[] = {smooth,
                            soft,
                            OmImage(4, 30000, 3),
                            makePicture(1, 2, 1),
                            makePicture(2, 3, 50),
                            makePicture(3, 1, 1),
                            makePicture(3, 64, 9),
                            makePicture(4, 999, 501)};
  const Writer::WriteSettings settings[] = {
      {Writer::PNG, Writer::Fast, false},    {Writer::PNG, Writer::Default, true},
      {Writer::PNG, Writer::Small, false},   {Writer::PPM, Writer::Default, true},
      {Writer::PAM, Writer::Default, false}, {Writer::PAM, Writer::Default, true}};
  for (const OmImage& image : images)
    for (const Writer::WriteSettings& setting : settings)
    {
      SCOPED_TRACE(testing::Message() << image.channels() << " channels, " << image.width() << " wide, format "
                                      << setting.format << ", compression " << setting.compression);
      const OmImage expected = setting.withoutAlpha && image.channels() % 2 == 0 ? shortened(image) : image;
      std::vector<OmU8> bytes(7);
      ASSERT_TRUE(Writer::encode(image, "picture", setting, bytes));
      EXPECT_LT(bytes.size(), expected.byteSize() * 101 / 100 + expected.height() + 200);
      OmImage copy;
      ASSERT_TRUE(Writer::decode(copy, bytes, "picture", 0));
      EXPECT_EQ(differences(copy, expected), 0U);
      OmU32 width = 0, height = 0, channels = 0;
      ASSERT_TRUE(Writer::decodeHeader(bytes, "picture", width, height, channels));
      EXPECT_TRUE(width == image.width() && height == image.height() && channels == expected.channels());

      // With a fourth channel the pixels are the same.
      ASSERT_TRUE(Writer::decode(copy, bytes, "picture", Writer::OpaqueAlpha));
      EXPECT_EQ(copy.channels(), expected.channels() == 3 ? 4U : expected.channels());
      if (expected.channels() == 3)
      {
        for (std::size_t i = 3; i < copy.byteSize(); i += 4)
          ASSERT_EQ(copy.data()[i], 255);
        copy = shortened(copy);
      }
      EXPECT_EQ(differences(copy, expected), 0U);
    }

  PrintCapture capture;
  std::vector<OmU8> bytes(7);
  EXPECT_FALSE(Writer::encode(makePicture(4, 2, 2), "frame 3", {Writer::PPM, Writer::Default, false}, bytes));
  EXPECT_EQ(bytes.size(), 7U);
  OmImage image;
  EXPECT_FALSE(Writer::decode(image, {}, "frame 4", 0));
  const OmString start = "OmImageReaderWriter: cannot ";
  EXPECT_EQ(capture.messages(),
            (Messages{{4, start + "write \"frame 3\": PPM holds no alpha; write PAM or PNG, or leave the alpha out\n"},
                      {4, start + "read \"frame 4\": the file is empty\n"}}));
}

TEST(omImageFormatsTest, WritesTheChannelsThatAreAskedFor)
{
  using Writer = OmImageReaderWriter;
  using Pixels = std::vector<OmU8>;
  struct Case
  {
    const char* what;
    OmU32 channels;
    Pixels pixels; // of an image one pixel high
    Writer::Format format;
    Writer::Channels choice;
    bool withoutAlpha;
    Pixels expected;
  };
  const Pixels grey4 = {7, 7, 7, 9, 200, 200, 200, 0}, nearly = {7, 7, 7, 200, 200, 201},
               colors = {255, 0, 0, 0, 255, 0};
  const Case cases[] = {
      {"equal", 4, grey4, Writer::PAM, Writer::GreyIfEqual, false, {7, 9, 200, 0}},
      {"equal, no alpha", 4, grey4, Writer::PNG, Writer::GreyIfEqual, true, {7, 200}},
      {"not equal", 3, nearly, Writer::PNG, Writer::GreyIfEqual, false, nearly},
      {"not equal in blue", 3, {7, 7, 7, 1, 2, 1}, Writer::PNG, Writer::GreyIfEqual, false, {7, 7, 7, 1, 2, 1}},
      {"light", 3, colors, Writer::PAM, Writer::Grey, false, {54, 182}},
      {"equal light", 3, {1, 1, 1, 254, 254, 254}, Writer::PAM, Writer::Grey, false, {1, 254}},
      {"over white", 4, grey4, Writer::PAM, Writer::RGB, false, {246, 246, 246, 255, 255, 255}},
      {"left out", 4, grey4, Writer::PAM, Writer::RGB, true, {7, 7, 7, 200, 200, 200}},
      {"grey over white", 2, {7, 9, 200, 255}, Writer::PPM, Writer::Grey, false, {246, 200}},
      {"new alpha", 1, {5, 6}, Writer::PNG, Writer::RGBA, false, {5, 5, 5, 255, 6, 6, 6, 255}},
      {"grey and alpha", 4, grey4, Writer::PNG, Writer::GreyAlpha, false, {7, 9, 200, 0}},
      {"no grey in WebP", 2, {5, 255, 6, 3}, Writer::WebP, Writer::AsTheyAre, false, {5, 5, 5, 255, 6, 6, 6, 3}},
      {"light in WebP", 3, colors, Writer::WebP, Writer::Grey, false, {54, 54, 54, 182, 182, 182}},
      {"light in WebP, with alpha",
       4,
       {255, 0, 0, 9, 0, 255, 0, 255},
       Writer::WebP,
       Writer::GreyAlpha,
       false,
       {54, 54, 54, 9, 182, 182, 182, 255}},
      {"under transparency", 4, grey4, Writer::WebP, Writer::AsTheyAre, false, grey4}};
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.what);
    const auto& formats = Writer::formats();
    if (std::none_of(formats.begin(), formats.end(),
                     [&c](const Writer::FormatSupport& support)
                     { return support.format == c.format && support.isWritten; }))
      continue;
    OmImage image(c.channels, 2, 1);
    std::copy(c.pixels.begin(), c.pixels.end(), image.data());
    Writer::WriteSettings settings;
    settings.format = c.format;
    settings.channels = c.choice;
    settings.withoutAlpha = c.withoutAlpha;
    std::vector<OmU8> bytes;
    OmImage copy;
    ASSERT_TRUE(Writer::encode(image, "picture", settings, bytes) && Writer::decode(copy, bytes, "picture", 0));
    EXPECT_EQ(Pixels(copy.data(), copy.data() + copy.byteSize()), c.expected);
  }
}

TEST(omImageFormatsTest, CompressesAsAsked)
{
  OmImage image = makePicture(3, 400, 300); // each pixel is much like the one above
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    image.data()[i] = static_cast<OmU8>(i < 1200 ? image.data()[i] : image.data()[i - 1200] + image.data()[i] / 64);
  std::vector<OmU8> bytes[3];
  for (const auto compression : {OmImageReaderWriter::Fast, OmImageReaderWriter::Default, OmImageReaderWriter::Small})
    ASSERT_TRUE(
        OmImageReaderWriter::encode(image, "x", {OmImageReaderWriter::PNG, compression, false}, bytes[compression]));
  const std::size_t fast = bytes[OmImageReaderWriter::Fast].size(), normal = bytes[OmImageReaderWriter::Default].size();
  EXPECT_LT(fast, image.byteSize() * 105 / 100);
  EXPECT_LT(normal, fast / 2);
  EXPECT_LT(bytes[OmImageReaderWriter::Small].size(), normal * 97 / 100);
}

/// The directory of EXIF data is within the limits of its bytes, and one without sense changes nothing.
TEST(omImageFormatsTest, AppliesTheOrientationOfSoundTags)
{
  const auto entry = [](int tag, int type, int count, int value)
  {
    return OmString{static_cast<char>(tag),
                    static_cast<char>(tag >> 8),
                    static_cast<char>(type),
                    0,
                    static_cast<char>(count),
                    0,
                    0,
                    0,
                    static_cast<char>(value),
                    0,
                    0,
                    0};
  };
  const OmString start = "Exif\0\0II*\0\x08\0\0\0"s;
  struct Case
  {
    const char* what;
    OmString exif;
    bool isTurned;
  };
  const Case cases[] = {
      {"a short", start + "\1\0"s + entry(0x112, 3, 1, 6), true},
      {"a long", start + "\1\0"s + entry(0x112, 4, 1, 8), true},
      {"behind others", start + "\3\0"s + entry(0x10f, 2, 1, 0) + entry(0x110, 3, 1, 3) + entry(0x112, 3, 1, 5), true},
      {"the other byte order", "Exif\0\0MM\0*\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\7\0\0"s, true},
      {"upside down", start + "\1\0"s + entry(0x112, 3, 1, 3), false},
      {"no such value", start + "\1\0"s + entry(0x112, 3, 1, 9), false},
      {"zero", start + "\1\0"s + entry(0x112, 3, 1, 0), false},
      {"two values", start + "\1\0"s + entry(0x112, 3, 2, 6), false},
      {"a text", start + "\1\0"s + entry(0x112, 2, 1, 6), false},
      {"more entries than bytes", start + "\xff\xff"s + entry(0x112, 3, 1, 6).substr(0, 11), false},
      {"beyond the end", "Exif\0\0II*\0\xff\xff\xff\xff\1\0"s + entry(0x112, 3, 1, 6), false},
      {"in itself", "Exif\0\0II*\0\4\0\0\0\1\0"s + entry(0x112, 3, 1, 6), false},
      {"no directory", "Exif\0\0II*\0"s, false},
      {"no header", "Exif\0\0"s, false}};
  std::vector<OmU8> plain;
  std::ifstream file(fixture("baseline.jpg"), std::ios::binary); // 32 by 16 pixels
  plain.assign(std::istreambuf_iterator<char>(file), {});
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.what);
    const OmString marker = "\xff\xe1\0"s + static_cast<char>(c.exif.size() + 2) + c.exif;
    std::vector<OmU8> bytes = plain;
    bytes.insert(bytes.begin() + 2, marker.begin(), marker.end());
    OmU32 width = 0, height = 0, channels = 0;
    ASSERT_TRUE(OmImageReaderWriter::decodeHeader(bytes, "picture", width, height, channels));
    EXPECT_EQ(width, c.isTurned ? 16U : 32U);
    EXPECT_EQ(height, c.isTurned ? 32U : 16U);
    OmImage image;
    ASSERT_TRUE(OmImageReaderWriter::decode(image, bytes, "picture", 0));
    EXPECT_EQ(image.width(), width);
  }
}

TEST(omImageFormatsTest, KnowsFormatsByTheirSuffixes)
{
  for (const OmImageReaderWriter::FormatSupport& support : OmImageReaderWriter::formats())
    for (const OmString& suffix : support.suffixes)
    {
      auto format = OmImageReaderWriter::Raw;
      EXPECT_TRUE(OmImageReaderWriter::formatOfName("a.b/c.d" + suffix, format));
      EXPECT_EQ(format, support.format);
    }
  auto format = OmImageReaderWriter::PAM;
  EXPECT_TRUE(OmImageReaderWriter::formatOfName("PHOTO.JPeG", format));
  EXPECT_EQ(format, OmImageReaderWriter::JPEG);
  for (const char* name : {"", "png", "a.png/b", "a.gif", "a.png.", "a.pn"})
    EXPECT_FALSE(OmImageReaderWriter::formatOfName(name, format)) << name;
  EXPECT_EQ(format, OmImageReaderWriter::JPEG);
}

/// RGB pictures of every kind get a fourth channel of 255; the others stay.
TEST(omImageFormatsTest, AddsAnOpaqueAlpha)
{
  for (const char* name : {"baseline.jpg", "cmyk.jpg", "rgb.jpg", "grey.jpg", "grey16.png", "palette.png", "rgb.png",
                           "rgbInterlaced.png", "rgba16.png"})
  {
    SCOPED_TRACE(name);
    OmImage plain, opaque;
    ASSERT_TRUE(OmImageReaderWriter::read(plain, fixture(name)));
    ASSERT_TRUE(OmImageReaderWriter::read(opaque, fixture(name), OmImageReaderWriter::OpaqueAlpha));
    ASSERT_EQ(opaque.channels(), plain.channels() == 3 ? 4U : plain.channels());
    if (plain.channels() == 3)
    {
      for (std::size_t i = 3; i < opaque.byteSize(); i += 4)
        ASSERT_EQ(opaque.data()[i], 255);
      opaque = shortened(opaque);
    }
    EXPECT_EQ(differences(opaque, plain), 0U);
  }
}

TEST(omImageFormatsTest, ReadsEveryKindOfPpmAndPam)
{
  struct Case
  {
    OmString bytes;
    OmU32 channels;
    std::vector<OmU8> pixels; // of an image one pixel high
  };
  const Case cases[] = {
      {"P5 2 1 255\nab", 1, {'a', 'b'}},
      {"P5\n# a comment\n2 # another\n1\n255\n\nx", 1, {'\n', 'x'}}, // one byte ends the header
      {"P6\r\n1\t1 255\n   ", 3, {' ', ' ', ' '}},
      {"P5 3 1 1 \0\1\2"s, 1, {0, 255, 255}},
      {"P5 2 1 100\n\x32\x64", 1, {128, 255}},
      {"P5 3 1 65535\n\x80\x80\0\x7f\xff\xff"s, 1, {128, 0, 255}},
      {"P5 1 1 1000\n\1\xf4", 1, {128}},
      {"P7\nWIDTH 1\nHEIGHT 1\n# x\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nab", 2, {'a', 'b'}},
      {"P7\nMAXVAL 255\nDEPTH 4\nHEIGHT 1\nWIDTH 1\nENDHDR\nabcd", 4, {'a', 'b', 'c', 'd'}},
      {"P7\nWIDTH 2\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nTUPLTYPE BLACKANDWHITE\nENDHDR\n\1\0"s, 1, {255, 0}},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.bytes);
    std::vector<OmU8> bytes(c.bytes.begin(), c.bytes.end());
    OmImage image;
    ASSERT_TRUE(OmImageReaderWriter::decode(image, bytes, "picture", 0));
    EXPECT_EQ(image.channels(), c.channels);
    EXPECT_EQ(std::vector<OmU8>(image.data(), image.data() + image.byteSize()), c.pixels);

    const PrintCapture capture;
    while (bytes.size() > 2)
    {
      bytes.pop_back();
      OmU32 width = 0, height = 0, channels = 0;
      ASSERT_FALSE(OmImageReaderWriter::decode(image, bytes, "cut", 0));
      ASSERT_FALSE(OmImageReaderWriter::decodeHeader(bytes, "cut", width, height, channels));
    }
    EXPECT_EQ(capture.messages().size(), 2 * (c.bytes.size() - 2));
    EXPECT_EQ(image.byteSize(), c.pixels.size());
  }
}

TEST(omImageFormatsTest, FilesKeepTheirOriginAndAreKnownToBeWhole)
{
  using Writer = OmImageReaderWriter;
  const OmString name = testing::TempDir() + "omImageFormatsTest.origin";
  OmImageMetadata metadata;
  for (const Writer::Format format : {Writer::PNG, Writer::JPEG, Writer::WebP, Writer::PPM, Writer::PAM})
    for (const OmString& origin : {"a"s, OmString(256, '~'), "&<>\"';"s, ""s, "a b"s, "\n"s, OmString(257, 'a')})
    {
      const bool isKept = origin.find_first_of(" \n") == OmString::npos && origin.size() <= 256;
      metadata.origin = origin;
      Writer::WriteSettings settings;
      settings.format = format;
      std::vector<OmU8> plain;
      ASSERT_TRUE(Writer::encode(makePicture(3, 40, 30), name, settings, plain));
      settings.metadata = &metadata;
      std::vector<OmU8> bytes;
      ASSERT_TRUE(Writer::encode(makePicture(3, 40, 30), name, settings, bytes));
      EXPECT_EQ(bytes == plain, !isKept || origin.empty()) << format << origin;

      const auto write = [&](std::size_t size)
      {
        std::ofstream(name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(size));
      };
      write(bytes.size());
      OmImageMetadata read;
      EXPECT_TRUE(Writer::readMetadata(name, read));
      EXPECT_EQ(read.origin, isKept ? origin : "") << format;
      OmImage one;
      OmImage other;
      EXPECT_TRUE(Writer::decode(one, bytes, name, 0) && Writer::decode(other, plain, name, 0));
      EXPECT_TRUE(std::equal(one.data(), one.data() + one.byteSize(), other.data()));
      const PrintCapture capture;
      for (const std::size_t missing : {std::size_t{1}, std::size_t{2}, bytes.size() / 2})
      {
        write(bytes.size() - missing);
        read.origin = "unchanged";
        EXPECT_FALSE(Writer::readMetadata(name, read)) << format << " without " << missing;
        EXPECT_EQ(read.origin, "unchanged");
      }
    }
}
