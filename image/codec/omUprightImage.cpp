#include "image/codec/omUprightImage.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace
{

/// Pixels are copied in squares of this side, whose rows and columns both stay in the processor's cache.
constexpr OmU32 SquareSide = 32;

/// Where pixels of the upright picture are in the stored one, counted in pixels.
struct Walk
{
  std::ptrdiff_t start; ///< the first pixel
  std::ptrdiff_t right; ///< from a pixel to the one on its right
  std::ptrdiff_t down;  ///< and to the one below
};

Walk walkThrough(const OmImage& stored, OmExif::Orientation orientation)
{
  const auto width = static_cast<std::ptrdiff_t>(stored.width());
  const std::ptrdiff_t endOfRow = width - 1;
  const std::ptrdiff_t lastRow = width * (static_cast<std::ptrdiff_t>(stored.height()) - 1);
  const std::array<Walk, 8> walks = {{{0, 1, width},
                                      {endOfRow, -1, width},
                                      {lastRow + endOfRow, -1, -width},
                                      {lastRow, 1, -width},
                                      {0, width, 1},
                                      {lastRow, -width, 1},
                                      {lastRow + endOfRow, -width, -1},
                                      {endOfRow, width, -1}}};
  return walks[static_cast<std::size_t>(orientation) - 1];
}

template <std::size_t Channels>
void copyPixels(const OmU8* stored, const Walk& walk, OmImage& upright)
{
  const OmU32 width = upright.width(), height = upright.height();
  for (OmU32 top = 0; top < height; top += std::min(SquareSide, height - top))
    for (OmU32 left = 0; left < width; left += std::min(SquareSide, width - left))
    {
      const OmU32 bottom = top + std::min(SquareSide, height - top), right = left + std::min(SquareSide, width - left);
      for (OmU32 y = top; y < bottom; ++y)
      {
        OmU8* target = upright.data() + (std::size_t{y} * width + left) * Channels;
        std::ptrdiff_t source = walk.start + y * walk.down + left * walk.right;
        for (OmU32 x = left; x < right; ++x, target += Channels, source += walk.right)
          std::memcpy(target, stored + source * static_cast<std::ptrdiff_t>(Channels), Channels);
      }
    }
}

} // namespace

OmImage uprightImage(const OmImage& stored, OmExif::Orientation orientation)
{
  using Copy = void (*)(const OmU8*, const Walk&, OmImage&);
  constexpr std::array<Copy, 8> Copies = {copyPixels<1>, copyPixels<2>, copyPixels<3>, copyPixels<4>,
                                          nullptr,       copyPixels<6>, nullptr,       copyPixels<8>};
  const bool turned = isTurned(orientation);
  OmImage upright(stored.channels(), turned ? stored.height() : stored.width(),
                  turned ? stored.width() : stored.height());
  Copies[stored.channels() - 1](stored.data(), walkThrough(stored, orientation), upright);
  return upright;
}
