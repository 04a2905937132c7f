#include "render/texture3/omTexture3Blend.h"
#include "render/texture3/omTexture3LookUp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace OmRenderShader
{

namespace
{

/// The texels on both sides of a sample along one axis.
struct Position
{
  std::int64_t lower;
  std::int64_t upper;
  float fraction; ///< weight of the upper texel
};

inline Position locate(float coordinate, int count)
{
  const float atMostOne = coordinate < 1.0f ? coordinate : 1.0f; // NaN becomes 1
  const float clamped = atMostOne > 0.0f ? atMostOne : 0.0f;
  // The cast rounds the product. Without it a compiler may fuse product and subtraction, and the fraction would belong
  // to another product than the indices.
  const auto product = static_cast<float>(static_cast<double>(clamped) * count);
  const std::int64_t last = count - 1;
  const std::int64_t lower = std::min(static_cast<std::int64_t>(product), last);
  const float fraction = product - static_cast<float>(lower);
  const std::int64_t upper = std::min(lower + (fraction > 0.0f ? 1 : 0), last);
  return {lower, upper, fraction};
}

long double blend(long double lower, long double upper, float fraction)
{
  return (1.0L - fraction) * lower + fraction * upper;
}

double blendInDouble(double lower, double upper, double fraction)
{
  return (1.0 - fraction) * lower + fraction * upper;
}

/// Rounds `value`, which is at most `bound` away from the extended blend. Returns whether that rounds to the same
/// float.
bool roundIfCertain(double value, double bound, float& result)
{
  const auto high = static_cast<float>(value + bound);
  result = static_cast<float>(value - bound);
  return result == high && std::signbit(result) == std::signbit(high); // false for NaN, and for zeros of either sign
}

/// Blends the eight texels around a point in double precision. Returns whether the extended blend is the same float.
bool blendIfCertain(const Texture3& texture, const vecT3<float>& coords, vecT3<float>& result)
{
  const Position x = locate(coords.x, texture.size.x);
  const Position y = locate(coords.y, texture.size.y);
  const Position z = locate(coords.z, texture.size.z);
  const std::int64_t strideX = texture.channels;
  const std::int64_t strideY = strideX * texture.size.x;
  const std::int64_t strideZ = strideY * texture.size.y;
  const float* const rows[4] = {texture.data + y.lower * strideY + z.lower * strideZ, // bit 0 is z, bit 1 y
                                texture.data + y.lower * strideY + z.upper * strideZ,
                                texture.data + y.upper * strideY + z.lower * strideZ,
                                texture.data + y.upper * strideY + z.upper * strideZ};
  float blended[3] = {0.0f, 0.0f, 0.0f};
  bool certain = true;
  for (int c = 0; c < std::min(texture.channels, 3); ++c)
  {
    float largest = 0.0f;
    const auto blendRows = [&](std::int64_t offset)
    {
      const float texels[4] = {rows[0][offset], rows[1][offset], rows[2][offset], rows[3][offset]};
#pragma GCC unroll 4
      for (const float texel : texels)
        largest = std::max(largest, std::fabs(texel));
      return blendInDouble(blendInDouble(texels[0], texels[1], z.fraction),
                           blendInDouble(texels[2], texels[3], z.fraction), y.fraction);
    };
    const double lower = blendRows(x.lower * strideX + c);
    const double upper = blendRows(x.upper * strideX + c);
    certain &= roundIfCertain(blendInDouble(lower, upper, x.fraction), BoundOverMagnitude * largest, blended[c]);
  }
  result = {blended[0], blended[1], blended[2]};
  return certain;
}

} // namespace

vecT3<float> lookUp(const Texture3& texture, const vecT3<float>& coords)
{
  if (!isUsable(texture))
    return {0.0f, 0.0f, 0.0f};
  float result[3] = {0.0f, 0.0f, 0.0f};
  const int channels = std::min(texture.channels, 3);
  const Position x = locate(coords.x, texture.size.x);
  const Position y = locate(coords.y, texture.size.y);
  const Position z = locate(coords.z, texture.size.z);
  const auto texel = [&texture](std::int64_t ix, std::int64_t iy, std::int64_t iz)
  { return texture.data + ((iz * texture.size.y + iy) * texture.size.x + ix) * texture.channels; };

  const bool onTexel = all({x.lower == x.upper, y.lower == y.upper, z.lower == z.upper});
  if (onTexel || !texture.interpolate)
  {
    const auto nearest = [](const Position& p) { return p.fraction > 0.5f ? p.upper : p.lower; };
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

void lookUpManyPortable(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count)
{
  const bool blended = isBlended(texture);
  for (std::size_t i = 0; i < count; ++i)
    if (vecT3<float> result; blended && blendIfCertain(texture, coords[i], result))
      results[i] = result;
    else
      results[i] = lookUp(texture, coords[i]);
}

} // namespace OmRenderShader
