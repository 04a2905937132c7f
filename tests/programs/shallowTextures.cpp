// For LD_PRELOAD: a card whose textures have 8 bits a channel.

#include <GL/gl.h>

extern "C" void glGetTexLevelParameteriv(GLenum, GLint, GLenum, GLint* value)
{
  *value = 8;
}
