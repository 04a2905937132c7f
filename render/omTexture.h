#ifndef OM_TEXTURE_H
#define OM_TEXTURE_H

#include "foundation/core/omTypes.h"
#include "image/omImage.h"
#include "render/omTextureParameters.h"

#include <boost/weak_ptr.hpp>

/// A GL texture that is filled from images of any size.
///
/// An image is stored at its own size where the card takes that (GL_ARB_texture_non_power_of_two), else on the
/// rectangle target (GL_ARB_texture_rectangle), else in the corner of padded power-of-two storage. textureCoords()
/// tells which part of the texture the image is; the draw operations show it upright in each case.
///
/// \code
///   OmTexture texture;
///   if (texture.loadFromFile("photo.jpg", OmTextureParameters(), OmImage::TopRowFirst))
///     texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
/// \endcode
///
/// Everything but the plain accessors works on the calling thread's current GL context, which is to be of the share
/// group that the texture was first loaded in. Loading an image of the size and format that are there already replaces
/// the texels in place, except in padded storage and with float conversion. Copies share one GL name and do not count
/// it: the first one released deletes it for all. Uploads set GL's unpack alignment and take the rest of the unpack
/// state, and the pixel buffer binding, to be the defaults; GL errors are not looked at (OmGL::printGLError()).
class OM_EXPORT OmTexture
{
public:
  /// A texture without a GL name; no GL call.
  OmTexture();
  /// A copy that uses the same GL texture, on unit 0.
  OmTexture(const OmTexture& other);
  /// Releases the texture (release()).
  virtual ~OmTexture();
  /// Takes over everything but the texture unit; the GL name held before is only forgotten.
  virtual OmTexture& operator=(const OmTexture& other);
  /// Whether both are the same GL texture with the same settings, size, extent and row order.
  virtual OmBoolean operator==(const OmTexture& other) const;

  /// Reads a picture file and loads it, its rows in the given order. False, with a line of print type 4, when it
  /// cannot be read; the texture is then as it was.
  virtual OmBoolean loadFromFile(const OmString& fileName, const OmTextureParameters& params,
                                 OmImage::Orientation orientation);
  /// Uploads an image, its flipped copy where that is in use. Parameters left at their defaults select GL_NEAREST
  /// filters. An image without pixels gives an empty texture of its size. False as for load(). Of more than 4 channels
  /// GL knows no image: a line of print type 4 says so, and the bytes are taken for RGB.
  virtual OmBoolean loadFromImage(const OmImage& image, const OmTextureParameters& params);
  /// Makes an empty texture to render into; its rows count as bottom row first. `width` and `height` in texels. False
  /// as for load().
  virtual OmBoolean loadShell(OmU32 width, OmU32 height, const OmTextureParameters& params);

  /// Binds the texture on its unit, which becomes the active one, and enables its target on the unit that was active
  /// before. The extent of padded storage goes into the unit's texture matrix (scaleTexture()). False without a name.
  virtual OmBoolean bind() const;
  /// Binds no texture to the target on the active unit.
  virtual OmBoolean unbind() const;

  /// Deletes the GL name, which it can only in its own share group: with no window current, or a window of another
  /// group, the name is forgotten and the GL texture goes with its contexts. The settings stay. False without a name.
  virtual OmBoolean release() const;

  /// Loads the texture matrix of the active unit with the scale that maps 0 to 1 to the picture in padded storage.
  /// Nothing for an unpadded texture.
  virtual void scaleTexture() const;
  /// Writes the image's extent as four floats: s at the left, t at the bottom, s at the right, t at the top edge of
  /// the picture as it is shown, in texels for rectangle textures. They hold with an identity texture matrix.
  virtual void textureCoords(float* coords) const;

  /// Draws the picture upright from (x0, y0) to (x1, y1), y pointing up, in the current projection, in white. Bound
  /// and enabled afterwards. Once the process has used padded or rectangle textures, also sets the unit's texture
  /// matrix to identity, respectively disables a rectangle target that would hide a 2-D texture.
  virtual OmBoolean drawScreenAlignedQuad(float x0, float y0, float x1, float y1) const;
  /// The same with two textures on two units; when both use unit 0, `other` moves to unit 1 for good. Sets no colour.
  /// Both draw operations return false when a texture without a GL name keeps them from drawing.
  virtual OmBoolean drawMultiTextureScreenAlignedQuad(const OmTexture& other, float x0, float y0, float x1,
                                                      float y1) const;

  /// The GL texture name; 0 when there is none.
  virtual OmU32 id() const;

  /// The texture unit for the next bind(), counted from 0.
  virtual void setUnit(unsigned int unit) const;
  /// The texture unit, counted from 0.
  virtual unsigned int unit() const;

  /// Sets the settings; nothing changes on the card until the next load.
  virtual void setTextureParameters(const OmTextureParameters& params);
  /// The settings; after a load those in effect, with the formats and the target that were chosen.
  virtual const OmTextureParameters& textureParameters() const;

  /// Chooses target, storage size and extent for an image of that size; called by the loading operations. True when
  /// the storage has the image's own size, false when it is padded.
  virtual OmBoolean calculatePOT(OmU32 width, OmU32 height);
  /// Uploads pixels of width() by height() texels in the pixel format of the parameters, rows packed, as
  /// calculatePOT() left things; null for storage alone. False without a name and, with a line of print type 4, when
  /// `size`, the number of bytes at `data`, is less than the storage needs or the current window is of another share
  /// group.
  virtual OmBoolean load(const OmU8* data, OmU32 size);

  /// The texture target in effect.
  OmU32 textureType() const { return m_parameters.textureType(); }
  /// The width of the storage in texels, padding included.
  OmU32 width() const { return m_width; }
  /// The height of the storage in texels, padding included.
  OmU32 height() const { return m_height; }

  /// The row order of the uploaded pixels.
  OmImage::Orientation orientation() const { return m_orientation; }
  /// Says which row comes first in pixels that are handed to load().
  void setOrientation(OmImage::Orientation orientation) { m_orientation = orientation; }

  /// Has uploads convert each byte to a float of 0.0 to 255.0.
  void setPerformFloatConversion(bool perform) { m_performFloatConversion = perform; }

protected:
  mutable OmU32 m_id;                 ///< GL name; 0 for none
  mutable OmU32 m_unit;               ///< texture unit, from 0
  OmTextureParameters m_parameters;   ///< settings in effect
  OmU32 m_width;                      ///< of the storage, in texels
  OmU32 m_height;                     ///< of the storage, in texels
  bool m_reuse;                       ///< the next load has the size of the one before
  bool m_padded;                      ///< the image is a part of power-of-two storage
  bool m_performFloatConversion;      ///< uploads convert bytes to floats
  float m_texCoords[4];               ///< the image's extent, its first row at the second number
  OmImage::Orientation m_orientation; ///< row order of the uploaded pixels

private:
  // What a GL name was given storage as; a name without storage has all zeros.
  struct Storage
  {
    OmU32 target = 0;
    OmU32 format = 0;
    OmU32 width = 0;
    OmU32 height = 0;
    OM_INTERNAL bool operator==(const Storage& other) const;
  };

  OM_INTERNAL void ensureName(const char* signature);
  OM_INTERNAL void matchNameToTarget(const char* signature);
  OM_INTERNAL void uploadFloats(const OmU8* data, OmU32 size);
  OM_INTERNAL bool isLargeEnough(OmU32 size) const;
  OM_INTERNAL bool bindForDrawing() const;
  OM_INTERNAL void enableAlone() const;

  boost::weak_ptr<const void> m_shareGroup; ///< where m_id lives
  Storage m_storage;
};

#endif
