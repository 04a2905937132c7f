#ifndef OM_TEXTURE3_VECTORS_H
#define OM_TEXTURE3_VECTORS_H

// Many lookups in vectors of AVX2 or AVX-512. Private to omRenderShader.cpp and its test.

#include "render/omTexture3Kernel.h"

#if defined(__x86_64__)
#include <immintrin.h>

namespace OmRenderShader::Kernel
{

/// A texture as the vectors see it. A sample lies in a cell, which is two texels along each axis that has so many. A
/// sample at the last texel or beyond lies in the last cell with all its weight on the upper texel, one on a texel
/// before with all its weight on the lower one. So the eight texels are at the same distances for every sample, and a
/// texel that does not matter has no weight. Offsets are in floats and fit 32 bits.
struct Cells
{
  float scale[3]; ///< the size, but 0 for a single texel, so that all samples lie on it
  int last[3];    ///< the last cell
  int stride[3];
  std::int64_t toUpper[3]; ///< from a lower texel to the upper one; 0 for a single texel
  const float* rows[4];    ///< the first cell's texels that are lower along x; bit 0 is z, bit 1 y
  int channels;
  int lanes;     ///< a bit for every channel that is looked up
  int lastWhole; ///< the offset up to which four floats can be read at each texel of a cell

  explicit Cells(const Texture3& texture) : channels(texture.channels), lanes((1 << std::min(texture.channels, 3)) - 1)
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
};

/// So many points are located, then blended.
constexpr std::size_t BlockSize = 64;
/// So many points before its turn a point's texels are fetched.
constexpr std::size_t Ahead = 12;

/// The blend of a sample is the sum of eight texels, each times its weight. All points of a block have their weights
/// computed before any is blended.
struct alignas(64) Block
{
  vecT3<float> coords[BlockSize];
  vecT3<float> results[BlockSize]; ///< where the caller has no room for a whole block
  double rowWeights[4][BlockSize];
  double xWeights[2][BlockSize + 8];      ///< lower and upper; read eight at a time from any point on
  std::uint32_t cells[BlockSize + Ahead]; ///< offsets, read ahead of the points
  std::uint8_t uncertain[BlockSize / 2];  ///< bits for three components of a point and three of the next
  bool atEnd;                             ///< there is a cell beyond Cells::lastWhole
};

/// Eight points along one axis.
struct EightPositions
{
  __m256i cell;
  __m256 fraction;
};

__attribute__((target("avx2"), always_inline)) inline EightPositions locateEight(__m256 coordinates, float scale,
                                                                                 int last)
{
  const __m256 one = _mm256_set1_ps(1.0f);
  const __m256 clamped = _mm256_max_ps(_mm256_min_ps(coordinates, one), _mm256_setzero_ps()); // a NaN becomes 1
  __m256 position = _mm256_mul_ps(clamped, _mm256_set1_ps(scale));
  __asm__("" : "+x"(position)); // rounded here: not to be fused with the subtraction
  const __m256i cell = _mm256_min_epi32(_mm256_cvttps_epi32(position), _mm256_set1_epi32(last));
  return {cell, _mm256_min_ps(_mm256_sub_ps(position, _mm256_cvtepi32_ps(cell)), one)};
}

/// Makes a block of as many points as it has. Keeps them, as the results may overwrite theirs.
__attribute__((target("avx2"))) inline void locateBlock(const Cells& cells, const float* coords, Block& block)
{
  float* const kept = &block.coords[0].x;
  const __m256i order[3] = {_mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5), _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6),
                            _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7)};
  __m256i beyond = _mm256_setzero_si256();
  for (std::size_t i = 0; i < BlockSize; i += 8)
  {
    const __m256 a = _mm256_loadu_ps(coords + 3 * i);
    const __m256 b = _mm256_loadu_ps(coords + 3 * i + 8);
    const __m256 c = _mm256_loadu_ps(coords + 3 * i + 16);
    _mm256_storeu_ps(kept + 3 * i, a);
    _mm256_storeu_ps(kept + 3 * i + 8, b);
    _mm256_storeu_ps(kept + 3 * i + 16, c);
    const __m256 alongAxis[3] = {_mm256_blend_ps(_mm256_blend_ps(a, b, 0x92), c, 0x24),
                                 _mm256_blend_ps(_mm256_blend_ps(a, b, 0x24), c, 0x49),
                                 _mm256_blend_ps(_mm256_blend_ps(a, b, 0x49), c, 0x92)};
    __m256i cell = _mm256_setzero_si256();
    __m256d weights[3][2][2]; // axis, lower and upper, four points and four more
    for (int axis = 0; axis < 3; ++axis)
    {
      const EightPositions positions =
          locateEight(_mm256_permutevar8x32_ps(alongAxis[axis], order[axis]), cells.scale[axis], cells.last[axis]);
      cell = _mm256_add_epi32(cell, _mm256_mullo_epi32(positions.cell, _mm256_set1_epi32(cells.stride[axis])));
      weights[axis][1][0] = _mm256_cvtps_pd(_mm256_castps256_ps128(positions.fraction));
      weights[axis][1][1] = _mm256_cvtps_pd(_mm256_extractf128_ps(positions.fraction, 1));
      for (int half = 0; half < 2; ++half)
        weights[axis][0][half] = _mm256_sub_pd(_mm256_set1_pd(1.0), weights[axis][1][half]);
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(block.cells + i), cell);
    beyond = _mm256_or_si256(beyond, _mm256_cmpgt_epi32(cell, _mm256_set1_epi32(cells.lastWhole)));
    for (std::size_t half = 0; half < 2; ++half)
    {
      const std::size_t four = i + 4 * half;
      for (int r = 0; r < 4; ++r)
        _mm256_storeu_pd(block.rowWeights[r] + four, _mm256_mul_pd(weights[1][r >> 1][half], weights[2][r & 1][half]));
      for (int x = 0; x < 2; ++x)
        _mm256_storeu_pd(block.xWeights[x] + four, weights[0][x][half]);
    }
  }
  block.atEnd = _mm256_movemask_epi8(beyond) != 0;
}

