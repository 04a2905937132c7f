#ifndef OM_TOOLS_GL_INFORMATION_H
#define OM_TOOLS_GL_INFORMATION_H

#include "foundation/core/omTypes.h"

class LibraryLog;

/// What the OpenGL of the display says about itself. A limit of 0 belongs to something that is not supported.
struct GLInformation
{
  OmString renderer;
  OmString vendor;
  OmString version;
  OmU32 textureSize = 0;          ///< largest side of a texture, in texels
  OmU32 rectangleTextureSize = 0; ///< largest side of a rectangle texture, in texels
  OmU32 viewportWidth = 0;
  OmU32 viewportHeight = 0;
  OmU32 textureUnits = 0;
  OmU32 drawBuffers = 0;
  OmU32 colorAttachments = 0;
  OmU32 capabilities = 0; ///< bits of OmGL::Support

  /// The largest side, in pixels, of a picture that is stored as one of this size is (see OmTexture).
  OmU32 largestPictureSide(OmU32 width, OmU32 height) const;
};

/// Asks the OpenGL of the current context.
GLInformation currentGL();

/// Asks the OpenGL of a hidden window. Throws a Failure when none opens.
GLInformation queryGL(LibraryLog& log);

/// Throws the Failure that says why no window opens.
[[noreturn]] void failToOpenWindow(LibraryLog& log);

/// Throws a Failure when the library or GL has reported an error that no return value told of.
void checkErrors(const OmString& what, LibraryLog& log);

#endif
