#ifndef OM_TEXTURE_H
#define OM_TEXTURE_H

#include "foundation/core/omTypes.h"
#include "image/omImage.h"
#include "render/omShareGroup.h"
#include "render/omTextureParameters.h"

/// A GL texture that is filled from images of any size.
///
/// An image is stored at its own size if the card can do that (GL_ARB_texture_non_power_of_two). Otherwise it goes to
/// the rectangle target (GL_ARB_texture_rectangle). If the card lacks that too, it goes into the corner of padded
/// power-of-two storage. textureCoords() says which part of the texture the image is. The draw operations show it
/// upright in each case.
///
/// \code
///   OmTexture texture;
///   if (texture.loadFromFile("photo.jpg", OmTextureParameters(), OmImage::TopRowFirst))
///     texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
/// \endcode
///
/// Everything but the plain accessors works on the calling thread's current GL context, which must belong to the share
/// group in which the texture was first loaded. Loading an image with the size and format of the one before replaces
/// the texels in place, except in padded storage and with float conversion. Copies share one GL name and do not count
/// its users: the first copy that is released deletes it for all. Uploads set GL's unpack alignment to 1; the rest of
/// the unpack state and the pixel buffer binding must be at their defaults. GL errors are not checked
/// (OmGL::printGLError()).
class OM_EXPORT OmTexture
{
public:
  /// A texture without a GL name. Makes no GL call.
  OmTexture();
  /// A copy that uses the same GL texture, on unit 0.
  OmTexture(const OmTexture& other);
  /// Releases the texture (release()).
  virtual ~OmTexture();
  /// Takes over everything but the texture unit. The GL name held before is forgotten, not deleted.
  virtual OmTexture& operator=(const OmTexture& other);
  /// Whether both are the same GL texture with the same settings, size, extent and row order.
  virtual OmBoolean operator==(const OmTexture& other) const;

  /// Reads a picture file and loads it with its rows in the given order. Returns false, with an error message, if the
  /// file cannot be read; the texture is then unchanged. Otherwise returns what loadFromImage() returns.
  virtual OmBoolean loadFromFile(const OmString& fileName, const OmTextureParameters& params,
                                 OmImage::Orientation orientation);
  /// Uploads an image, or its flipped copy if that is in use (OmImage::isFlipped()). Parameters equal to the defaults
  /// select GL_NEAREST filters. An image without pixels gives an empty texture of its size. GL has no format for more
  /// than 4 channels: such an image gives an error message, and its bytes are read in the pixel format of the
  /// parameters, or as RGB if that is not chosen. Returns false like load().
  virtual OmBoolean loadFromImage(const OmImage& image, const OmTextureParameters& params);
  /// Makes a texture with undefined texels to render into. `width` and `height` are in texels, and the rows count as
  /// bottom row first. Returns false like load().
  virtual OmBoolean loadShell(OmU32 width, OmU32 height, const OmTextureParameters& params);

  /// Binds the texture on its unit and makes that unit the active one. Enables the texture's target on the unit that
  /// was active before. For padded storage, also loads the unit's texture matrix (scaleTexture()). Returns false
  /// without a GL name and, with an error message, while no window of the texture's share group is current.
  virtual OmBoolean bind() const;
  /// Binds texture 0 to the target on the active unit. Always true.
  virtual OmBoolean unbind() const;

  /// Deletes the GL name; the settings stay. While no window of its share group is current, the name is kept and
  /// deleted when one is made current next. A name that was made outside of all windows is only forgotten. Returns
  /// false without a GL name.
  virtual OmBoolean release() const;

  /// Loads the texture matrix of the active unit with the scale that maps 0 to 1 to the picture in padded storage. Does
  /// nothing for a texture that is not padded or has no GL name.
  virtual void scaleTexture() const;
  /// Writes four floats, the extent of the image in texture coordinates: s at the left, t at the bottom, s at the right
  /// and t at the top edge of the picture as shown. They are in texels for rectangle textures, and from 0 to 1
  /// otherwise. They hold with an identity texture matrix.
  virtual void textureCoords(float* coords) const;

