#ifndef OM_TEXTURE3_BLOCKS_H
#define OM_TEXTURE3_BLOCKS_H

// What the lookups in vectors share: they locate a block of points, then blend it.
//
// Functions get their instruction set by an attribute and not by flags for their file. The flags would also hold for
// inline functions of the standard library, and the linker may take these copies for all processors.

#include "render/omRenderShader.h"

#if defined(__x86_64__)
#include <cstdint>

namespace OmRenderShader
{

/// A texture as the vectors see it. A cell is two texels along each axis that has more than one. Every sample lies in a
/// cell, so its eight texels are always at the same distances from each other. A sample at the last texel or beyond
/// lies in the last cell. The texels that don't matter to a sample have weight 0. Offsets are in floats and fit 32
/// bits.
struct Texture3Cells
{
  float scale[3]; ///< the size, but 0 for a single texel, so that all samples lie on it
  int last[3];    ///< the last cell
  int stride[3];
  std::int64_t toUpper[3]; ///< from a lower texel to the upper one; 0 for a single texel
  const float* rows[4];    ///< the first cell's texels that are lower along x; bit 0 is z, bit 1 y
  int channels;
  int lanes;     ///< a bit for every channel that is looked up
  int lastWhole; ///< the last offset at which four floats can be read at each texel of a cell

  explicit Texture3Cells(const Texture3& texture);
};

/// Points are processed in blocks of this many.
constexpr std::size_t BlockSize = 64;
/// A point's texels are prefetched this many points before it is blended.
constexpr std::size_t PrefetchDistance = 12;

/// Points, and what blending them needs. A blend is the sum of eight texels, each times its weight.
struct alignas(64) Texture3Block
{
  vecT3<float> coords[BlockSize];
  vecT3<float> results[BlockSize]; ///< used if the caller has no room for a whole block
  double rowWeights[4][BlockSize];
  double xWeights[2][BlockSize + 8];                 ///< lower and upper; can be read eight at a time from any point on
  std::uint32_t cells[BlockSize + PrefetchDistance]; ///< offsets; can be read ahead from any point on
  std::uint8_t uncertain[BlockSize / 2]; ///< a bit for each uncertain component: three of a point, three of the next
  bool atEnd;                            ///< whether a cell lies beyond Texture3Cells::lastWhole
};

/// Prefetches the texels of the point that is PrefetchDistance after point `i`.
inline void prefetchTexels(const Texture3Cells& cells, const Texture3Block& block, std::size_t i)
{
#pragma GCC unroll 4
  for (const float* const row : cells.rows)
    __builtin_prefetch(row + block.cells[i + PrefetchDistance]);
}

/// Blends `count` points of a block into `results`, and may write one more if `count` is odd. Returns whether a texel
/// is negative or -0.
///
/// There are two functions of this type for each instruction set. The faster one is right without such texels: then
/// the blend is also the blend of the magnitudes, and all zeros are positive. The signed one blends the magnitudes as
/// well. It takes a zero for uncertain if one of the texels is negative, as the zero's sign depends on rounding.
using BlendBlock = bool (*)(const Texture3Cells& cells, Texture3Block& block, vecT3<float>* results, std::size_t count);

/// Looks up many points by the two functions. Needs AVX2.
void lookUpInBlocks(const Texture3& texture, const vecT3<float>* coords, vecT3<float>* results, std::size_t count,
                    BlendBlock blend, BlendBlock blendSigned);

} // namespace OmRenderShader
#endif

#endif
