#ifndef OM_RENDER_SHADER_H
#define OM_RENDER_SHADER_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <type_traits>

/// The work of a shader, done on the processor: vectors, a rotation matrix, lookups in a 3-D texture.
///
/// \code
///   using namespace OmRenderShader;
///   std::vector<float> texels = loadColorTable();   // 32 * 32 * 32 texels of red, green, blue
///   Texture3 table({32, 32, 32}, 3, texels.data()); // the texels stay the caller's
///   table.interpolate = 1;
///   const vecT3<float> one = table.tex3D({0.2f, 0.5f, 0.8f});
///   table.tex3D(colors.data(), results.data(), colors.size()); // many at once
/// \endcode
///
/// OmColorTable reads the texels of a texture from a .cube file. Only matT4<float>::rotate() needs a GL context.
namespace OmRenderShader
{

/// Three components without padding: GL can read an array of them.
template <class T>
struct vecT3
{
  T x; ///< first
  T y; ///< second
  T z; ///< third
};

/// Whether at least one component is true.
OM_EXPORT bool any(const vecT3<bool>& v);
/// Whether all components are true.
OM_EXPORT bool all(const vecT3<bool>& v);

/// A 4 by 4 matrix in GL's order, column by column: the element of a row and a column is `m[4 * column + row]`.
template <class T>
struct matT4
{
  T m[16]; ///< the elements, column by column
};

/// A matrix that can be rotated, and taken apart into angles. Angles are in degrees.
template <>
struct OM_EXPORT matT4<float>
{
  float m[16]; ///< the elements, column by column

  /// Multiplies from the left by right-handed rotations: the matrix M becomes Rx(angles.x) Ry(angles.y) Rz(angles.z) M.
  /// Angles are in degrees. GL computes the product on the modelview stack of the calling thread's current context,
  /// which needs one free place. Matrix mode, modelview matrix and stack depth are unchanged afterwards.
  void rotate(const vecT3<float>& angles);
  /// Takes a rotation matrix apart: M = Rz(angles.z) Rx(angles.x) Ry(angles.y). This order is not that of rotate().
  /// Writes the angles in degrees, each from 0 to below 360. If m[2] is zero, the y angle is 0 or 180. The angles of a
  /// matrix that is not a rotation mean nothing. NaN gives NaN.
  void makeRot(vecT3<float>& angles) const;
};

/// A 3-D texture in memory.
///
/// Texel k of an axis with n texels lies at coordinate k / n. Coordinates are clamped to 0 to 1, and NaN becomes 1. A
/// sample lies between the texels `lower` and `upper` of each axis. Let p be the coordinate times n, rounded to single
/// precision. `lower` is p without its fraction, `upper` is p rounded up, and neither exceeds n - 1. The weight of the
/// upper texel is p - lower.
struct OM_EXPORT Texture3
{
  vecT3<int> size; ///< texels along x, y and z, each at least 1
  int channels;    ///< floats per texel, at least 1; lookups use the first three
  /// The caller's texels: channel c of texel (x, y, z) is `data[((z * size.y + y) * size.x + x) * channels + c]`, with
  /// indices in 64 bits.
  float* data;
  int interpolate; ///< 0: the nearest texel, halfway the lower one; otherwise a blend of the eight around the sample

  /// A texture with `interpolate` 0. Keeps the pointer and does not copy the texels.
  Texture3(vecT3<int> textureSize, int channelCount, float* texels);

  /// Looks up one point. Components beyond the texture's channels are 0. All are 0 if the texture has no data or no
  /// channels, or if a size is below 1. A blend is computed in extended precision (`long double`), along z, then y,
  /// then x, and rounded to float. The result is a vector that the calling thread's next call overwrites.
  const vecT3<float>& tex3D(const vecT3<float>& coords) const;
  /// Looks up `count` points, several times faster than one at a time. In the default floating-point mode the results
  /// are bit for bit those of the lookup above. `results` has room for `count` vectors. It may be `coords` itself, but
  /// must not overlap it otherwise.
  void tex3D(const vecT3<float>* coords, vecT3<float>* results, std::size_t count) const;
};

static_assert(std::is_aggregate_v<vecT3<float>> && std::is_aggregate_v<matT4<float>>);
static_assert(std::is_standard_layout_v<vecT3<bool>> && std::is_trivially_copyable_v<vecT3<bool>>);
static_assert(std::is_standard_layout_v<vecT3<int>> && std::is_trivially_copyable_v<vecT3<int>>);
static_assert(std::is_standard_layout_v<vecT3<float>> && std::is_trivially_copyable_v<vecT3<float>>);
static_assert(std::is_standard_layout_v<matT4<float>> && std::is_trivially_copyable_v<matT4<float>>);
static_assert(sizeof(vecT3<bool>) == 3 * sizeof(bool) && sizeof(vecT3<int>) == 3 * sizeof(int));
static_assert(sizeof(vecT3<float>) == 3 * sizeof(float) && sizeof(matT4<float>) == 16 * sizeof(float));

} // namespace OmRenderShader

#endif
