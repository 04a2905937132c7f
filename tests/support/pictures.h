#ifndef OM_TESTS_PICTURES_H
#define OM_TESTS_PICTURES_H

#include "image/omImage.h"

/// A picture of pseudo-random bytes, in which no symmetry hides a flip. The same arguments give the same picture.
inline OmImage makePicture(OmU32 channels, OmU32 width, OmU32 height, OmU32 seed = 1)
{
  OmImage image(channels, width, height);
  OmU32 state = seed;
  for (std::size_t i = 0; i < image.byteSize(); ++i)
  {
    state = state * 1664525u + 1013904223u;
    image.data()[i] = static_cast<OmU8>(state >> 24);
  }
  return image;
}

/// What a window shows of a picture: RGB, with grey in all three channels and without alpha.
inline OmImage asRGB(const OmImage& image)
{
  const OmU32 channels = image.channels();
  OmImage result(3, image.width(), image.height());
  for (std::size_t pixel = 0; pixel < result.byteSize() / 3; ++pixel)
    for (OmU32 c = 0; c < 3; ++c)
      result.data()[3 * pixel + c] = image.data()[channels * pixel + (channels < 3 ? 0 : c)];
  return result;
}

/// The number of bytes in which the pixels of two images differ. If their shapes differ, more than the bytes of both.
inline std::size_t differences(const OmImage& a, const OmImage& b)
{
  if (a.width() != b.width() || a.height() != b.height() || a.channels() != b.channels() ||
      a.byteSize() != b.byteSize())
    return a.byteSize() + b.byteSize() + 1;
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.byteSize(); ++i)
    count += a.data()[i] != b.data()[i];
  return count;
}

#endif
