#ifndef OM_TEXTURE3_BLEND_H
#define OM_TEXTURE3_BLEND_H

// What all lookups of many points share.
//
// Distributions build with -O2. There GCC 12 leaves short loops rolled, and their vectors go through memory, which
// takes twice the time. So the loops over a point's rows are unrolled by `#pragma GCC unroll`.

#include "render/omRenderShader.h"

#include <limits>

namespace OmRenderShader
{

/// The most texels along an axis for which every index is a float.
constexpr int LargestSize = 1 << 24;

/// Whether there is anything to look up.
inline bool isUsable(const Texture3& texture)
{
  return texture.data && texture.channels > 0 && texture.size.x > 0 && texture.size.y > 0 && texture.size.z > 0;
}

/// Whether lookups of many points may blend in double precision. Otherwise they look up one point after the other.
inline bool isBlended(const Texture3& texture)
{
  return isUsable(texture) && texture.interpolate && texture.size.x <= LargestSize && texture.size.y <= LargestSize &&
         texture.size.z <= LargestSize;
}

/// Lookups of many points blend in double precision. If the result might round to another float than the extended
/// blend, they look the point up again by lookUp(). An interval around the result decides that. It reaches this part of
/// the largest magnitude, or of the blend of the magnitudes, to either side.
///
/// Proof that the interval is wide enough: let B be the blend of the eight texels' magnitudes and u = 2^-53. A step
/// (1 - f) a + f b rounds each texel's part of the sum at most three times: in 1 - f, in the product and in the sum. So
/// three steps are off by 9 u B. The other way is to add up the texels, each times the product of its weights along y
/// and z. It rounds a part three times in the weight and four times in the sum. A step along x makes that 10 u B. The
/// extended blend is 2048 times closer to the true value. Rounding the ends of the interval takes another u B. With the
/// terms of u^2, all of it is less than 12 u B, and the interval reaches 16 u B.
///
/// Rounding to float is monotonic: if both ends round to the same float, so does the extended blend. A double holds a
/// float times three fractions, so nothing overflows or underflows on the way. If a texel is infinite or NaN, the ends
/// never round to the same float.
constexpr double BoundOverMagnitude = 0x1p-49;
static_assert(std::numeric_limits<long double>::digits >= 64);

} // namespace OmRenderShader

#endif
