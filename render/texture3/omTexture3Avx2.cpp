#include "render/texture3/omTexture3Blend.h"
#include "render/texture3/omTexture3Blocks.h"
#include "render/texture3/omTexture3LookUp.h"

#if defined(__x86_64__)
#include <immintrin.h>

namespace OmRenderShader
{

namespace
{

/// The sum of four texels, each times its weight.
struct Sum
{
  __m256d values;
  __m256d magnitudes; ///< the sum of the magnitudes, if `Signed`
  __m256d signs;      ///< the sign bits of all texels
};

/// Reads four floats at each texel, or if `AtEnd` only those in `lanes`, as the texture may end before the others.
template <bool Signed, bool AtEnd>
[[gnu::target("avx2,fma"), gnu::always_inline]] inline Sum
sumRows(const float* const (&rows)[4], std::int64_t offset, __m128i lanes, const Texture3Block& block, std::size_t i)
{
  const __m256d signBit = _mm256_set1_pd(-0.0);
  Sum sum = {_mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd()};
#pragma GCC unroll 4
  for (int r = 0; r < 4; ++r)
  {
    const float* const texel = rows[r] + offset;
    const __m256d values = _mm256_cvtps_pd(AtEnd ? _mm_maskload_ps(texel, lanes) : _mm_loadu_ps(texel));
    const __m256d weight = _mm256_broadcast_sd(block.rowWeights[r] + i);
    sum.values = _mm256_fmadd_pd(values, weight, sum.values);
    sum.signs = _mm256_or_pd(sum.signs, values);
    if (Signed)
      sum.magnitudes = _mm256_fmadd_pd(_mm256_andnot_pd(signBit, values), weight, sum.magnitudes);
  }
  return sum;
}

[[gnu::target("avx2,fma"), gnu::always_inline]] inline __m256d blendAlongX(__m256d lower, __m256d upper,
                                                                           const Texture3Block& block, std::size_t i)
{
  return _mm256_fmadd_pd(upper, _mm256_broadcast_sd(block.xWeights[1] + i),
                         _mm256_mul_pd(lower, _mm256_broadcast_sd(block.xWeights[0] + i)));
}

/// With a vector for each texel.
template <bool Signed, bool AtEnd>
[[gnu::target("avx2,fma")]] bool blendTexels(const Texture3Cells& cells, Texture3Block& block, vecT3<float>* results,
                                             std::size_t count)
{
  const __m128i laneBits = _mm_setr_epi32(1, 2, 4, 8);
  const __m128i lanes = _mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(cells.lanes), laneBits), laneBits);
  const __m256d bound = _mm256_set1_pd(BoundOverMagnitude);
  const Texture3Cells local = cells; // spares reading it again after every store
  __m256d anySigns = _mm256_setzero_pd();
  for (std::size_t i = 0; i < count; ++i)
  {
    prefetchTexels(local, block, i);
    const Sum lower = sumRows<Signed, AtEnd>(local.rows, block.cells[i], lanes, block, i);
    const Sum upper = sumRows<Signed, AtEnd>(local.rows, block.cells[i] + local.toUpper[0], lanes, block, i);
    const __m256d signs = _mm256_or_pd(lower.signs, upper.signs);
    anySigns = _mm256_or_pd(anySigns, signs);

    const __m256d value = blendAlongX(lower.values, upper.values, block, i);
    const __m256d reach = Signed ? blendAlongX(lower.magnitudes, upper.magnitudes, block, i) : value;
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
bool blendBlock(const Texture3Cells& cells, Texture3Block& block, vecT3<float>* results, std::size_t count)
{
  const auto blend = block.atEnd ? blendTexels<Signed, true> : blendTexels<Signed, false>;
  return blend(cells, block, results, count);
}

} // namespace

bool hasAvx2()
{
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}

void lookUpManyAvx2(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count)
{
  lookUpInBlocks(texture, coords, results, count, blendBlock<false>, blendBlock<true>);
}

} // namespace OmRenderShader
#endif
