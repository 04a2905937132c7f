#ifndef OM_TEXTURE3_KERNEL_H
#define OM_TEXTURE3_KERNEL_H

// How Texture3 looks up texels. Private to omRenderShader.cpp and its test.

#include "render/omRenderShader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace OmRenderShader::Kernel
{

/// Where a sample lies along one axis.
template <class Index>
struct Position
{
  Index lower;
  Index upper;
  float fraction; ///< weight of the upper texel
};

/// Has no branches, so that a loop of it can run in vectors. The product is rounded to single precision by name: a
/// compiler that fuses multiplication and subtraction would otherwise take the fraction from another product than the
/// indices.
template <class Index>
inline Position<Index> locate(float coordinate, int count)
{
  const float atMostOne = coordinate < 1.0f ? coordinate : 1.0f;
  const float clamped = atMostOne > 0.0f ? atMostOne : 0.0f;
  const auto product = static_cast<float>(static_cast<double>(clamped) * count);
  const Index last = count - 1;
  const Index lower = std::min(static_cast<Index>(product), last);
  const float fraction = product - static_cast<float>(lower);
  const Index upper = std::min(lower + (fraction > 0.0f ? 1 : 0), last);
  return {lower, upper, fraction};
}

inline bool isUsable(const Texture3& texture)
{
  return texture.data && texture.channels > 0 && texture.size.x > 0 && texture.size.y > 0 && texture.size.z > 0;
}

inline long double blend(long double lower, long double upper, float fraction)
{
  return (1.0L - fraction) * lower + fraction * upper;
}

/// One lookup: the meaning of all the others.
__attribute__((noinline)) inline vecT3<float> lookUp(const Texture3& texture, const vecT3<float>& coords)
{
  float result[3] = {0.0f, 0.0f, 0.0f};
  if (!isUsable(texture))
    return {0.0f, 0.0f, 0.0f};
  const int channels = std::min(texture.channels, 3);
  const auto x = locate<std::int64_t>(coords.x, texture.size.x);
  const auto y = locate<std::int64_t>(coords.y, texture.size.y);
  const auto z = locate<std::int64_t>(coords.z, texture.size.z);
  const auto texel = [&texture](std::int64_t ix, std::int64_t iy, std::int64_t iz)
  { return texture.data + ((iz * texture.size.y + iy) * texture.size.x + ix) * texture.channels; };

  const bool onTexel = all({x.lower == x.upper, y.lower == y.upper, z.lower == z.upper});
  if (onTexel || !texture.interpolate)
  {
    const auto nearest = [](const auto& p) { return p.fraction > 0.5f ? p.upper : p.lower; };
    std::copy_n(texel(nearest(x), nearest(y), nearest(z)), channels, result);
    return {result[0], result[1], result[2]};
  }
  for (int c = 0; c < channels; ++c)
  {
    const auto alongZ = [&](std::int64_t ix, std::int64_t iy)
    { return blend(texel(ix, iy, z.lower)[c], texel(ix, iy, z.upper)[c], z.fraction); };
    const auto alongY = [&](std::int64_t ix) { return blend(alongZ(ix, y.lower), alongZ(ix, y.upper), y.fraction); };
    result[c] = static_cast<float>(blend(alongY(x.lower), alongY(x.upper), x.fraction));
  }
  return {result[0], result[1], result[2]};
}

// Many lookups blend in double precision, and look a point up alone where that could round to another float.
//
// Let B be the blend of the eight texels' magnitudes and u = 2^-53. A step (1 - f) a + f b rounds what a texel adds to
// the sum at most three times: 1 - f, the product, the sum. So three steps come to 9 u B. Adding up the texels times
// the products of their weights along y and z rounds it three times for the weight and four in the sum; with a step
// along x that comes to 10 u B. The extended blend is 2048 times closer to the true value, and rounding the ends of an
// interval around the result takes another u B. With terms of u^2 all of it is within 12 u B; the interval reaches out
// by 16 u B = 2^-49 B, or the same of something larger than B, as the largest magnitude is. Rounding to float is
// monotonic: where both ends round to the same float, the extended blend does too.
//
// A double holds a float times three fractions, so nothing overflows or underflows on the way. Infinities and NaN leave
// no interval that rounds to one float.
constexpr double BoundOverMagnitude = 0x1p-49;
static_assert(std::numeric_limits<long double>::digits >= 64);

/// Rounds `value`, which is within `bound` of the extended blend. False where that is not certain.
inline bool roundSurely(double value, double bound, float& result)
{
  const auto high = static_cast<float>(value + bound);
  result = static_cast<float>(value - bound);
  return result == high && std::signbit(result) == std::signbit(high); // NaN differs, and so do zeros of either sign
}

/// The blend of the eight texels around a point in double precision; false where only the extended one is certain.
inline bool blendSurely(const Texture3& texture, const vecT3<float>& coords, vecT3<float>& result)
{
  const auto x = locate<std::int64_t>(coords.x, texture.size.x);
  const auto y = locate<std::int64_t>(coords.y, texture.size.y);
  const auto z = locate<std::int64_t>(coords.z, texture.size.z);
  const std::int64_t strideX = texture.channels;
  const std::int64_t strideY = strideX * texture.size.x;
  const std::int64_t strideZ = strideY * texture.size.y;
  const float* const rows[4] = {texture.data + y.lower * strideY + z.lower * strideZ, // bit 0 is z, bit 1 y
                                texture.data + y.lower * strideY + z.upper * strideZ,
                                texture.data + y.upper * strideY + z.lower * strideZ,
                                texture.data + y.upper * strideY + z.upper * strideZ};
  const auto blendOnce = [](double a, double b, double f) { return (1.0 - f) * a + f * b; };
  float blended[3] = {0.0f, 0.0f, 0.0f};
  bool sure = true;
  for (int c = 0; c < std::min(texture.channels, 3); ++c)
  {
    double ends[2];
    float largest = 0.0f;
    for (int i = 0; i < 2; ++i)
    {
      const std::int64_t offset = (i ? x.upper : x.lower) * strideX + c;
      const float texels[4] = {rows[0][offset], rows[1][offset], rows[2][offset], rows[3][offset]};
      for (const float texel : texels)
        largest = std::max(largest, std::fabs(texel));
      ends[i] = blendOnce(blendOnce(texels[0], texels[1], z.fraction), blendOnce(texels[2], texels[3], z.fraction),
                          y.fraction);
    }
    sure &= roundSurely(blendOnce(ends[0], ends[1], x.fraction), BoundOverMagnitude * largest, blended[c]);
  }
  result = {blended[0], blended[1], blended[2]};
  return sure;
}

/// Up to this many texels along an axis every index is a float.
constexpr int LargestSize = 1 << 24;

inline bool isBlended(const Texture3& texture)
{
  return isUsable(texture) && texture.interpolate && texture.size.x <= LargestSize && texture.size.y <= LargestSize &&
         texture.size.z <= LargestSize;
}

/// Many lookups, one by one.
inline void lookUpEach(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count)
{
  std::transform(coords, coords + count, results, [&](const auto& point) { return lookUp(texture, point); });
}

/// Many lookups, on any processor.
inline void lookUpManyPortable(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results,
                               std::size_t count)
{
  if (!isBlended(texture))
    return lookUpEach(texture, coords, results, count);
  for (std::size_t i = 0; i < count; ++i)
    if (vecT3<float> result; blendSurely(texture, coords[i], result))
      results[i] = result;
    else
      results[i] = lookUp(texture, coords[i]);
}

} // namespace OmRenderShader::Kernel

#endif
