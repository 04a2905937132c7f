#include "render/texture3/omTexture3Blend.h"
#include "render/texture3/omTexture3Blocks.h"
#include "render/texture3/omTexture3LookUp.h"

#if defined(__x86_64__)
#include <immintrin.h>

namespace OmRenderShader
{

namespace
{

/// Two neighbours along x have the channels to look up within eight floats.
constexpr int MostChannels = 5;

/// The sum of four rows, each times its weight. A row is the lower texel and the upper one.
struct Sum
{
  __m512d values;
  __m512d magnitudes; ///< the sum of the magnitudes, if `Signed`
  __m512d signs;      ///< the sign bits of all rows, if `Signed`
};

/// How the rows of two points become one vector, which has three components of the first point, then three of the
/// second.
struct Pairing
{
  __m512i lower; ///< the lanes of the lower texels
  __m512i upper;
  __mmask8 used;
};

/// Reads eight floats. Those not in `lanes` become 0 and may lie outside of the memory. In assembler because the
/// intrinsics take one instruction more.
[[gnu::target("avx512f"), gnu::always_inline]] inline __m512d readDoubles(const float* from, __mmask8 lanes)
{
  __m512d result;
  __asm__("vcvtps2pd %1, %0%{%2%}%{z%}" : "=v"(result) : "m"(*reinterpret_cast<const __m256_u*>(from)), "Yk"(lanes));
  return result;
}

/// The bits of any of three.
[[gnu::target("avx512f"), gnu::always_inline]] inline __m512d either(__m512d a, __m512d b, __m512d c)
{
  return _mm512_castsi512_pd(
      _mm512_ternarylogic_epi64(_mm512_castpd_si512(a), _mm512_castpd_si512(b), _mm512_castpd_si512(c), 0xfe));
}

[[gnu::target("avx512f"), gnu::always_inline]] inline __m512d addUp(const __m512d (&rows)[4],
                                                                    const Texture3Block& block, std::size_t i)
{
  __m512d sum = _mm512_mul_pd(rows[0], _mm512_set1_pd(block.rowWeights[0][i]));
#pragma GCC unroll 4
  for (int r = 1; r < 4; ++r)
    sum = _mm512_fmadd_pd(rows[r], _mm512_set1_pd(block.rowWeights[r][i]), sum);
  return sum;
}

/// Sums up the rows of point `i`. `texels` are the lanes to read. Adds the sign bits to `anySigns`.
template <bool Signed>
[[gnu::target("avx512f,avx512dq"), gnu::always_inline]] inline Sum
sumRows(const Texture3Cells& cells, __mmask8 texels, const Texture3Block& block, std::size_t i, __m512d& anySigns)
{
  __m512d rows[4];
#pragma GCC unroll 4
  for (int r = 0; r < 4; ++r)
    rows[r] = readDoubles(cells.rows[r] + block.cells[i], texels);
  anySigns = either(either(anySigns, rows[0], rows[1]), rows[2], rows[3]);
  Sum sum = {addUp(rows, block, i), _mm512_setzero_pd(), _mm512_setzero_pd()};
  if (Signed)
  {
    sum.signs = either(either(_mm512_setzero_pd(), rows[0], rows[1]), rows[2], rows[3]);
#pragma GCC unroll 4
    for (__m512d& row : rows)
      row = _mm512_abs_pd(row);
    sum.magnitudes = addUp(rows, block, i);
  }
  return sum;
}

[[gnu::target("avx512f")]] Pairing makePairing(const Texture3Cells& cells)
{
  const __m512i lower = _mm512_setr_epi64(0, 1, 2, 8, 9, 10, 0, 0);
  return {lower, _mm512_add_epi64(lower, _mm512_set1_epi64(cells.channels)),
          static_cast<__mmask8>(cells.lanes | cells.lanes << 3)};
}

/// The weights of points `i` and `i + 1`, three times each.
[[gnu::target("avx512f"), gnu::always_inline]] inline __m512d pairWeights(const double* weights, std::size_t i,
                                                                          const Pairing& pairing)
{
  const __m512i points = _mm512_setr_epi64(0, 0, 0, 1, 1, 1, 1, 1);
  return _mm512_maskz_permutexvar_pd(pairing.used, points, _mm512_loadu_pd(weights + i));
}

[[gnu::target("avx512f"), gnu::always_inline]] inline __m512d
blendAlongX(__m512d first, __m512d second, const Pairing& pairing, __m512d lowerWeight, __m512d upperWeight)
{
  const __m512d lower = _mm512_maskz_permutex2var_pd(pairing.used, first, pairing.lower, second);
  const __m512d upper = _mm512_maskz_permutex2var_pd(pairing.used, first, pairing.upper, second);
  return _mm512_fmadd_pd(upper, upperWeight, _mm512_mul_pd(lower, lowerWeight));
}

/// The components of two points that have a negative texel.
[[gnu::target("avx512f,avx512dq"), gnu::always_inline]] inline int negativeTexels(__m512d first, __m512d second,
                                                                                  const Pairing& pairing)
{
  const __m512d lower = _mm512_maskz_permutex2var_pd(pairing.used, first, pairing.lower, second);
  const __m512d upper = _mm512_maskz_permutex2var_pd(pairing.used, first, pairing.upper, second);
  return _mm512_movepi64_mask(_mm512_castpd_si512(_mm512_or_pd(lower, upper)));
}

/// Blends two points at a time.
template <bool Signed>
[[gnu::target("avx512f,avx512vl,avx512dq")]] bool blendBlock(const Texture3Cells& cells, Texture3Block& block,
                                                             vecT3<float>* results, std::size_t count)
{
  const auto texels = static_cast<__mmask8>(cells.lanes | (cells.toUpper[0] ? cells.lanes << cells.channels : 0));
  const Pairing pairing = makePairing(cells);
  const __m512d bound = _mm512_set1_pd(BoundOverMagnitude);
  const Texture3Cells local = cells; // spares reading it again after every store
  __m512d anySigns = _mm512_setzero_pd();
  for (std::size_t i = 0; i < count; i += 2)
  {
    prefetchTexels(local, block, i);
    const Sum first = sumRows<Signed>(local, texels, block, i, anySigns);
    prefetchTexels(local, block, i + 1);
    const Sum second = sumRows<Signed>(local, texels, block, i + 1, anySigns);

    const __m512d lowerWeight = pairWeights(block.xWeights[0], i, pairing);
    const __m512d upperWeight = pairWeights(block.xWeights[1], i, pairing);
    const __m512d value = blendAlongX(first.values, second.values, pairing, lowerWeight, upperWeight);
    const __m512d reach =
        Signed ? blendAlongX(first.magnitudes, second.magnitudes, pairing, lowerWeight, upperWeight) : value;
    const __m256 low = _mm512_maskz_cvtpd_ps(pairing.used, _mm512_fnmadd_pd(reach, bound, value));
    const __m256 high = _mm512_maskz_cvtpd_ps(pairing.used, _mm512_fmadd_pd(reach, bound, value));
    int uncertain = _mm256_cmp_ps_mask(low, high, _CMP_NEQ_UQ);
    if (Signed)
      uncertain |= _mm256_cmp_ps_mask(high, _mm256_setzero_ps(), _CMP_EQ_OQ) &
                   negativeTexels(first.signs, second.signs, pairing);
    block.uncertain[i / 2] = static_cast<std::uint8_t>(uncertain);
    _mm256_mask_storeu_ps(&results[i].x, 0x3f, high);
  }
  return _mm512_movepi64_mask(_mm512_castpd_si512(anySigns)) != 0;
}

} // namespace

bool hasAvx512()
{
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
}

void lookUpManyAvx512(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count)
{
  if (texture.channels > MostChannels)
    return lookUpManyAvx2(texture, coords, results, count);
  lookUpInBlocks(texture, coords, results, count, blendBlock<false>, blendBlock<true>);
}

} // namespace OmRenderShader
#endif
