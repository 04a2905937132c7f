#include "image/omImage.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace
{

/// Throws std::bad_alloc also for the sizes for which std::vector throws std::length_error.
std::vector<OmU8> zeroedPixels(OmU32 channels, OmU32 width, OmU32 height)
{
  std::size_t size = 0;
  if (__builtin_mul_overflow(std::size_t{width} * height, channels, &size) ||
      size > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()))
    throw std::bad_alloc();
  return std::vector<OmU8>(size);
}

void copyRowsReversed(const std::vector<OmU8>& from, std::vector<OmU8>& to, OmU32 height)
{
  to.resize(from.size());
  const std::size_t rowSize = from.size() / height;
  for (OmU32 row = 0; row < height; ++row)
    std::copy_n(from.data() + row * rowSize, rowSize, to.data() + (height - 1 - row) * rowSize);
}

} // namespace

OmImage::OmImage(OmU32 channels, OmU32 width, OmU32 height) : m_channels(channels), m_width(width), m_height(height)
{
  m_pixels = zeroedPixels(channels, width, height);
}

OmImage::OmImage(OmImage&& other) noexcept
    : m_channels(std::exchange(other.m_channels, 0)), m_width(std::exchange(other.m_width, 0)),
      m_height(std::exchange(other.m_height, 0)), m_pixels(std::move(other.m_pixels)),
      m_flippedPixels(std::move(other.m_flippedPixels)), m_isFlipped(std::exchange(other.m_isFlipped, false))
{
}

OmImage& OmImage::operator=(const OmImage& other)
{
  // Copies first: if that does not fit into memory, this image is unchanged.
  return *this = OmImage(other);
}

OmImage& OmImage::operator=(OmImage&& other) noexcept
{
  OmImage taken(std::move(other));
  m_channels = taken.m_channels;
  m_width = taken.m_width;
  m_height = taken.m_height;
  m_pixels.swap(taken.m_pixels);
  m_flippedPixels.swap(taken.m_flippedPixels);
  m_isFlipped = taken.m_isFlipped;
  return *this;
}

void OmImage::copyFromOrToFlipped(bool fromFlipped)
{
  const std::vector<OmU8>& source = fromFlipped ? m_flippedPixels : m_pixels;
  if (source.empty())
    return;
  copyRowsReversed(source, fromFlipped ? m_pixels : m_flippedPixels, m_height);
  m_isFlipped = !fromFlipped;
}

void OmImage::zeroImage(OmU32 channels, OmU32 /*reserved*/, OmU32 width, OmU32 height)
{
  *this = OmImage(channels, width, height);
}

void OmImage::zeroFlippedImage(OmU32 channels, OmU32 /*reserved*/, OmU32 width, OmU32 height)
{
  std::vector<OmU8> flipped = zeroedPixels(channels, width, height);
  if (channels != m_channels || width != m_width || height != m_height)
    *this = OmImage();
  m_channels = channels;
  m_width = width;
  m_height = height;
  m_flippedPixels.swap(flipped);
  m_isFlipped = true;
}
