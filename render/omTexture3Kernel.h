#ifndef OM_TEXTURE3_KERNEL_H
#define OM_TEXTURE3_KERNEL_H

// How Texture3 looks up texels. Private to omRenderShader.cpp and its test.

#include "render/omRenderShader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace OmRenderShader::Kernel
{

/// Where a sample lies along one axis.
struct Position
{
  std::int64_t lower;
  std::int64_t upper;
  float fraction; ///< weight of the upper texel
};

/// The product is rounded to single precision by name: a compiler that fuses multiplication and subtraction would
/// otherwise take the fraction from another product than the indices.
inline Position locate(float coordinate, int count)
{
  const float clamped = coordinate < 1.0f ? (coordinate > 0.0f ? coordinate : 0.0f) : 1.0f;
  const auto product = static_cast<float>(static_cast<double>(clamped) * count);
  const std::int64_t last = count - 1;
  const std::int64_t lower = std::min(static_cast<std::int64_t>(product), last);
  const std::int64_t upper = std::min(static_cast<std::int64_t>(std::ceil(product)), last);
  return {lower, upper, product - static_cast<float>(lower)};
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

// Many lookups blend in double precision, and look a point up alone where that could round to another float.
//
// Let M be the largest magnitude among the eight texels and u = 2^-53. A step of the blend, whether (1 - f) a + f b or
// a + f (b - a) with the product fused into the sum, errs by at most 3 u M: 1 - f is off by at most u / 2, the products
// and their sum by u M each; or b - a by 2 u M and the fused sum by u M. A step carries on no more than its inputs'
// errors, so the three come to 9 u M. The extended blend is 2048 times closer to the true value, and rounding the ends
// of an interval around the result takes another u M. With terms of u^2 all of it is within 11 u M; the interval
// reaches out by 16 u M = 2^-49 M. Rounding to float is monotonic: where both ends round to the same float, the
// extended blend does too.
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

/// Many lookups, on any processor.
inline void lookUpManyPortable(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results,
                               std::size_t count)
{
  const bool blended = isBlended(texture);
  for (std::size_t i = 0; i < count; ++i)
    if (vecT3<float> result; blended && blendSurely(texture, coords[i], result))
      results[i] = result;
    else
      results[i] = lookUp(texture, coords[i]);
}

#if defined(__x86_64__)
inline bool hasAvx2()
{
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

/// So many points are located, then blended.
constexpr std::size_t BlockSize = 64;

/// A block of points, located. Element 3 i + axis is that of point i; offsets are in floats.
struct Block
{
  alignas(32) std::uint32_t lower[3 * BlockSize];
  alignas(32) std::uint32_t upper[3 * BlockSize];
  alignas(32) double fraction[3 * BlockSize];
};

/// What locateBlock() multiplies by, three axes in turn.
struct Axes
{
  alignas(32) std::int32_t size[24];
  alignas(32) std::int32_t stride[24];

  explicit Axes(const Texture3& texture)
  {
    const int sizes[3] = {texture.size.x, texture.size.y, texture.size.z};
    const int strides[3] = {texture.channels, texture.channels * sizes[0], texture.channels * sizes[0] * sizes[1]};
    for (int i = 0; i < 24; ++i)
    {
      size[i] = sizes[i % 3];
      stride[i] = strides[i % 3];
    }
  }
};

/// locate() for a block, eight numbers at a time, which are eight points in three turns.
__attribute__((target("avx2,fma"))) inline void locateBlock(const Axes& axes, const float* coords, Block& block)
{
  for (std::size_t turn = 0; turn < 24; turn += 8)
  {
    const __m256i sizes = _mm256_load_si256(reinterpret_cast<const __m256i*>(axes.size + turn));
    const __m256i strides = _mm256_load_si256(reinterpret_cast<const __m256i*>(axes.stride + turn));
    const __m256i last = _mm256_sub_epi32(sizes, _mm256_set1_epi32(1));
    const __m256 scale = _mm256_cvtepi32_ps(sizes);
    for (std::size_t i = turn; i < 3 * BlockSize; i += 24)
    {
      const __m256 atMostOne = _mm256_min_ps(_mm256_loadu_ps(coords + i), _mm256_set1_ps(1.0f)); // a NaN becomes 1
      __m256 position = _mm256_mul_ps(_mm256_max_ps(atMostOne, _mm256_setzero_ps()), scale);
      __asm__("" : "+x"(position)); // rounded here: not to be fused with the subtraction
      const __m256i lower = _mm256_min_epi32(_mm256_cvttps_epi32(position), last);
      const __m256i upper = _mm256_min_epi32(_mm256_cvttps_epi32(_mm256_ceil_ps(position)), last);
      const __m256 fraction = _mm256_sub_ps(position, _mm256_cvtepi32_ps(lower));
      _mm256_store_si256(reinterpret_cast<__m256i*>(block.lower + i), _mm256_mullo_epi32(lower, strides));
      _mm256_store_si256(reinterpret_cast<__m256i*>(block.upper + i), _mm256_mullo_epi32(upper, strides));
      _mm256_store_pd(block.fraction + i, _mm256_cvtps_pd(_mm256_castps256_ps128(fraction)));
      _mm256_store_pd(block.fraction + i + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(fraction, 1)));
    }
  }
}

/// The larger bit patterns of the halves of each number. For numbers that are not negative, that is no less than the
/// larger one and at most 2^-20 of it above; a negative one sets the sign bit.
__attribute__((target("avx2"), always_inline)) inline __m256d largerBits(__m256d a, __m256d b)
{
  return _mm256_castsi256_pd(_mm256_max_epu32(_mm256_castpd_si256(a), _mm256_castpd_si256(b)));
}

/// Blends one point of the eight texels at `x[i] + yz[j]`, of whose bits in j the lower is z, and tells whether
/// negative texels made it slow, as they do unless `Signed`. A vector holds the channels of a texel, of which four
/// floats are read, or where `AtEnd` no more than there are.
template <bool Signed, bool AtEnd>
__attribute__((target("avx2,fma"), always_inline)) inline bool
blendPoint(const Texture3& texture, const float* const (&x)[2], const std::size_t (&yz)[4], const double* fractions,
           int lanes, const vecT3<float>& coords, vecT3<float>& result)
{
  const __m128i laneBits = _mm_setr_epi32(1, 2, 4, 8);
  const __m128i used = _mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(lanes), laneBits), laneBits);
  __m256d values[8];
  __m256d largest = _mm256_setzero_pd();
  __m256d magnitude = _mm256_setzero_pd();
  for (int i = 0; i < 8; ++i)
  {
    const float* const texel = x[i >> 2] + yz[i & 3];
    values[i] = _mm256_cvtps_pd(AtEnd ? _mm_maskload_ps(texel, used) : _mm_loadu_ps(texel));
    largest = largerBits(largest, values[i]);
    if (Signed)
      magnitude = largerBits(magnitude, _mm256_andnot_pd(_mm256_set1_pd(-0.0), values[i]));
  }
  for (std::size_t axis = 3, left = 4; axis-- > 0; left /= 2)
  {
    const __m256d fraction = _mm256_broadcast_sd(fractions + axis);
    for (std::size_t k = 0; k < left; ++k)
      values[k] = _mm256_fmadd_pd(fraction, _mm256_sub_pd(values[2 * k + 1], values[2 * k]), values[2 * k]);
  }

  // Without negative texels the upper end has the right sign even where both are zeros; otherwise a zero is uncertain.
  const __m256d reach = _mm256_mul_pd(Signed ? magnitude : largest, _mm256_set1_pd(BoundOverMagnitude));
  const __m128 low = _mm256_cvtpd_ps(_mm256_sub_pd(values[0], reach));
  const __m128 high = _mm256_cvtpd_ps(_mm256_add_pd(values[0], reach));
  const int signs = _mm256_movemask_pd(largest) & lanes;
  const int delicate = Signed ? signs & _mm_movemask_ps(_mm_cmpeq_ps(high, _mm_setzero_ps())) : signs;
  if (__builtin_expect(((_mm_movemask_ps(_mm_cmpneq_ps(low, high)) & lanes) | delicate) != 0, 0))
  {
    result = lookUp(texture, coords);
    return !Signed && signs != 0;
  }
  const __m128 blended = _mm_and_ps(high, _mm_castsi128_ps(used));
  _mm_storel_pi(reinterpret_cast<__m64*>(&result.x), blended);
  result.z = _mm_cvtss_f32(_mm_movehl_ps(blended, blended));
  return false;
}

