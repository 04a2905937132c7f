#ifndef OM_TOOLS_PICTURE_FILE_H
#define OM_TOOLS_PICTURE_FILE_H

#include "image/omImageReaderWriter.h"

#include <vector>

class LibraryLog;

/// A picture file and what its header says.
struct PictureFile
{
  OmString file;
  OmU32 width;     ///< in pixels
  OmU32 height;    ///< in pixels
  OmU32 channels;  ///< grey, grey and alpha, RGB, or RGBA
  OmU32 depth = 8; ///< the bits of a channel, 8 or 16

  bool hasAlpha() const { return channels % 2 == 0; }
};

/// Reads the header of a picture. Throws a Failure when the file is no picture.
PictureFile readHeader(const OmString& file, LibraryLog& log);

/// Reads a picture, with flags of OmImageReaderWriter, and its metadata if they are asked for: without its origin,
/// which pictures made from this one do not have. Throws a Failure when that fails.
OmImage readPicture(const OmString& file, LibraryLog& log, OmU32 flags = 0, OmImageMetadata* metadata = nullptr);

/// The same with 16-bit channels.
OmDeepImage readDeepPicture(const OmString& file, LibraryLog& log, OmU32 flags, OmImageMetadata& metadata);

/// Writes a picture, by default as PNG. A signal meanwhile ends the program when that is done. Throws a Failure when it
/// fails; whoever reports that calls endIfSignalled().
void writePicture(const OmImage& image, const OmString& file, LibraryLog& log,
                  const OmImageReaderWriter::WriteSettings& settings = {});
/// The same with 16-bit channels.
void writePicture(const OmDeepImage& image, const OmString& file, LibraryLog& log,
                  const OmImageReaderWriter::WriteSettings& settings);

/// "640 x 480", for messages.
OmString sizeText(OmU32 width, OmU32 height);

/// Throws a Failure, of the status NoCard, when the picture has more than `width` by `height` pixels. `whose` names in
/// the message what has that limit.
void checkSize(const PictureFile& picture, OmU32 width, OmU32 height, const OmString& whose);

/// Throws a Failure when an output is one of the inputs, also under another name.
void checkNotRead(const std::vector<OmString>& outputs, const std::vector<OmString>& inputs);

/// Throws a Failure when a file cannot be written there. Writes nothing.
void checkTarget(const OmString& file);

#endif
