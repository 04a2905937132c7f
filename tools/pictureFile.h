#ifndef OM_TOOLS_PICTURE_FILE_H
#define OM_TOOLS_PICTURE_FILE_H

#include "foundation/core/omTypes.h"

class LibraryLog;

/// A picture file and the size that its header tells, in pixels.
struct Picture
{
  OmString file;
  OmU32 width;
  OmU32 height;
};

/// Reads a picture's size. Throws a Failure when the file is no picture.
Picture readHeader(const OmString& file, LibraryLog& log);

/// "640 x 480", for messages.
OmString sizeText(OmU32 width, OmU32 height);

/// Throws a Failure when the picture does not fit into `width` by `height` pixels, which are those of `whose`.
void checkSize(const Picture& picture, OmU32 width, OmU32 height, const OmString& whose);

/// Throws a Failure when an output is a picture's own file.
void checkDistinct(const OmString& picture, const OmString& output);

/// Throws a Failure for what would keep a file from being written, while nothing has been done yet.
void checkTarget(const OmString& file);

#endif
