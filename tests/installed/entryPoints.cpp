// A program as a caller would write it: calls through the exported pointers after a window has opened. Built and linked
// in every way that matters by installedTest.sh.

#include "render/omGL.h"
#include "render/omSimpleWindow.h"

int main()
{
  // The GL library's functions of the same names are never null.
#define OM_GL_ENTRY_POINT(group, type, name)                                                                           \
  if (name)                                                                                                            \
    return 3;
#include "render/omGLEntryPoints.def"

  OmSimpleWindow window;
  window.setHideWindow(true);
  if (!window.init() || !OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportVBO))
    return 4;
  GLuint framebuffer = 0;
  glGenFramebuffersEXT(1, &framebuffer);
  glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, framebuffer);
  GLint bound = 0;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &bound);
  glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
  glDeleteFramebuffersEXT(1, &framebuffer);
  return bound != 0 && GLuint(bound) == framebuffer && OmGL::printGLError(__FILE__, __LINE__) ? 0 : 5;
}
