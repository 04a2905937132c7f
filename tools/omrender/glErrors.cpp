#include "tools/omrender/glErrors.h"

#include "foundation/common/omUtils.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/libraryLog.h"

#include <GL/gl.h>

void checkErrors(const OmString& what, LibraryLog& log)
{
  if (log.hasErrors())
    throw Failure(what + ": " + log.takeReason(""));
  const GLenum error = glGetError();
  if (error == GL_OUT_OF_MEMORY)
    throw Failure(what + ": the graphics card is out of memory; scale the picture down first");
  // Rectangle textures do not know the wrap mode that textures begin with: to set it is an invalid enumerant.
  if (error != GL_NO_ERROR && error != GL_INVALID_ENUM)
    throw Failure(what + ": OpenGL error 0x" + OmINT2STRING(error, 16));
}
