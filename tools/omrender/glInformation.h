#ifndef OM_TOOLS_GL_INFORMATION_H
#define OM_TOOLS_GL_INFORMATION_H

#include "foundation/core/omTypes.h"

class LibraryLog;

/// What an OpenGL says about itself. A limit is 0 when the card does not support what it limits.
struct GLInformation
{
  OmString renderer;
  OmString vendor;
  OmString version;
  OmU32 textureSize = 0;          ///< largest side of a texture, in texels
  OmU32 rectangleTextureSize = 0; ///< largest side of a rectangle texture, in texels
  OmU32 viewportWidth = 0;        ///< in pixels
  OmU32 viewportHeight = 0;       ///< in pixels
  OmU32 textureUnits = 0;
  OmU32 drawBuffers = 0;
  OmU32 colorAttachments = 0;
  OmU32 capabilities = 0; ///< bits of OmGL::Support

  /// The largest side, in pixels, of pictures that OmTexture stores in the same way as one of this size.
  OmU32 largestPictureSide(OmU32 width, OmU32 height) const;
};

/// Asks the OpenGL of the current context.
GLInformation currentGL();

/// Asks the OpenGL of a hidden window. Throws a Failure when the window does not open.
GLInformation queryGL(LibraryLog& log);

#endif