/// Fetches the texels of a point to come.
inline void fetch(const Cells& cells, const Block& block, std::size_t i)
{
  for (const float* const row : cells.rows)
    __builtin_prefetch(row + block.cells[i + Ahead]);
}

/// Blends the points of a block, and after an odd number of them one more into `results`. Tells whether there are
/// negative texels, -0 among them; the results are then those of a function that is `Signed`. Without negative texels
/// the blend is the blend of the magnitudes, and no zero has a sign. `Signed` blends the magnitudes beside, and holds a
/// zero for uncertain where one of its texels is negative.
using BlendBlock = bool (*)(const Cells& cells, Block& block, vecT3<float>* results, std::size_t count);

inline bool hasAvx2()
{
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

/// With a vector for each texel, of which four floats are read, or where `AtEnd` no more than there are.
template <bool Signed, bool AtEnd>
__attribute__((target("avx2,fma"))) bool blendTexels(const Cells& cells, Block& block, vecT3<float>* results,
                                                     std::size_t count)
{
  const __m128i laneBits = _mm_setr_epi32(1, 2, 4, 8);
  const __m128i lanes = _mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(cells.lanes), laneBits), laneBits);
  const __m256d bound = _mm256_set1_pd(BoundOverMagnitude);
  const __m256d signBit = _mm256_set1_pd(-0.0);
  const Cells local = cells; // which no store changes
  __m256d anySigns = _mm256_setzero_pd();
  for (std::size_t i = 0; i < count; ++i)
  {
    fetch(local, block, i);
    __m256d value = _mm256_setzero_pd();
    __m256d magnitude = _mm256_setzero_pd();
    __m256d signs = _mm256_setzero_pd();
    for (int x = 0; x < 2; ++x)
    {
      __m256d sum = _mm256_setzero_pd();
      __m256d magnitudes = _mm256_setzero_pd();
      for (int r = 0; r < 4; ++r)
      {
        const float* const texel = local.rows[r] + block.cells[i] + (x ? local.toUpper[0] : 0);
        const __m256d values = _mm256_cvtps_pd(AtEnd ? _mm_maskload_ps(texel, lanes) : _mm_loadu_ps(texel));
        const __m256d weight = _mm256_broadcast_sd(block.rowWeights[r] + i);
        sum = _mm256_fmadd_pd(values, weight, sum);
        signs = _mm256_or_pd(signs, values);
        if (Signed)
          magnitudes = _mm256_fmadd_pd(_mm256_andnot_pd(signBit, values), weight, magnitudes);
      }
      const __m256d weight = _mm256_broadcast_sd(block.xWeights[x] + i);
      value = _mm256_fmadd_pd(sum, weight, value);
      magnitude = _mm256_fmadd_pd(magnitudes, weight, magnitude);
    }
    anySigns = _mm256_or_pd(anySigns, signs);
    const __m256d reach = Signed ? magnitude : value;
    const __m128 low = _mm256_cvtpd_ps(_mm256_fnmadd_pd(reach, bound, value));
    const __m128 high = _mm256_cvtpd_ps(_mm256_fmadd_pd(reach, bound, value));
    int uncertain = _mm_movemask_ps(_mm_cmpneq_ps(low, high));
    if (Signed)
      uncertain |= _mm_movemask_ps(_mm_cmpeq_ps(high, _mm_setzero_ps())) & _mm256_movemask_pd(signs);
    uncertain &= local.lanes;
    block.uncertain[i / 2] = static_cast<std::uint8_t>(i % 2 ? block.uncertain[i / 2] | uncertain << 3 : uncertain);
    const __m128 result = _mm_and_ps(high, _mm_castsi128_ps(lanes));
    _mm_storel_pi(reinterpret_cast<__m64*>(&results[i].x), result);
    results[i].z = _mm_cvtss_f32(_mm_movehl_ps(result, result));
  }
  return (_mm256_movemask_pd(anySigns) & cells.lanes) != 0;
}

