#ifndef OM_TOOLS_PICTURE_TEXTURE_H
#define OM_TOOLS_PICTURE_TEXTURE_H

#include "render/omTexture.h"

/// A picture in a 2-D texture, so that one shader serves all cards.
///
/// Where a card takes only powers of two, the picture lies in the corner of larger storage, and the rest of the storage
/// repeats the picture's last column and row: reads beyond the picture's edge give the edge on every card. Row 0 of the
/// texture is the top row of the picture.
class PictureTexture
{
public:
  /// Uploads a picture. `smooth` has reads between the pixels interpolate.
  void load(const OmImage& image, bool smooth);
  /// Makes an empty picture of RGBA pixels to render into, of bytes or 32-bit floats.
  void makeTarget(OmU32 width, OmU32 height, bool floats);
  /// Binds the texture on a unit.
  void bind(OmU32 unit) const;

  const OmTexture& texture() const { return m_texture; }
  OmU32 width() const { return m_width; }
  OmU32 height() const { return m_height; }
  /// Two numbers: the picture's size in pixels, and the size of one of them in texture coordinates.
  const float* size() const { return m_size; }
  const float* texelSize() const { return m_texelSize; }

  /// The side of the storage for a side of a picture.
  static OmU32 storageSide(OmU32 side);

private:
  void measure(OmU32 width, OmU32 height);
  const OmImage& padded(const OmImage& image);

  OmTexture m_texture;
  OmImage m_padded; ///< kept for the next picture
  OmU32 m_width = 0;
  OmU32 m_height = 0;
  float m_size[2] = {};
  float m_texelSize[2] = {};
};

#endif
