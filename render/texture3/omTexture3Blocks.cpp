#include "render/texture3/omTexture3Blocks.h"

#include "render/texture3/omTexture3Blend.h"
#include "render/texture3/omTexture3LookUp.h"

#if defined(__x86_64__)
#include <immintrin.h>

#include <algorithm>

namespace OmRenderShader
{

Texture3Cells::Texture3Cells(const Texture3& texture)
    : channels(texture.channels), lanes((1 << std::min(texture.channels, 3)) - 1)
{
  const int sizes[3] = {texture.size.x, texture.size.y, texture.size.z};
  for (std::int64_t axis = 0, step = texture.channels; axis < 3; step *= sizes[axis++])
  {
    scale[axis] = sizes[axis] > 1 ? static_cast<float>(sizes[axis]) : 0.0f;
    last[axis] = std::max(sizes[axis] - 2, 0);
    stride[axis] = static_cast<int>(step);
    toUpper[axis] = sizes[axis] > 1 ? step : 0;
  }
  for (int r = 0; r < 4; ++r)
    rows[r] = texture.data + (r >> 1) * toUpper[1] + (r & 1) * toUpper[2];
  const std::int64_t floats = std::int64_t{stride[2]} * sizes[2];
  lastWhole = static_cast<int>(floats - 4 - toUpper[0] - toUpper[1] - toUpper[2]);
}

namespace
{

/// Eight points, sorted by axis.
struct EightPoints
{
  __m256 x;
  __m256 y;
  __m256 z;
};

/// Where eight samples lie along one axis.
struct EightPositions
{
  __m256i offset; ///< of their cells
  __m256 fraction;
};

/// Reads eight points, and copies them to `copy`.
[[gnu::target("avx2"), gnu::always_inline]] inline EightPoints readEight(const float* coords, float* copy)
{
  const __m256 a = _mm256_loadu_ps(coords); // x0 y0 z0 x1 y1 z1 x2 y2
  const __m256 b = _mm256_loadu_ps(coords + 8);
  const __m256 c = _mm256_loadu_ps(coords + 16);
  _mm256_storeu_ps(copy, a);
  _mm256_storeu_ps(copy + 8, b);
  _mm256_storeu_ps(copy + 16, c);
  const __m256 x = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x92), c, 0x24); // x0 x3 x6 x1 x4 x7 x2 x5
  const __m256 y = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x24), c, 0x49);
  const __m256 z = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x49), c, 0x92);
  return {_mm256_permutevar8x32_ps(x, _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5)),
          _mm256_permutevar8x32_ps(y, _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6)),
          _mm256_permutevar8x32_ps(z, _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7))};
}

[[gnu::target("avx2"), gnu::always_inline]] inline EightPositions locateEight(__m256 coordinates,
                                                                              const Texture3Cells& cells, int axis)
{
  const __m256 one = _mm256_set1_ps(1.0f);
  const __m256 clamped = _mm256_max_ps(_mm256_min_ps(coordinates, one), _mm256_setzero_ps()); // NaN becomes 1
  __m256 position = _mm256_mul_ps(clamped, _mm256_set1_ps(cells.scale[axis]));
  __asm__("" : "+x"(position)); // keeps compilers from fusing product and subtraction: the product has to be rounded
  const __m256i cell = _mm256_min_epi32(_mm256_cvttps_epi32(position), _mm256_set1_epi32(cells.last[axis]));
  return {_mm256_mullo_epi32(cell, _mm256_set1_epi32(cells.stride[axis])),
          _mm256_min_ps(_mm256_sub_ps(position, _mm256_cvtepi32_ps(cell)), one)};
}

/// Stores the weights of four points from `i` on. `x`, `y` and `z` are the fractions.
[[gnu::target("avx2"), gnu::always_inline]] inline void storeWeights(__m128 x, __m128 y, __m128 z, Texture3Block& block,
                                                                     std::size_t i)
{
  const __m256d one = _mm256_set1_pd(1.0);
  const __m256d upperX = _mm256_cvtps_pd(x);
  const __m256d upperY = _mm256_cvtps_pd(y);
  const __m256d upperZ = _mm256_cvtps_pd(z);
  const __m256d lowerY = _mm256_sub_pd(one, upperY);
  const __m256d lowerZ = _mm256_sub_pd(one, upperZ);
  _mm256_storeu_pd(block.xWeights[0] + i, _mm256_sub_pd(one, upperX));
  _mm256_storeu_pd(block.xWeights[1] + i, upperX);
  _mm256_storeu_pd(block.rowWeights[0] + i, _mm256_mul_pd(lowerY, lowerZ));
  _mm256_storeu_pd(block.rowWeights[1] + i, _mm256_mul_pd(lowerY, upperZ));
  _mm256_storeu_pd(block.rowWeights[2] + i, _mm256_mul_pd(upperY, lowerZ));
  _mm256_storeu_pd(block.rowWeights[3] + i, _mm256_mul_pd(upperY, upperZ));
}