template <bool Signed>
bool blendBlockAvx2(const Cells& cells, Block& block, vecT3<float>* results, std::size_t count)
{
  const auto blend = block.atEnd ? blendTexels<Signed, true> : blendTexels<Signed, false>;
  return blend(cells, block, results, count);
}

inline bool hasAvx512()
{
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
}

/// Two texels that follow each other along x have the channels to look up within eight floats.
constexpr int MostChannelsAvx512 = 5;

/// Eight floats, of which those not in `lanes` are neither read nor missed where memory ends. By name because a masked
/// load would be an instruction more.
__attribute__((target("avx512f"), always_inline)) inline __m512d loadDoubles(const float* from, __mmask8 lanes)
{
  __m512d result;
  __asm__("vcvtps2pd %1, %0%{%2%}%{z%}" : "=v"(result) : "m"(*reinterpret_cast<const __m256_u*>(from)), "Yk"(lanes));
  return result;
}

__attribute__((target("avx512f"), always_inline)) inline __m512d sumRows(const __m512d (&rows)[4], const Block& block,
                                                                         std::size_t i)
{
  __m512d sum = _mm512_mul_pd(rows[0], _mm512_set1_pd(block.rowWeights[0][i]));
  for (int r = 1; r < 4; ++r)
    sum = _mm512_fmadd_pd(rows[r], _mm512_set1_pd(block.rowWeights[r][i]), sum);
  return sum;
}

/// The bits of any of three.
__attribute__((target("avx512f"), always_inline)) inline __m512d either(__m512d a, __m512d b, __m512d c)
{
  return _mm512_castsi512_pd(
      _mm512_ternarylogic_epi64(_mm512_castpd_si512(a), _mm512_castpd_si512(b), _mm512_castpd_si512(c), 0xfe));
}

/// Takes the rows of two points to their blends, which are three components of one and three of the other.
struct Pairing
{
  __m512i lanes[2]; ///< of the lower and the upper texel
  __mmask8 used;
};

__attribute__((target("avx512f,avx512dq"), always_inline)) inline __m512d
blendAlongX(const __m512d (&rows)[2], const Pairing& pairing, const __m512d (&weights)[2])
{
  const __m512d lower = _mm512_maskz_permutex2var_pd(pairing.used, rows[0], pairing.lanes[0], rows[1]);
  const __m512d upper = _mm512_maskz_permutex2var_pd(pairing.used, rows[0], pairing.lanes[1], rows[1]);
  return _mm512_fmadd_pd(upper, weights[1], _mm512_mul_pd(lower, weights[0]));
}

