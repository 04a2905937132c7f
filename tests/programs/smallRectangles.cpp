// For LD_PRELOAD: a card whose rectangle textures have sides of 100 texels at most.

#include <GL/gl.h>
#include <GL/glext.h>
#include <dlfcn.h>

extern "C" void glGetIntegerv(GLenum name, GLint* values)
{
  static const auto next = reinterpret_cast<void (*)(GLenum, GLint*)>(dlsym(RTLD_NEXT, "glGetIntegerv"));
  next(name, values);
  if (name == GL_MAX_RECTANGLE_TEXTURE_SIZE_ARB)
    *values = 100;
}
