#ifndef OM_TEXEL_SIZE_H
#define OM_TEXEL_SIZE_H

#include <GL/gl.h>

/// The size in bytes of a texel in memory, for a pixel format and a data type of glTexImage2D(). 0 if one of them is
/// unknown.
unsigned int omTexelSize(GLenum format, GLenum type);

#endif
