#ifndef OM_PICTURE_TEXTURE_H
#define OM_PICTURE_TEXTURE_H

#include "image/omDeepImage.h"
#include "render/filter/omTablePicture.h"
#include "render/omTexture.h"

#include <cstdint>
#include <vector>

/// A picture in a 2-D texture, so that one shader serves all cards.
///
/// On a card that takes only powers of two (without GL_ARB_texture_non_power_of_two), the picture lies in the corner of
/// larger storage. The rest of the storage repeats the picture's last column and row, so that reads beyond the
/// picture's edge give the edge on every card. Row 0 of the texture is the top row of the picture.
///
/// RGB goes to the card as RGBA: drivers convert three bytes a pixel more slowly than it is done here.
class OmPictureTexture
{
public:
  /// What the channels are stored as.
  enum Samples
  {
    Bytes,
    Words, ///< 16 bits, from 0 to 1
    Floats ///< 32 bits
  };

  /// Uploads a picture of 1 to 4 channels, top row first.
  void load(const OmImage& image);
  /// Uploads a picture of 1 to 4 channels as words or floats.
  void load(const OmDeepImage& image, Samples samples);
  /// Uploads a colour table as 32-bit floats, or as bytes on a card without float textures.
  void load(const OmTablePicture& table);
  /// Makes an empty picture of RGBA pixels to render into.
  void makeTarget(OmU32 width, OmU32 height, Samples samples);
  /// Binds the texture on a unit.
  void bind(OmU32 unit) const;

  /// Whether it was made with that size and those samples.
  bool isLike(OmU32 width, OmU32 height, Samples samples) const
  {
    return m_width == width && m_height == height && m_samples == samples;
  }
  const OmTexture& texture() const { return m_texture; }
  OmU32 width() const { return m_width; }
  OmU32 height() const { return m_height; }
  /// The size of the texture that the picture lies in, in pixels.
  OmU32 storageWidth() const { return m_storageWidth; }
  OmU32 storageHeight() const { return m_storageHeight; }
  /// Two numbers: the picture's size in pixels.
  const float* size() const { return m_size; }
  /// Two numbers: the size of a pixel in texture coordinates.
  const float* texelSize() const { return m_texelSize; }

  /// The largest side of a picture whose storage has no side larger than `limit`, in pixels.
  static OmU32 largestSide(OmU32 limit);

private:
  void measure(OmU32 width, OmU32 height);
  const OmImage& storage(const OmImage& image);
  const std::uint16_t* storage(const OmDeepImage& image);

  OmTexture m_texture;
  OmImage m_stored; ///< what was uploaded, if it is not the picture itself; kept for the next one
  std::vector<std::uint16_t> m_storedWords; ///< the same of a deep image
  Samples m_samples = Bytes;
  OmU32 m_width = 0;
  OmU32 m_height = 0;
  OmU32 m_storageWidth = 0;
  OmU32 m_storageHeight = 0;
  float m_size[2] = {};
  float m_texelSize[2] = {};
};

#endif
