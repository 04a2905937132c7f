#ifndef OM_TEXTURE_PARAMETERS_H
#define OM_TEXTURE_PARAMETERS_H

#include "foundation/core/omTypes.h"

#include <GL/gl.h>

class OmImage;

/// How a texture is stored on the card and how it is sampled.
///
/// A value to copy, compare and pass to OmTexture's loading operations. All enumerants are GL's own.
///
/// \code
///   OmTextureParameters parameters;
///   parameters.setInternalFormat(OmTextureParameters::RGB32F);
///   parameters.setWrapType(GL_CLAMP_TO_EDGE);
///   texture.loadFromImage(image, parameters);
/// \endcode
///
/// A float or integer format that the card cannot store is replaced as soon as it is set (setInternalFormat()).
class OM_EXPORT OmTextureParameters
{
public:
  /// GL's formats for storage (internal format) and for pixels in memory (pixel format). Each value is the GL enumerant
  /// of the same name.
  enum PixelFormat : OmU32
  {
    NoFormat = 0, ///< not chosen: OmTexture stores the format of the pixels

    RGB = GL_RGB,
    RGBA = GL_RGBA,
    Luminance = GL_LUMINANCE,
    LuminanceAlpha = GL_LUMINANCE_ALPHA,

    RGBA16 = GL_RGBA16, ///< storage of 16 bits a channel; a card may store fewer

    // Pixels for integer textures (GL_EXT_texture_integer)
    RGBInteger = GL_RGB_INTEGER_EXT,
    RGBAInteger = GL_RGBA_INTEGER_EXT,
    LuminanceInteger = GL_LUMINANCE_INTEGER_EXT,
    LuminanceAlphaInteger = GL_LUMINANCE_ALPHA_INTEGER_EXT,

    // Float storage (GL_ARB_texture_float)
    RGBA32F = GL_RGBA32F_ARB,
    RGB32F = GL_RGB32F_ARB,
    Luminance32F = GL_LUMINANCE32F_ARB,
    RGBA16F = GL_RGBA16F_ARB,
    RGB16F = GL_RGB16F_ARB,
    Luminance16F = GL_LUMINANCE16F_ARB,

    // Float storage of rectangle textures (GL_NV_float_buffer)
    FloatR16NV = GL_FLOAT_R16_NV,
    FloatR32NV = GL_FLOAT_R32_NV,
    FloatRGB16NV = GL_FLOAT_RGB16_NV,
    FloatRGB32NV = GL_FLOAT_RGB32_NV,
    FloatRGBA16NV = GL_FLOAT_RGBA16_NV,
    FloatRGBA32NV = GL_FLOAT_RGBA32_NV,

    // Integer storage (GL_EXT_texture_integer)
    RGBA32UI = GL_RGBA32UI_EXT,
    RGB32UI = GL_RGB32UI_EXT,
    Luminance32UI = GL_LUMINANCE32UI_EXT,
    LuminanceAlpha32UI = GL_LUMINANCE_ALPHA32UI_EXT,
    RGBA16UI = GL_RGBA16UI_EXT,
    RGB16UI = GL_RGB16UI_EXT,
    Luminance16UI = GL_LUMINANCE16UI_EXT,
    LuminanceAlpha16UI = GL_LUMINANCE_ALPHA16UI_EXT,
    RGBA8UI = GL_RGBA8UI_EXT,
    RGB8UI = GL_RGB8UI_EXT,
    RGBA32I = GL_RGBA32I_EXT,
    RGB32I = GL_RGB32I_EXT,
    Luminance32I = GL_LUMINANCE32I_EXT,
    LuminanceAlpha32I = GL_LUMINANCE_ALPHA32I_EXT,
    RGBA16I = GL_RGBA16I_EXT,
    RGB16I = GL_RGB16I_EXT,
    Luminance16I = GL_LUMINANCE16I_EXT,
    LuminanceAlpha16I = GL_LUMINANCE_ALPHA16I_EXT,
    RGBA8I = GL_RGBA8I_EXT,
    RGB8I = GL_RGB8I_EXT
  };

  /// The defaults: bytes as pixels, no formats chosen, GL_MODULATE, GL_REPEAT, GL_LINEAR filters, GL_TEXTURE_2D in
  /// effect, no preference for a target.
  OmTextureParameters() = default;
  /// The defaults, with the pixel format of an image (getFormatFromImage()).
  OmTextureParameters(const OmImage& image);
  /// Copies all settings, also the formats and the target that a load has chosen.
  OmTextureParameters(const OmTextureParameters&) = default;
  /// Copies all settings like the copy constructor.
  OmTextureParameters& operator=(const OmTextureParameters&) = default;
  virtual ~OmTextureParameters() = default;

