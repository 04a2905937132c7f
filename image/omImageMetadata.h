#ifndef OM_IMAGE_METADATA_H
#define OM_IMAGE_METADATA_H

#include "foundation/core/omTypes.h"

#include <array>
#include <optional>
#include <vector>

/// What a picture file says of its colours and its size on paper, beside the pixels. Nothing here changes a pixel.
///
/// \code
///   OmImageMetadata metadata;
///   if (!OmImageReaderWriter::read(image, "photo.jpg", 0, metadata))
///     return 1;
///   OmImageReaderWriter::WriteSettings settings;
///   settings.metadata = &metadata; // the photo's colour profile goes along
///   return OmImageReaderWriter::write(image, "photo.png", settings) ? 0 : 1;
/// \endcode
///
/// Each part is there or not. A file that is written gets those that its format has:
///
/// | | profile | resolution | gamma, chromaticities, renderingIntent, codePoints | origin |
/// |---|---|---|---|---|
/// | PNG | yes | yes | yes | yes: a tEXt chunk with the keyword Origin |
/// | JPEG | yes | yes | no | yes: a comment (COM) that begins with "Origin: " |
/// | WebP | yes | no | no | yes: an XMP packet |
/// | TIFF, only read | yes | yes | no | no |
/// | PPM, PGM, PAM | no | no | no | yes: a line "# Origin: ..." in the header |
/// | raw | no | no | no | no |
struct OmImageMetadata
{
  /// The largest profile that is read, in bytes; larger ones are left out.
  static constexpr std::size_t LargestProfile = std::size_t{16} << 20;

  /// The most characters of an origin.
  static constexpr std::size_t LongestOrigin = 256;

  /// How many pixels the picture has on paper.
  struct Resolution
  {
    OmU32 x;              ///< across
    OmU32 y;              ///< down
    OmBoolean isPerMetre; ///< false if only the ratio of both is known
  };

  /// An ICC profile, byte for byte; empty if there is none. It is written with pictures of its kind of colours: that of
  /// a CMYK picture with none, one for grey with grey pictures only, and one for RGB with those of 3 or 4 channels.
  std::vector<OmU8> profile;
  std::optional<Resolution> resolution; ///< neither number is 0
  std::optional<OmU32> gamma;           ///< of encoding, times 100000: 45455 is 1 / 2.2
  /// x and y of white, red, green and blue, times 100000.
  std::optional<std::array<OmU32, 8>> chromaticities;
  /// The colours are sRGB, to be rendered with this intent: 0 perceptual, 1 relative, 2 saturation, 3 absolute.
  std::optional<OmU8> renderingIntent;
  /// ITU-T H.273's numbers of primaries, transfer function and matrix, and 1 for the full range of values.
  std::optional<std::array<OmU8, 4>> codePoints;
  /// What the picture was made from, for programs to compare, such as a hash: printable ASCII without spaces, at most
  /// LongestOrigin characters; empty if there is none. A text that breaks this rule is neither written nor read. It
  /// holds for one file: who writes another picture with metadata that was read sets it anew, or clears it.
  OmString origin;
};

#endif
