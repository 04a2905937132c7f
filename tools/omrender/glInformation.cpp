#include "tools/omrender/glInformation.h"

#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "tools/omrender/display.h"

#include <algorithm>

namespace
{

OmString glString(GLenum name)
{
  const GLubyte* const text = glGetString(name);
  return text ? reinterpret_cast<const char*>(text) : "";
}

OmU32 glLimit(GLenum name)
{
  GLint limit = 0;
  glGetIntegerv(name, &limit);
  return static_cast<OmU32>(std::max(limit, 0));
}

OmU32 glLimit(OmU32 capability, GLenum name)
{
  return OmGL::isSupported(capability) ? glLimit(name) : 0;
}

} // namespace

OmU32 GLInformation::largestPictureSide(OmU32 width, OmU32 height) const
{
  const bool powersOf2 = OmGL::powerOf2(width) == width && OmGL::powerOf2(height) == height;
  const bool rectangle = !powersOf2 && !(capabilities & OmGL::SupportNPOT) && rectangleTextureSize > 0;
  return std::min({rectangle ? rectangleTextureSize : textureSize, viewportWidth, viewportHeight});
}

GLInformation currentGL()
{
  GLInformation gl;
  gl.renderer = glString(GL_RENDERER);
  gl.vendor = glString(GL_VENDOR);
  gl.version = glString(GL_VERSION);
  gl.textureSize = glLimit(GL_MAX_TEXTURE_SIZE);
  gl.rectangleTextureSize = glLimit(OmGL::SupportTextureRectangle, GL_MAX_RECTANGLE_TEXTURE_SIZE_ARB);
  GLint viewport[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  gl.viewportWidth = static_cast<OmU32>(std::max(viewport[0], 0));
  gl.viewportHeight = static_cast<OmU32>(std::max(viewport[1], 0));
  gl.textureUnits = std::max(glLimit(GL_MAX_TEXTURE_UNITS_ARB), OmU32{1}); // 1 without multitexturing
  gl.drawBuffers = glLimit(OmGL::SupportDrawBuffers, GL_MAX_DRAW_BUFFERS_ARB);
  gl.colorAttachments = glLimit(OmGL::SupportFBO, GL_MAX_COLOR_ATTACHMENTS_EXT);
  gl.capabilities = OmGL::supportStatus;
  return gl;
}

GLInformation queryGL(LibraryLog& log)
{
  OmSimpleWindow window;
  window.setHideWindow(true);
  openWindow(window, log);
  return currentGL();
}
