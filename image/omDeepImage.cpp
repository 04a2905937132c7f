#include "image/omDeepImage.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace
{

OmU32 twice(OmU32 channels)
{
  if (channels > std::numeric_limits<OmU32>::max() / 2)
    throw std::bad_alloc();
  return 2 * channels;
}

} // namespace

OmDeepImage::OmDeepImage(OmU32 channels, OmU32 width, OmU32 height) : m_bytes(twice(channels), width, height) {}

OmDeepImage::OmDeepImage(OmImage bytes) : m_bytes(std::move(bytes)) {}

OmDeepImage OmDeepImage::fromImage(const OmImage& image)
{
  OmDeepImage result(image.channels(), image.width(), image.height());
  std::transform(image.data(), image.data() + image.byteSize(), result.data(),
                 [](OmU8 value) { return static_cast<std::uint16_t>(257 * value); });
  return result;
}

OmImage OmDeepImage::toImage() const
{
  OmImage result(channels(), width(), height());
  std::transform(data(), data() + result.byteSize(), result.data(),
                 [](std::uint16_t value) { return static_cast<OmU8>((value * 255U + 32767U) / 65535U); });
  return result;
}