/// Locates the points of a block, and copies them to it, as the results may overwrite them.
[[gnu::target("avx2")]] void locateBlock(const Texture3Cells& cells, const vecT3<float>* coords, Texture3Block& block)
{
  __m256i beyond = _mm256_setzero_si256();
  for (std::size_t i = 0; i < BlockSize; i += 8)
  {
    const EightPoints points = readEight(&coords[i].x, &block.coords[i].x);
    const EightPositions x = locateEight(points.x, cells, 0);
    const EightPositions y = locateEight(points.y, cells, 1);
    const EightPositions z = locateEight(points.z, cells, 2);
    const __m256i offset = _mm256_add_epi32(_mm256_add_epi32(x.offset, y.offset), z.offset);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(block.cells + i), offset);
    beyond = _mm256_or_si256(beyond, _mm256_cmpgt_epi32(offset, _mm256_set1_epi32(cells.lastWhole)));
    storeWeights(_mm256_castps256_ps128(x.fraction), _mm256_castps256_ps128(y.fraction),
                 _mm256_castps256_ps128(z.fraction), block, i);
    storeWeights(_mm256_extractf128_ps(x.fraction, 1), _mm256_extractf128_ps(y.fraction, 1),
                 _mm256_extractf128_ps(z.fraction, 1), block, i + 4);
  }
  block.atEnd = _mm256_movemask_epi8(beyond) != 0;
}

/// Whether all offsets fit 32 bits.
bool hasShortOffsets(const Texture3& texture)
{
  return static_cast<double>(texture.size.x) * texture.size.y * texture.size.z * texture.channels <= INT32_MAX;
}

/// Prefetches a block's coordinates and the memory of its results.
void prefetchBlock(const vecT3<float>* coords, const vecT3<float>* results)
{
  for (std::size_t offset = 0; offset < BlockSize * sizeof *coords; offset += 64)
  {
    __builtin_prefetch(reinterpret_cast<const char*>(coords) + offset);
    __builtin_prefetch(reinterpret_cast<const char*>(results) + offset, 1);
  }
}

/// Looks up the points of a block again if blending left one of their components uncertain.
void lookUpUncertain(const Texture3& texture, const Texture3Block& block, vecT3<float>* results, std::size_t count)
{
  for (std::size_t pair = 0; 2 * pair < count; ++pair)
    if (const int bits = block.uncertain[pair]; __builtin_expect(bits != 0, 0))
      for (std::size_t i = 2 * pair; i < std::min(2 * pair + 2, count); ++i)
        if ((i % 2 ? bits >> 3 : bits & 7) != 0)
          results[i] = lookUp(texture, block.coords[i]);
}

} // namespace

void lookUpInBlocks(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count,
                    BlendBlock blend, BlendBlock blendSigned)
{
  if (!isBlended(texture) || !hasShortOffsets(texture))
    return lookUpManyPortable(texture, coords, results, count);
  const Texture3Cells cells(texture);
  Texture3Block block = {};
  bool negative = false;
  for (std::size_t first = 0; first < count; first += BlockSize)
  {
    prefetchBlock(coords + first + BlockSize, results + first + BlockSize);
    const std::size_t inBlock = std::min(count - first, BlockSize);
    const bool whole = inBlock == BlockSize;
    if (!whole)
      std::copy_n(coords + first, inBlock, block.coords);
    locateBlock(cells, whole ? coords + first : block.coords, block);
    vecT3<float>* const out = whole ? results + first : block.results;
    if (!negative)
      negative = blend(cells, block, out, inBlock);
    if (negative)
      blendSigned(cells, block, out, inBlock);
    lookUpUncertain(texture, block, out, inBlock);
    if (!whole)
      std::copy_n(block.results, inBlock, results + first);
  }
}

} // namespace OmRenderShader
#endif