/// Blends the points of a block and tells whether negative texels made it slow.
template <bool Signed>
__attribute__((target("avx2,fma"))) bool blendBlock(const Texture3& texture, const Block& block,
                                                    const vecT3<float>* coords, vecT3<float>* results,
                                                    std::size_t count)
{
  const std::int64_t total = std::int64_t{texture.channels} * texture.size.x * texture.size.y * texture.size.z;
  const int lanes = (1 << std::min(texture.channels, 3)) - 1;
  const float* const data = texture.data;
  bool slow = false;
  for (std::size_t i = 0; i < count; ++i)
  {
    _mm_prefetch(reinterpret_cast<const char*>(coords + i + BlockSize), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(results + i + BlockSize), _MM_HINT_T0);
    const std::uint32_t* const lower = block.lower + 3 * i;
    const std::uint32_t* const upper = block.upper + 3 * i;
    const double* const fractions = block.fraction + 3 * i;
    const float* const x[2] = {data + lower[0], data + upper[0]};
    const std::size_t yz[4] = {std::size_t{lower[1]} + lower[2], std::size_t{lower[1]} + upper[2],
                               std::size_t{upper[1]} + lower[2], std::size_t{upper[1]} + upper[2]};
    if (__builtin_expect(static_cast<std::int64_t>(yz[3] + upper[0]) + 4 > total, 0))
      slow |= blendPoint<Signed, true>(texture, x, yz, fractions, lanes, coords[i], results[i]);
    else
      slow |= blendPoint<Signed, false>(texture, x, yz, fractions, lanes, coords[i], results[i]);
  }
  return slow;
}

/// Many lookups, on processors that hasAvx2() tells.
__attribute__((target("avx2,fma"))) inline void lookUpManyAvx2(const Texture3& texture, const vecT3<float>* coords,
                                                               vecT3<float>* results, std::size_t count)
{
  const double floats = static_cast<double>(texture.size.x) * texture.size.y * texture.size.z * texture.channels;
  if (!isBlended(texture) || floats > INT32_MAX) // offsets are 32-bit numbers here
    return lookUpManyPortable(texture, coords, results, count);
  const Axes axes(texture);
  Block block;
  bool negative = false;
  const auto blendBlocks = [&](std::size_t first, const vecT3<float>* from, std::size_t inBlock)
  {
    locateBlock(axes, reinterpret_cast<const float*>(from), block);
    const auto blend = negative ? blendBlock<true> : blendBlock<false>;
    negative |= blend(texture, block, coords + first, results + first, inBlock);
  };
  std::size_t first = 0;
  for (; count - first >= BlockSize; first += BlockSize)
    blendBlocks(first, coords + first, BlockSize);
  vecT3<float> rest[BlockSize] = {};
  std::copy(coords + first, coords + count, rest);
  if (first < count)
    blendBlocks(first, rest, count - first);
}
#endif

} // namespace OmRenderShader::Kernel

#endif
