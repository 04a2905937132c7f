#include "tools/pictureTexture.h"

#include "render/omGL.h"

#include <algorithm>
#include <cstring>

namespace
{

OmTextureParameters parameters(GLenum filter)
{
  OmTextureParameters result;
  result.setTextureType(GL_TEXTURE_2D);
  result.setWrapType(GL_CLAMP_TO_EDGE);
  result.setMinFilterType(filter);
  result.setMagFilterType(filter);
  return result;
}

} // namespace

OmU32 PictureTexture::storageSide(OmU32 side)
{
  return OmGL::isSupported(OmGL::SupportNPOT) ? side : OmGL::powerOf2(side);
}

void PictureTexture::measure(OmU32 width, OmU32 height)
{
  m_width = width;
  m_height = height;
  m_size[0] = static_cast<float>(width);
  m_size[1] = static_cast<float>(height);
  m_texelSize[0] = 1.0f / static_cast<float>(storageSide(width));
  m_texelSize[1] = 1.0f / static_cast<float>(storageSide(height));
}

void PictureTexture::load(const OmImage& image, bool smooth)
{
  measure(image.width(), image.height());
  m_texture.setUnit(0);
  m_texture.loadFromImage(padded(image), parameters(smooth ? GL_LINEAR : GL_NEAREST));
}

void PictureTexture::makeTarget(OmU32 width, OmU32 height, bool floats)
{
  measure(width, height);
  OmTextureParameters target = parameters(GL_NEAREST);
  target.setPixelFormat(OmTextureParameters::RGBA);
  target.setInternalFormat(floats ? OmTextureParameters::RGBA32F : OmTextureParameters::RGBA);
  m_texture.loadShell(storageSide(width), storageSide(height), target);
}

void PictureTexture::bind(OmU32 unit) const
{
  m_texture.setUnit(unit);
  m_texture.bind();
}

const OmImage& PictureTexture::padded(const OmImage& image)
{
  const OmU32 width = storageSide(image.width());
  const OmU32 height = storageSide(image.height());
  if (width == image.width() && height == image.height())
    return image;
  const std::size_t channels = image.channels();
  if (m_padded.channels() != channels || m_padded.width() != width || m_padded.height() != height)
    m_padded = OmImage(image.channels(), width, height);
  const std::size_t sourceRow = image.width() * channels;
  const std::size_t row = width * channels;
  for (std::size_t y = 0; y < height; ++y)
  {
    const OmU8* const source = image.data() + std::min<std::size_t>(y, image.height() - 1) * sourceRow;
    OmU8* const target = m_padded.data() + y * row;
    std::memcpy(target, source, sourceRow);
    for (std::size_t x = sourceRow; x < row; x += channels)
      std::memcpy(target + x, source + sourceRow - channels, channels);
  }
  return m_padded;
}