/// With a vector for two texels that follow each other along x in each of four rows, and then one for two points.
template <bool Signed>
__attribute__((target("avx512f,avx512vl,avx512dq"))) bool blendBlockAvx512(const Cells& cells, Block& block,
                                                                           vecT3<float>* results, std::size_t count)
{
  const auto texels = static_cast<__mmask8>(cells.lanes | (cells.toUpper[0] ? cells.lanes << cells.channels : 0));
  const __m512i lower = _mm512_setr_epi64(0, 1, 2, 8, 9, 10, 0, 0);
  const Pairing pairing = {{lower, _mm512_add_epi64(lower, _mm512_set1_epi64(cells.channels))},
                           static_cast<__mmask8>(cells.lanes | cells.lanes << 3)};
  const __m512i points = _mm512_setr_epi64(0, 0, 0, 1, 1, 1, 1, 1);
  const __m512d bound = _mm512_set1_pd(BoundOverMagnitude);
  const Cells local = cells; // which no store changes
  __m512d anySigns = _mm512_setzero_pd();
  for (std::size_t i = 0; i < count; i += 2)
  {
    __m512d sums[2];
    __m512d magnitudes[2];
    __m512d signs[2];
    for (std::size_t k = 0; k < 2; ++k)
    {
      fetch(local, block, i + k);
      __m512d rows[4];
      for (int r = 0; r < 4; ++r)
        rows[r] = loadDoubles(local.rows[r] + block.cells[i + k], texels);
      sums[k] = sumRows(rows, block, i + k);
      signs[k] = either(either(_mm512_setzero_pd(), rows[0], rows[1]), rows[2], rows[3]);
      anySigns = either(either(anySigns, rows[0], rows[1]), rows[2], rows[3]);
      if (Signed)
      {
        for (__m512d& row : rows)
          row = _mm512_abs_pd(row);
        magnitudes[k] = sumRows(rows, block, i + k);
      }
    }
    const __m512d weights[2] = {
        _mm512_maskz_permutexvar_pd(pairing.used, points, _mm512_loadu_pd(block.xWeights[0] + i)),
        _mm512_maskz_permutexvar_pd(pairing.used, points, _mm512_loadu_pd(block.xWeights[1] + i))};
    const __m512d value = blendAlongX(sums, pairing, weights);
    const __m512d reach = Signed ? blendAlongX(magnitudes, pairing, weights) : value;
    const __m256 low = _mm512_maskz_cvtpd_ps(pairing.used, _mm512_fnmadd_pd(reach, bound, value));
    const __m256 high = _mm512_maskz_cvtpd_ps(pairing.used, _mm512_fmadd_pd(reach, bound, value));
    int uncertain = _mm256_cmp_ps_mask(low, high, _CMP_NEQ_UQ);
    if (Signed)
    {
      const __m512d lowerSigns = _mm512_maskz_permutex2var_pd(pairing.used, signs[0], pairing.lanes[0], signs[1]);
      const __m512d upperSigns = _mm512_maskz_permutex2var_pd(pairing.used, signs[0], pairing.lanes[1], signs[1]);
      uncertain |= _mm256_cmp_ps_mask(high, _mm256_setzero_ps(), _CMP_EQ_OQ) &
                   _mm512_movepi64_mask(_mm512_castpd_si512(_mm512_or_pd(lowerSigns, upperSigns)));
    }
    block.uncertain[i / 2] = static_cast<std::uint8_t>(uncertain);
    _mm256_mask_storeu_ps(&results[i].x, 0x3f, high);
  }
  return _mm512_movepi64_mask(_mm512_castpd_si512(anySigns)) != 0;
}

/// Looks up alone the points of a block of which blending was not sure.
inline void lookUpUncertain(const Texture3& texture, const Block& block, vecT3<float>* results, std::size_t count)
{
  for (std::size_t pair = 0; 2 * pair < count; ++pair)
    if (const int bits = block.uncertain[pair]; __builtin_expect(bits != 0, 0))
      for (std::size_t i = 2 * pair; i < std::min(2 * pair + 2, count); ++i)
        if ((i % 2 ? bits >> 3 : bits & 7) != 0)
          results[i] = lookUp(texture, block.coords[i]);
}

/// Many lookups by either function, the second for negative texels.
inline void lookUpManyInBlocks(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results,
                               std::size_t count, BlendBlock blend, BlendBlock blendSigned)
{
  if (!isBlended(texture))
    return lookUpEach(texture, coords, results, count);
  if (static_cast<double>(texture.size.x) * texture.size.y * texture.size.z * texture.channels > INT32_MAX)
    return lookUpManyPortable(texture, coords, results, count);
  const Cells cells(texture);
  Block block = {};
  bool negative = false;
  for (std::size_t first = 0; first < count; first += BlockSize)
  {
    const std::size_t inBlock = std::min(count - first, BlockSize);
    for (std::size_t next = 0; next < sizeof block.coords; next += 64)
    {
      __builtin_prefetch(reinterpret_cast<const char*>(coords + first + BlockSize) + next);
      __builtin_prefetch(reinterpret_cast<const char*>(results + first + BlockSize) + next, 1);
    }
    const bool whole = inBlock == BlockSize;
    if (!whole)
      std::copy_n(coords + first, inBlock, block.coords);
    locateBlock(cells, whole ? &coords[first].x : &block.coords[0].x, block);
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

/// Many lookups, on processors that hasAvx2() tells.
inline void lookUpManyAvx2(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results,
                           std::size_t count)
{
  lookUpManyInBlocks(texture, coords, results, count, blendBlockAvx2<false>, blendBlockAvx2<true>);
}

/// Many lookups, on processors that hasAvx512() tells.
inline void lookUpManyAvx512(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results,
                             std::size_t count)
{
  if (texture.channels > MostChannelsAvx512)
    return lookUpManyAvx2(texture, coords, results, count);
  lookUpManyInBlocks(texture, coords, results, count, blendBlockAvx512<false>, blendBlockAvx512<true>);
}

} // namespace OmRenderShader::Kernel
#endif

#endif