  /// Draws the picture upright from (x0, y0) to (x1, y1), y pointing up, in the current projection, in white. The
  /// texture is bound and enabled afterwards. If the process has ever bound a padded texture, also sets the unit's
  /// texture matrix to identity. If it has ever bound a rectangle texture, drawing a 2-D texture also disables the
  /// rectangle target, which would hide that texture. Returns false, and draws nothing, if bind() fails.
  virtual OmBoolean drawScreenAlignedQuad(float x0, float y0, float x1, float y1) const;
  /// The same with two textures on two units. If both use unit 0, `other` is moved to unit 1 and stays there. Sets no
  /// colour. Returns false, and draws nothing, if one of the two cannot be bound.
  virtual OmBoolean drawMultiTextureScreenAlignedQuad(const OmTexture& other, float x0, float y0, float x1,
                                                      float y1) const;

  /// The GL texture name; 0 if there is none.
  virtual OmU32 id() const;

  /// Sets the texture unit for the next bind(), counted from 0.
  virtual void setUnit(unsigned int unit) const;
  /// The texture unit, counted from 0.
  virtual unsigned int unit() const;

  /// Sets the settings; nothing changes on the card until the next load.
  virtual void setTextureParameters(const OmTextureParameters& params);
  /// The settings. After a load they are those in effect, with the formats and the target that were chosen.
  virtual const OmTextureParameters& textureParameters() const;

  /// Chooses target, storage size and extent for an image of that size in texels. The loading operations call it.
  /// Returns true if the storage has the image's own size, false if it is padded.
  virtual OmBoolean calculatePOT(OmU32 width, OmU32 height);
  /// Uploads width() by height() texels in the pixel format and data type of the parameters, rows packed, with the
  /// target and storage that calculatePOT() chose. Null data makes the storage and uploads nothing. `size` is the
  /// number of bytes at `data`. Returns false without a GL name. Also false, with an error message, if `size` is too
  /// small for the storage, if the size of such pixels is not known, without a current context, and while no window of
  /// the texture's share group is current. Nothing is uploaded in these cases.
  virtual OmBoolean load(const OmU8* data, OmU32 size);

  /// The texture target in effect.
  OmU32 textureType() const { return m_parameters.textureType(); }
  /// The width of the storage in texels, padding included.
  OmU32 width() const { return m_width; }
  /// The height of the storage in texels, padding included.
  OmU32 height() const { return m_height; }

  /// The row order of the uploaded pixels.
  OmImage::Orientation orientation() const { return m_orientation; }
  /// Says which row comes first in the pixels that load() gets.
  void setOrientation(OmImage::Orientation orientation) { m_orientation = orientation; }

  /// The share group in which the GL name lives.
  const OmShareGroup& shareGroup() const { return m_shareGroup; }

  /// With true, uploads convert each byte to a float from 0.0 to 255.0.
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
  float m_texCoords[4];               ///< s and t where the first row starts, then where the last one ends
  OmImage::Orientation m_orientation; ///< row order of the uploaded pixels

private:
  enum class Fit
  {
    Exact,     // storage of the image's size on the target of the settings
    Rectangle, // storage of the image's size on the rectangle target
    Padded     // in the corner of power-of-two storage
  };

  // The storage of a GL name. All zeros for a name without storage.
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
  OM_INTERNAL Fit fit(OmU32 width, OmU32 height) const;
  OM_INTERNAL Storage wantedStorage() const;
  OM_INTERNAL void upload(const OmU8* data, const char* signature) const;
  OM_INTERNAL void uploadAsFloats(const OmU8* data, OmU32 size) const;
  OM_INTERNAL bool isEnough(OmU32 size) const;
  OM_INTERNAL bool bindForDrawing() const;
  OM_INTERNAL void enableAlone() const;

  OmShareGroup m_shareGroup; ///< the share group in which m_id lives
  Storage m_storage;
};

#endif
