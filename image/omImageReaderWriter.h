#ifndef OM_IMAGE_READER_WRITER_H
#define OM_IMAGE_READER_WRITER_H

#include "image/omDeepImage.h"
#include "image/omImage.h"
#include "image/omImageMetadata.h"

#include <vector>

/// Reads and writes picture files.
///
/// \code
///   OmImage image;
///   if (!OmImageReaderWriter::read(image, "photo.jpg") || !OmImageReaderWriter::write(image, "photo.png"))
///     return 1; // the reason has been printed
/// \endcode
///
/// PNG, JPEG, WebP, TIFF, PPM, PGM and PAM are read, told apart by their content and not by the file's name; all of
/// them but TIFF are written. A library may be built without WebP or TIFF; formats() tells. Several threads may read
/// and write at once.
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
    PNG,  ///< of 1 to 4 channels
    PPM,  ///< of 3 channels; an image of 1 channel becomes a PGM picture
    PAM,  ///< of 1 to 4 channels
    Raw,  ///< the pixels alone, of 1 to 4 channels, top row first; only to write
    JPEG, ///< of 1 or 3 channels; a picture with alpha is laid over white
    WebP, ///< of 3 or 4 channels; grey becomes RGB
    TIFF  ///< of 1 to 4 channels, the first page of the file; only to read
  };

  /// What this library does with a format.
  struct FormatSupport
  {
    Format format;                  ///< which one
    OmString name;                  ///< in small letters, as in "jpeg"
    std::vector<OmString> suffixes; ///< of file names, in small letters and with the dot; the usual one first
    OmBoolean isRead;               ///< it is read
    OmBoolean isWritten;            ///< it is written
  };

  /// How much work compressing takes. It changes the size of a file, and of WebP with a quality also the pixels a bit.
  enum Compression
  {
    Fast,    ///< quicker than Default; files are larger
    Default, ///< the best for most
    Small    ///< small files, which take many times as long
  };

  /// What becomes of the channels of an image that is written.
  enum Channels
  {
    AsTheyAre,   ///< the image's own
    GreyIfEqual, ///< RGB becomes grey, and RGBA grey and alpha, if red, green and blue are equal in every pixel
    Grey,        ///< grey: of colours their light, by ITU-R BT.709, where equal ones keep their value
    GreyAlpha,   ///< grey and alpha
    RGB,         ///< grey in all three, or the colours
    RGBA         ///< the same and alpha, 255 if the image has none
  };

  /// How a picture is written.
  struct WriteSettings
  {
    Format format = PNG;               ///< what it becomes
    Compression compression = Default; ///< of PNG, JPEG and WebP
    OmBoolean withoutAlpha = false;    ///< the last channel of 2 or 4 is left out
    /// What a format does not hold is not written: WebP has no grey. Without withoutAlpha, a picture that has alpha and
    /// does not get it is laid over white.
    Channels channels = AsTheyAre;
    /// Of JPEG and WebP, from 1 to 100. With 0 WebP is written without loss and JPEG with a quality of 90. From 90 on
    /// JPEG stores the colours of each pixel (4:4:4), below those of squares of four (4:2:0).
    int quality = 0;
    /// What is written beside the pixels, as far as the format has it; null for nothing. It must outlive the call.
    const OmImageMetadata* metadata = nullptr;
  };

  /// All formats, those that this library was built without included.
  static const std::vector<FormatSupport>& formats();

  /// Gives the format that a file's name has by its suffix, in small or capital letters. If it has none of those that
  /// formats() lists, false is returned and `format` is unchanged.
  static OmBoolean formatOfName(const OmString& fileName, Format& format);

  /// Reads a picture into `image`, top row first, with the 1 to 4 channels that the file has: grey, grey and alpha,
  /// RGB, RGBA. 16-bit channels are reduced to 8, a palette and a transparent colour are expanded, and CMYK
  /// becomes RGB. The picture stands upright: an EXIF orientation in the file is applied. If the file cannot be read,
  /// ends early or is damaged, one error message names it and says why. Then false is returned and the image is
  /// unchanged.
  static OmBoolean read(OmImage& image, const OmString& fileName);
  /// The same with ReadFlags, or 0.
  static OmBoolean read(OmImage& image, const OmString& fileName, OmU32 flags);
  /// The same, and what the file says besides its pixels. What is damaged there is left out. If the picture cannot be
  /// read, `metadata` is unchanged too.
  static OmBoolean read(OmImage& image, const OmString& fileName, OmU32 flags, OmImageMetadata& metadata);

  /// The same with 16-bit channels. PNG and TIFF files of 16 bits keep them; the channels of all others are those that
  /// an OmImage gets, times 257.
  static OmBoolean read(OmDeepImage& image, const OmString& fileName);
  /// The same with ReadFlags, or 0, and what the file says besides its pixels.
  static OmBoolean read(OmDeepImage& image, const OmString& fileName, OmU32 flags, OmImageMetadata& metadata);

  /// Reads only a picture file's header: the size in pixels, upright, and the channel count that read() would give. A
  /// failure is reported as by read() and leaves the arguments unchanged.
  static OmBoolean readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels);
  /// The same, and the bits of a channel: 16 if an OmDeepImage keeps more of the file than an OmImage does,
  /// otherwise 8.
  static OmBoolean readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels, OmU32& depth);

  /// Reads only what a picture file says besides its pixels, as read() does. It reads little of the file and decodes no
  /// pixels, but fails if the file is not whole: if it does not end where its picture ends. A PNG file ends with a
  /// whole IEND chunk or later, a JPEG file with the marker EOI; WebP, PPM, PGM and PAM files have the size that their
  /// header says, for one picture. Of TIFF only the header is looked at. A failure is reported as by read() and leaves
  /// `metadata` unchanged.
  static OmBoolean readMetadata(const OmString& fileName, OmImageMetadata& metadata);

  /// Reads a picture file that is in memory, as read() does. Messages call it `name`.
  static OmBoolean decode(OmImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags);
  /// The same, and what the file says besides its pixels, as read() does.
  static OmBoolean decode(OmImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags,
                          OmImageMetadata& metadata);
  /// The same with 16-bit channels, as read() does.
  static OmBoolean decode(OmDeepImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags,
                          OmImageMetadata& metadata);

  /// Reads only the header of a picture file that is in memory, as readHeader() does. Messages call it `name`.
  static OmBoolean decodeHeader(const std::vector<OmU8>& bytes, const OmString& name, OmU32& width, OmU32& height,
                                OmU32& channels);
  /// The same, and the bits of a channel, as readHeader() does.
  static OmBoolean decodeHeader(const std::vector<OmU8>& bytes, const OmString& name, OmU32& width, OmU32& height,
                                OmU32& channels, OmU32& depth);

  /// Writes the pixels of an image of 1 to 4 channels as a PNG file, complete or not at all: a temporary file in the
  /// same directory is renamed to `fileName` once everything is on the disk. If that fails, or the image has no pixels
  /// or another channel count, one error message names the file and says why. Then false is returned and an existing
  /// file is unchanged.
  static OmBoolean write(const OmImage& image, const OmString& fileName);
  /// The same in another format or with other settings.
  static OmBoolean write(const OmImage& image, const OmString& fileName, const WriteSettings& settings);
  /// The same with 16-bit channels. PNG keeps them; other formats get OmDeepImage::toImage().
  static OmBoolean write(const OmDeepImage& image, const OmString& fileName, const WriteSettings& settings);

  /// Makes a picture file in memory, as write() does. Messages call it `name`. If that fails, `bytes` is unchanged.
  static OmBoolean encode(const OmImage& image, const OmString& name, const WriteSettings& settings,
                          std::vector<OmU8>& bytes);
  /// The same with 16-bit channels, as write() does.
  static OmBoolean encode(const OmDeepImage& image, const OmString& name, const WriteSettings& settings,
                          std::vector<OmU8>& bytes);
};

#endif