  /// Whether all settings are equal.
  OmBoolean operator==(const OmTextureParameters& other) const;
  /// Whether a setting differs.
  OmBoolean operator!=(const OmTextureParameters& other) const { return !(*this == other); }

  /// The GL data type of the pixels in memory.
  OmU32 dataFormat() const { return m_dataFormat; }

  /// The GL format of the pixels in memory.
  PixelFormat pixelFormat() const { return m_pixelFormat; }
  /// Sets that format. A plain GL macro such as GL_RGB is a number: it calls the overload for channels, which refuses
  /// it.
  void setPixelFormat(PixelFormat format) { m_pixelFormat = format; }
  /// Sets the format for 1 to 4 channels (0 counts as 3): an integer format if the internal format is one. A larger
  /// number changes nothing and prints an error message.
  void setPixelFormat(unsigned int channels);

  /// The GL format of the storage.
  PixelFormat internalFormat() const { return m_internalFormat; }
  /// Sets the format of the storage, or the nearest one that the card has. Without float textures
  /// (OmGL::SupportFloatTexture) a float format becomes its counterpart of GL_NV_float_buffer, on the rectangle target.
  /// If the card lacks that too, it becomes GL_RGB or GL_RGBA. Without GL_EXT_texture_integer an integer format becomes
  /// its base format, such as GL_RGB. If the storage no longer holds floats or integers, prints an error message. Asks
  /// OmGL::isSupported() about a float or integer format.
  void setInternalFormat(PixelFormat format);

  /// The texture environment mode, such as GL_MODULATE.
  OmU32 applyType() const { return m_applyType; }
  /// Sets the texture environment mode.
  void setApplyType(unsigned int type) { m_applyType = type; }

  /// The wrap mode for both directions.
  OmU32 wrapType() const { return m_wrapType; }
  /// Sets the wrap mode for both directions. Rectangle textures take clamping modes only, such as GL_CLAMP_TO_EDGE.
  void setWrapType(unsigned int type) { m_wrapType = type; }

  /// The filter for a picture that is shown smaller than it is.
  OmU32 minFilterType() const { return m_minFilterType; }
  /// Sets that filter to GL_NEAREST or GL_LINEAR; the library makes no mipmaps.
  void setMinFilterType(unsigned int type) { m_minFilterType = type; }

  /// The filter for a picture that is shown larger than it is.
  OmU32 magFilterType() const { return m_magFilterType; }
  /// Sets that filter to GL_NEAREST or GL_LINEAR.
  void setMagFilterType(unsigned int type) { m_magFilterType = type; }

  /// The texture target in effect: GL_TEXTURE_2D or GL_TEXTURE_RECTANGLE_ARB.
  OmU32 textureType() const { return m_textureType; }
  /// Asks for a target and puts it into effect.
  void setTextureType(unsigned int type) { m_textureType = m_requestedTextureType = type; }
  /// The target that was asked for; 0 if there is no preference.
  OmU32 requestedTextureType() const { return m_requestedTextureType; }

  /// Whether the storage holds floats.
  bool isFloatType() const { return m_isFloatType; }
  /// Whether the storage holds integers.
  bool isIntegerType() const { return m_isIntegerType; }

  /// Sets the data type to bytes and the pixel format to that of the image's channels. Also checks the internal format
  /// against the card again (setInternalFormat()).
  void getFormatFromImage(const OmImage& image);

  /// Applies the environment, wrap and filter settings to the texture bound to textureType() in the current GL context.
  /// Always true.
  OmBoolean ApplyParameters() const;

protected:
  OmU32 m_dataFormat = GL_UNSIGNED_BYTE;   ///< data type of the pixels in memory
  PixelFormat m_pixelFormat = NoFormat;    ///< format of the pixels in memory
  PixelFormat m_internalFormat = NoFormat; ///< format of the storage
  OmU32 m_applyType = GL_MODULATE;         ///< texture environment mode
  OmU32 m_wrapType = GL_REPEAT;            ///< wrap mode in both directions
  OmU32 m_minFilterType = GL_LINEAR;       ///< filter for a picture shown smaller
  OmU32 m_magFilterType = GL_LINEAR;       ///< filter for a picture shown larger
  OmU32 m_textureType = GL_TEXTURE_2D;     ///< target in effect
  OmU32 m_requestedTextureType = 0;        ///< target asked for; 0 for no preference
  bool m_isFloatType = false;              ///< the storage holds floats
  bool m_isIntegerType = false;            ///< the storage holds integers
};

#endif
