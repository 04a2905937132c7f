#include "image/omDeepImage.h"

#include "image/omImageReaderWriter.h"
#include "image/omImageScaling.h"
#include "tests/support/pictures.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

using Writer = OmImageReaderWriter;
using Pixel = std::vector<std::uint16_t>;

OmDeepImage makeDeepPicture(OmU32 channels, OmU32 width, OmU32 height)
{
  return OmDeepImage(makePicture(2 * channels, width, height));
}

OmDeepImage imageOf(const Pixel& pixel)
{
  OmDeepImage image(static_cast<OmU32>(pixel.size()), 1, 1);
  std::copy(pixel.begin(), pixel.end(), image.data());
  return image;
}

std::vector<OmU8> encoded(const OmDeepImage& image, const Writer::WriteSettings& settings)
{
  std::vector<OmU8> bytes;
  EXPECT_TRUE(Writer::encode(image, "test", settings, bytes));
  return bytes;
}

OmDeepImage decoded(const std::vector<OmU8>& bytes, OmU32 flags = 0)
{
  OmDeepImage image;
  OmImageMetadata metadata;
  EXPECT_TRUE(Writer::decode(image, bytes, "test", flags, metadata));
  return image;
}

} // namespace

TEST(omDeepImageTest, IsWrittenAndReadWithAllItsBits)
{
  for (const OmU32 channels : {1U, 2U, 3U, 4U})
    for (const auto compression : {Writer::Fast, Writer::Default, Writer::Small})
    {
      const OmDeepImage image = makeDeepPicture(channels, 61, 23);
      const std::vector<OmU8> bytes = encoded(image, {Writer::PNG, compression});
      EXPECT_EQ(differences(decoded(bytes).bytes(), image.bytes()), 0u) << channels;
      OmU32 width = 0, height = 0, read = 0, depth = 0;
      EXPECT_TRUE(Writer::decodeHeader(bytes, "test", width, height, read, depth));
      EXPECT_EQ((std::vector<OmU32>{width, height, read, depth}), (std::vector<OmU32>{61, 23, channels, 16}));
      OmImage narrow;
      EXPECT_TRUE(Writer::decode(narrow, bytes, "test", 0));
      EXPECT_EQ(differences(narrow, image.toImage()), 0u) << channels;
    }
}

TEST(omDeepImageTest, GetsTheChannelsThatAreAskedFor)
{
  Writer::WriteSettings light, grey, left, rgba, white;
  light.channels = Writer::Grey;
  grey.channels = Writer::GreyIfEqual;
  left.withoutAlpha = true;
  rgba.channels = Writer::RGBA;
  white.channels = Writer::RGB;
  const struct
  {
    Pixel pixel;
    Writer::WriteSettings settings;
    Pixel written;
  } cases[] = {
      {{65535, 0, 0}, light, {13933}},
      {{65535, 65535, 65535}, light, {65535}},
      {{300, 300, 300}, grey, {300}},
      {{300, 300, 301}, grey, {300, 300, 301}},
      {{7, 1000, 65534, 256}, left, {7, 1000, 65534}},
      {{515}, rgba, {515, 515, 515, 65535}},
      {{0, 65535, 1, 0}, white, {65535, 65535, 65535}},
      {{0, 1000, 65535, 65535}, white, {0, 1000, 65535}},
      {{0, 0, 0, 16384}, white, {49151, 49151, 49151}},
  };
  for (const auto& c : cases)
  {
    const OmDeepImage read = decoded(encoded(imageOf(c.pixel), c.settings));
    EXPECT_EQ(Pixel(read.data(), read.data() + read.channels()), c.written);
  }
  const OmDeepImage opaque = decoded(encoded(imageOf({1, 2, 3}), {}), Writer::OpaqueAlpha);
  EXPECT_EQ(Pixel(opaque.data(), opaque.data() + 4), (Pixel{1, 2, 3, 65535}));
}

TEST(omDeepImageTest, ReadsAndWritesWhatHasEightBits)
{
  const OmString fixtures = OM_FIXTURES "/";
  const struct
  {
    const char* file;
    OmU32 depth;
  } cases[] = {{"grey16.png", 16},      {"rgba16.png", 16}, {"rgb16Key.png", 16}, {"grey1.png", 8},
               {"paletteAlpha.png", 8}, {"rgb.jpg", 8},     {"turned.png", 8},    {"turned16.png", 16}};
  for (const auto& c : cases)
  {
    OmImage image;
    OmDeepImage deep;
    OmU32 width = 0, height = 0, channels = 0, depth = 0;
    EXPECT_TRUE(Writer::read(image, fixtures + c.file) && Writer::read(deep, fixtures + c.file)) << c.file;
    EXPECT_TRUE(Writer::readHeader(fixtures + c.file, width, height, channels, depth) && depth == c.depth) << c.file;
    EXPECT_EQ(differences(deep.toImage(), image), 0u) << c.file;
    EXPECT_EQ(differences(deep.bytes(), OmDeepImage::fromImage(image).bytes()) == 0, depth == 8) << c.file;
  }
  const OmDeepImage image = makeDeepPicture(3, 40, 30);
  for (const auto format : {Writer::JPEG, Writer::PPM, Writer::PAM, Writer::Raw})
  {
    std::vector<OmU8> narrow;
    EXPECT_TRUE(Writer::encode(image.toImage(), "test", {format}, narrow));
    EXPECT_EQ(encoded(image, {format}), narrow);
  }
}

TEST(omDeepImageTest, RefusesFilesThatEndEarlyAndImagesWithoutPixels)
{
  const PrintCapture capture;
  const std::vector<OmU8> whole = encoded(makeDeepPicture(4, 30, 20), {});
  OmDeepImage image = imageOf({4711});
  OmImageMetadata metadata;
  std::vector<OmU8> bytes;
  for (std::size_t size = 0; size < whole.size(); size += 97)
    EXPECT_FALSE(Writer::decode(image, {whole.begin(), whole.begin() + static_cast<long>(size)}, "cut", 0, metadata));
  EXPECT_EQ(image.data()[0], 4711);
  EXPECT_FALSE(Writer::encode(OmDeepImage(), "none", {}, bytes));
  EXPECT_FALSE(Writer::encode(OmDeepImage(5, 1, 1), "five", {}, bytes));
  EXPECT_THROW(OmDeepImage(0x80000001U, 1, 1), std::bad_alloc);
}

TEST(omDeepImageTest, IsScaledAndCutAsBytesAre)
{
  for (const OmU32 channels : {1U, 2U, 3U, 4U})
  {
    const OmImage image = makePicture(channels, 50, 40);
    const OmDeepImage deep = OmDeepImage::fromImage(image);
    const OmImage scaled = OmImageScaling::scaled(image, 20, 70);
    const OmDeepImage deepScaled = OmImageScaling::scaled(deep, 20, 70);
    ASSERT_EQ(deepScaled.byteSize(), 2 * scaled.byteSize());
    int most = 0;
    for (std::size_t i = 0; i < scaled.byteSize(); ++i)
      most = std::max(most, std::abs(deepScaled.data()[i] - 257 * scaled.data()[i]));
    EXPECT_TRUE(most > 64 && most <= 130) << most; // the rounding of the bytes
    const OmImageBlock block(OmPixel(7, 9), 11, 13);
    EXPECT_EQ(differences(OmImageScaling::cropped(deep, block).toImage(), OmImageScaling::cropped(image, block)), 0u);
  }
}
