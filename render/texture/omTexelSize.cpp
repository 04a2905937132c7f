#include "render/texture/omTexelSize.h"

#include <algorithm>
#include <iterator>

namespace
{

struct FormatSize
{
  GLenum format;
  unsigned int components;
};

constexpr FormatSize FormatSizes[] = {
    {GL_RGB, 3},
    {GL_RGBA, 4},
    {GL_LUMINANCE, 1},
    {GL_LUMINANCE_ALPHA, 2},
    {GL_RGB_INTEGER_EXT, 3},
    {GL_RGBA_INTEGER_EXT, 4},
    {GL_LUMINANCE_INTEGER_EXT, 1},
    {GL_LUMINANCE_ALPHA_INTEGER_EXT, 2},
    {GL_RED, 1},
    {GL_GREEN, 1},
    {GL_BLUE, 1},
    {GL_ALPHA, 1},
    {GL_RG, 2},
    {GL_BGR, 3},
    {GL_BGRA, 4},
    {GL_ABGR_EXT, 4},
    {GL_RED_INTEGER, 1},
    {GL_ALPHA_INTEGER_EXT, 1},
    {GL_RG_INTEGER, 2},
    {GL_BGR_INTEGER, 3},
    {GL_BGRA_INTEGER, 4},
    {GL_DEPTH_COMPONENT, 1},
    {GL_DEPTH_STENCIL, 2},
};

struct TypeSize
{
  GLenum type;
  unsigned int bytes;
  bool wholeTexel; ///< one value of the type holds all components of a texel
};

constexpr TypeSize TypeSizes[] = {
    {GL_UNSIGNED_BYTE, 1, false},
    {GL_BYTE, 1, false},
    {GL_UNSIGNED_SHORT, 2, false},
    {GL_SHORT, 2, false},
    {GL_UNSIGNED_INT, 4, false},
    {GL_INT, 4, false},
    {GL_HALF_FLOAT, 2, false},
    {GL_FLOAT, 4, false},
    {GL_UNSIGNED_BYTE_3_3_2, 1, true},
    {GL_UNSIGNED_BYTE_2_3_3_REV, 1, true},
    {GL_UNSIGNED_SHORT_5_6_5, 2, true},
    {GL_UNSIGNED_SHORT_5_6_5_REV, 2, true},
    {GL_UNSIGNED_SHORT_4_4_4_4, 2, true},
    {GL_UNSIGNED_SHORT_4_4_4_4_REV, 2, true},
    {GL_UNSIGNED_SHORT_5_5_5_1, 2, true},
    {GL_UNSIGNED_SHORT_1_5_5_5_REV, 2, true},
    {GL_UNSIGNED_INT_8_8_8_8, 4, true},
    {GL_UNSIGNED_INT_8_8_8_8_REV, 4, true},
    {GL_UNSIGNED_INT_10_10_10_2, 4, true},
    {GL_UNSIGNED_INT_2_10_10_10_REV, 4, true},
    {GL_UNSIGNED_INT_10F_11F_11F_REV, 4, true},
    {GL_UNSIGNED_INT_5_9_9_9_REV, 4, true},
    {GL_UNSIGNED_INT_24_8, 4, true},
    {GL_FLOAT_32_UNSIGNED_INT_24_8_REV, 8, true},
};

} // namespace

unsigned int omTexelSize(GLenum format, GLenum type)
{
  const auto formatSize = std::find_if(std::begin(FormatSizes), std::end(FormatSizes),
                                       [=](const FormatSize& size) { return size.format == format; });
  const auto typeSize =
      std::find_if(std::begin(TypeSizes), std::end(TypeSizes), [=](const TypeSize& size) { return size.type == type; });
  if (formatSize == std::end(FormatSizes) || typeSize == std::end(TypeSizes))
    return 0;
  return typeSize->bytes * (typeSize->wholeTexel ? 1 : formatSize->components);
}
