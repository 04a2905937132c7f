#include "render/omTextureParameters.h"

#include "foundation/core/omPrint.h"
#include "image/omImage.h"
#include "render/omGL.h"
#include "render/omVersion.h"

#include <algorithm>
#include <iterator>

namespace
{

using PixelFormat = OmTextureParameters::PixelFormat;

/// The formats that replace a storage format on a card that cannot store it.
struct Fallback
{
  PixelFormat format;
  PixelFormat base;        // if the card cannot store such numbers at all
  PixelFormat onRectangle; // for a float format: its counterpart of GL_NV_float_buffer
};

constexpr Fallback FloatFallbacks[] = {
    {PixelFormat::RGBA32F, PixelFormat::RGBA, PixelFormat::FloatRGBA32NV},
    {PixelFormat::RGB32F, PixelFormat::RGB, PixelFormat::FloatRGB32NV},
    {PixelFormat::Luminance32F, PixelFormat::RGBA, PixelFormat::FloatR32NV},
    {PixelFormat::RGBA16F, PixelFormat::RGBA, PixelFormat::FloatRGBA16NV},
    {PixelFormat::RGB16F, PixelFormat::RGB, PixelFormat::FloatRGB16NV},
    {PixelFormat::Luminance16F, PixelFormat::RGBA, PixelFormat::FloatR16NV},
    {PixelFormat::FloatR16NV, PixelFormat::RGBA, PixelFormat::FloatR16NV},
    {PixelFormat::FloatR32NV, PixelFormat::RGBA, PixelFormat::FloatR32NV},
    {PixelFormat::FloatRGB16NV, PixelFormat::RGBA, PixelFormat::FloatRGB16NV},
    {PixelFormat::FloatRGB32NV, PixelFormat::RGBA, PixelFormat::FloatRGB32NV},
    {PixelFormat::FloatRGBA16NV, PixelFormat::RGBA, PixelFormat::FloatRGBA16NV},
    {PixelFormat::FloatRGBA32NV, PixelFormat::RGBA, PixelFormat::FloatRGBA32NV},
};

constexpr Fallback IntegerFallbacks[] = {
    {PixelFormat::RGBA32UI, PixelFormat::RGBA, {}},
    {PixelFormat::RGB32UI, PixelFormat::RGB, {}},
    {PixelFormat::Luminance32UI, PixelFormat::Luminance, {}},
    {PixelFormat::LuminanceAlpha32UI, PixelFormat::LuminanceAlpha, {}},
    {PixelFormat::RGBA16UI, PixelFormat::RGBA, {}},
    {PixelFormat::RGB16UI, PixelFormat::RGB, {}},
    {PixelFormat::Luminance16UI, PixelFormat::Luminance, {}},
    {PixelFormat::LuminanceAlpha16UI, PixelFormat::LuminanceAlpha, {}},
    {PixelFormat::RGBA8UI, PixelFormat::RGBA, {}},
    {PixelFormat::RGB8UI, PixelFormat::RGB, {}},
    {PixelFormat::RGBA32I, PixelFormat::RGBA, {}},
    {PixelFormat::RGB32I, PixelFormat::RGB, {}},
    {PixelFormat::Luminance32I, PixelFormat::Luminance, {}},
    {PixelFormat::LuminanceAlpha32I, PixelFormat::LuminanceAlpha, {}},
    {PixelFormat::RGBA16I, PixelFormat::RGBA, {}},
    {PixelFormat::RGB16I, PixelFormat::RGB, {}},
    {PixelFormat::Luminance16I, PixelFormat::Luminance, {}},
    {PixelFormat::LuminanceAlpha16I, PixelFormat::LuminanceAlpha, {}},
    {PixelFormat::RGBA8I, PixelFormat::RGBA, {}},
    {PixelFormat::RGB8I, PixelFormat::RGB, {}},
};

template <std::size_t Size>
const Fallback* find(const Fallback (&fallbacks)[Size], PixelFormat format)
{
  const auto* found = std::find_if(std::begin(fallbacks), std::end(fallbacks),
                                   [format](const Fallback& fallback) { return fallback.format == format; });
  return found == std::end(fallbacks) ? nullptr : found;
}

} // namespace

OmTextureParameters::OmTextureParameters(const OmImage& image)
{
  getFormatFromImage(image);
}

OmBoolean OmTextureParameters::operator==(const OmTextureParameters& other) const
{
  return m_dataFormat == other.m_dataFormat && m_pixelFormat == other.m_pixelFormat &&
         m_internalFormat == other.m_internalFormat && m_textureType == other.m_textureType &&
         m_requestedTextureType == other.m_requestedTextureType && m_applyType == other.m_applyType &&
         m_wrapType == other.m_wrapType && m_minFilterType == other.m_minFilterType &&
         m_magFilterType == other.m_magFilterType;
}

void OmTextureParameters::setPixelFormat(unsigned int channels)
{
  constexpr PixelFormat Formats[] = {RGB, Luminance, LuminanceAlpha, RGB, RGBA};
  constexpr PixelFormat IntegerFormats[] = {RGBInteger, LuminanceInteger, LuminanceAlphaInteger, RGBInteger,
                                            RGBAInteger};
  if (channels < std::size(Formats))
    m_pixelFormat = m_isIntegerType ? IntegerFormats[channels] : Formats[channels];
  else
    Om::Print::instance().write(Om::Print::Error, "Invalid argument to setPixelFormat\n");
}

void OmTextureParameters::setInternalFormat(PixelFormat format)
{
  m_internalFormat = format;
  m_isFloatType = false;
  m_isIntegerType = false;
  if (const Fallback* fallback = find(FloatFallbacks, format))
  {
    m_isFloatType = true;
    if (OmGL::isSupported(OmGL::SupportFloatTexture))
      return;
    if (OmGL::isSupported(OmGL::SupportTextureRectangle | OmGL::SupportNVFloatBuffer))
    {
      m_internalFormat = fallback->onRectangle;
      setTextureType(GL_TEXTURE_RECTANGLE_ARB);
      return;
    }
    m_isFloatType = false;
    Om::Print::instance().write(Om::Print::Error, "Requested float texture type, but lack hardware support for it.\n");
    m_internalFormat = fallback->base;
  }
  else if (const Fallback* integerFallback = find(IntegerFallbacks, format))
  {
    m_isIntegerType = OmGL::isSupported(OmGL::SupportIntegerTexture);
    if (m_isIntegerType)
      return;
    Om::Print::instance().write(Om::Print::Error,
                                "Requested internal integer texture type, but lack hardware support for it.\n");
    m_internalFormat = integerFallback->base;
  }
}

void OmTextureParameters::getFormatFromImage(const OmImage& image)
{
  m_dataFormat = GL_UNSIGNED_BYTE;
  setInternalFormat(m_internalFormat);
  setPixelFormat(image.channels());
}

OmBoolean OmTextureParameters::ApplyParameters() const
{
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, static_cast<GLint>(m_applyType));
  glTexParameteri(m_textureType, GL_TEXTURE_WRAP_S, static_cast<GLint>(m_wrapType));
  glTexParameteri(m_textureType, GL_TEXTURE_WRAP_T, static_cast<GLint>(m_wrapType));
  glTexParameteri(m_textureType, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(m_minFilterType));
  glTexParameteri(m_textureType, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(m_magFilterType));
  return true;
}
