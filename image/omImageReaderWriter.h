#ifndef OM_IMAGE_READER_WRITER_H
#define OM_IMAGE_READER_WRITER_H

#include "image/omImage.h"

#include <vector>

/// Reads and writes picture files.
///
/// \code
///   OmImage image;
///   if (!OmImageReaderWriter::read(image, "photo.jpg") || !OmImageReaderWriter::write(image, "photo.png"))
///     return 1; // the reason has been printed
/// \endcode
///
/// PNG, JPEG, PPM, PGM and PAM are read, told apart by their content and not by the file's name; all of them but JPEG
/// are written. Several threads may read and write at once.
class OM_EXPORT OmImageReaderWriter
{
public:
  /// How pictures are read; values may be added.
  enum ReadFlags : OmU32
  {
    OpaqueAlpha = 0x1 ///< RGB pictures get a fourth channel of 255 everywhere, which some cards take more quickly
  };

  /// What pictures are written as.
  enum Format
  {
    PNG, ///< of 1 to 4 channels
    PPM, ///< of 3 channels; an image of 1 channel becomes a PGM picture
    PAM, ///< of 1 to 4 channels
    Raw  ///< the pixels alone, of 1 to 4 channels, top row first; only to write
  };

  /// How a PNG picture is compressed.
  enum Compression
  {
    Fast,    ///< quicker than Default; files are larger
    Default, ///< the best for most
    Small    ///< small files, which take many times as long
  };

  /// How a picture is written.
  struct WriteSettings
  {
    Format format = PNG;               ///< what it becomes
    Compression compression = Default; ///< of PNG
    OmBoolean withoutAlpha = false;    ///< the last channel of 2 or 4 is left out
  };

  /// Reads a picture into `image`, top row first, with the 1 to 4 channels that the file has: grey, grey and alpha,
  /// RGB, RGBA. 16-bit channels are reduced to 8, a palette and a transparent colour are expanded, and a CMYK JPEG
  /// becomes RGB. The picture stands upright: an EXIF orientation in the file is applied. If the file cannot be read,
  /// ends early or is damaged, one error message names it and says why. Then false is returned and the image is
  /// unchanged.
  static OmBoolean read(OmImage& image, const OmString& fileName);
  /// The same with ReadFlags, or 0.
  static OmBoolean read(OmImage& image, const OmString& fileName, OmU32 flags);

  /// Reads only a picture file's header: the size in pixels, upright, and the channel count that read() would give. A
  /// failure is reported as by read() and leaves the arguments unchanged.
  static OmBoolean readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels);

  /// Reads a picture file that is in memory, as read() does. Messages call it `name`.
  static OmBoolean decode(OmImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags);

  /// Reads only the header of a picture file that is in memory, as readHeader() does. Messages call it `name`.
  static OmBoolean decodeHeader(const std::vector<OmU8>& bytes, const OmString& name, OmU32& width, OmU32& height,
                                OmU32& channels);

  /// Writes the pixels of an image of 1 to 4 channels as a PNG file, complete or not at all: a temporary file in the
  /// same directory is renamed to `fileName` once everything is on the disk. If that fails, or the image has no pixels
  /// or another channel count, one error message names the file and says why. Then false is returned and an existing
  /// file is unchanged.
  static OmBoolean write(const OmImage& image, const OmString& fileName);
  /// The same in another format or with other settings.
  static OmBoolean write(const OmImage& image, const OmString& fileName, const WriteSettings& settings);

  /// Makes a picture file in memory, as write() does. Messages call it `name`. If that fails, `bytes` is unchanged.
  static OmBoolean encode(const OmImage& image, const OmString& name, const WriteSettings& settings,
                          std::vector<OmU8>& bytes);
};

#endif
