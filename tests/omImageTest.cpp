#include "image/omImage.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <utility>
#include <vector>

/// Present when the address sanitizer is: its allocator ends the process instead of throwing std::bad_alloc.
extern "C" void __asan_init() __attribute__((weak));

namespace
{

using Bytes = std::vector<OmU8>;

constexpr OmU32 Most = std::numeric_limits<OmU32>::max();

Bytes pixels(const OmImage& image)
{
  return Bytes(image.data(), image.data() + image.byteSize());
}
Bytes flippedPixels(const OmImage& image)
{
  return Bytes(image.flippedData(), image.flippedData() + image.flippedByteSize());
}

/// Two channels, 2 by 3 pixels, bytes 1 to 12.
OmImage numbered()
{
  OmImage image(2, 2, 3);
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    image.data()[i] = static_cast<OmU8>(i + 1);
  return image;
}

const Bytes Numbers = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
const Bytes RowsReversed = {9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4};

void expectNoPixels(const OmImage& image)
{
  EXPECT_EQ(image.data(), nullptr);
  EXPECT_EQ(image.byteSize(), 0U);
  EXPECT_EQ(image.flippedData(), nullptr);
  EXPECT_EQ(image.flippedByteSize(), 0U);
  EXPECT_FALSE(image.isFlipped());
}

TEST(omImageTest, StartsZeroFilledOrWithoutPixels)
{
  expectNoPixels(OmImage());
  for (const auto& size : {std::pair<OmU32, OmU32>{0, 0}, {0, 7}, {Most, 0}})
  {
    OmImage image(4, size.first, size.second);
    image.copyFromOrToFlipped(false);
    expectNoPixels(image);
    EXPECT_EQ(image.width(), size.first);
    EXPECT_EQ(image.height(), size.second);
  }
  EXPECT_EQ(pixels(OmImage(3, 2, 2)), Bytes(12, 0));
}

TEST(omImageTest, FlipsRowsBothWays)
{
  OmImage image = numbered();
  image.copyFromOrToFlipped(false);
  EXPECT_TRUE(image.isFlipped());
  EXPECT_EQ(flippedPixels(image), RowsReversed);
  EXPECT_EQ(pixels(image), Numbers);

  image.flippedData()[0] = 99;
  image.copyFromOrToFlipped(true);
  EXPECT_FALSE(image.isFlipped());
  EXPECT_EQ(pixels(image), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 99, 10, 11, 12}));

  image.data()[0] = 77; // fills an existing copy again
  image.copyFromOrToFlipped(false);
  EXPECT_EQ(image.flippedData()[8], 77);
}

TEST(omImageTest, FlipsNothingWithoutASource)
{
  OmImage image = numbered();
  image.copyFromOrToFlipped(true);
  EXPECT_EQ(pixels(image), Numbers);

  OmImage flippedOnly;
  flippedOnly.zeroFlippedImage(1, 0, 2, 2);
  flippedOnly.copyFromOrToFlipped(false);
  EXPECT_TRUE(flippedOnly.isFlipped() && flippedOnly.data() == nullptr);
  flippedOnly.copyFromOrToFlipped(true);
  EXPECT_EQ(pixels(flippedOnly), Bytes(4, 0));
}

TEST(omImageTest, MakingOneCopyKeepsTheOtherOnlyInTheSameShape)
{
  OmImage image = numbered();
  image.zeroFlippedImage(2, 0, 2, 3);
  EXPECT_TRUE(image.isFlipped());
  EXPECT_EQ(flippedPixels(image), Bytes(12, 0));
  EXPECT_EQ(pixels(image), Numbers);

  image.zeroFlippedImage(2, 0, 3, 2); // as many bytes, another shape
  EXPECT_EQ(image.data(), nullptr);
  EXPECT_TRUE(image.width() == 3 && image.height() == 2 && image.flippedByteSize() == 12);
  image.zeroImage(2, 0, 3, 2);
  EXPECT_TRUE(!image.isFlipped() && image.flippedData() == nullptr);
  EXPECT_EQ(pixels(image), Bytes(12, 0));
}

TEST(omImageTest, CopiesAndMoves)
{
  OmImage image = numbered();
  image.copyFromOrToFlipped(false);

  OmImage copy;
  copy = image;
  copy.data()[0] = 42;
  EXPECT_EQ(pixels(image), Numbers);

  OmImage moved(std::move(image));
  expectNoPixels(image);
  EXPECT_EQ(image.width() + image.height() + image.channels(), 0U);
  EXPECT_TRUE(moved.isFlipped());
  EXPECT_EQ(flippedPixels(moved), RowsReversed);

  copy = std::move(moved);
  expectNoPixels(moved);
  EXPECT_EQ(pixels(copy), Numbers);

  OmImage& self = copy;
  copy = self;
  copy = std::move(self);
  EXPECT_EQ(pixels(copy), Numbers);
  EXPECT_EQ(flippedPixels(copy), RowsReversed);
}

TEST(omImageTest, SizesThatCannotBeHeldThrowAndChangeNothing)
{
  struct Size
  {
    OmU32 channels, width, height;
  };
  const Size sizes[] = {
      {4, 1U << 31, 1U << 31}, // 2^64: 0 in 64 bits
      {2, 1U << 31, 1U << 31}, // 2^63: more than a pointer difference holds
      {1, Most, Most},
      {1, Most, __asan_init != nullptr ? Most : 1U << 18}, // 2^50: more than an address space holds
  };
  for (const Size& size : sizes)
  {
    SCOPED_TRACE(testing::Message() << size.channels << " " << size.width << " " << size.height);
    EXPECT_THROW(OmImage(size.channels, size.width, size.height), std::bad_alloc);
    OmImage image = numbered();
    image.copyFromOrToFlipped(false);
    EXPECT_THROW(image.zeroImage(size.channels, 0, size.width, size.height), std::bad_alloc);
    EXPECT_THROW(image.zeroFlippedImage(size.channels, 0, size.width, size.height), std::bad_alloc);
    EXPECT_TRUE(image.width() == 2 && image.height() == 3 && image.isFlipped());
    EXPECT_EQ(pixels(image), Numbers);
    EXPECT_EQ(flippedPixels(image), RowsReversed);
  }
}

} // namespace
