#ifndef OM_IMAGE_READER_WRITER_H
#define OM_IMAGE_READER_WRITER_H

#include "image/omImage.h"

/// Reads and writes picture files.
///
/// \code
///   OmImage image;
///   if (!OmImageReaderWriter::read(image, "photo.jpg") || !OmImageReaderWriter::write(image, "photo.png"))
///     return 1; // the reason has been printed
/// \endcode
///
/// PNG and JPEG are read, told apart by their content and not by the file's name; PNG is written.
class OM_EXPORT OmImageReaderWriter
{
public:
  /// Reads a picture into `image`, top row first, with the 1 to 4 channels that the file has: grey, grey and alpha,
  /// RGB, RGBA. 16-bit channels are reduced to 8, a palette and a transparent colour are expanded, and a CMYK JPEG
  /// becomes RGB. A file that cannot be read, that ends early or that is damaged gives one line (print type 4) that
  /// names it and says why, returns false and leaves the image as it was.
  static OmBoolean read(OmImage& image, const OmString& fileName);

  /// Reads only a picture file's header: the size in pixels and the channel count that read() would give. A failure
  /// is reported as by read() and leaves the arguments as they were.
  static OmBoolean readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels);

  /// Writes the pixels of an image of 1 to 4 channels as a PNG file, complete or not at all: a temporary file in the
  /// same directory is renamed over `fileName` once everything is on the disk. A failure, an image without pixels
  /// or with another channel count included, gives one line (print type 4), returns false and leaves an existing file
  /// as it was.
  static OmBoolean write(const OmImage& image, const OmString& fileName);
};

#endif
