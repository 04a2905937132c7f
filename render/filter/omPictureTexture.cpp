#include "render/filter/omPictureTexture.h"

#include "render/omGL.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{

OmTextureParameters parameters()
{
  OmTextureParameters result;
  result.setTextureType(GL_TEXTURE_2D);
  result.setWrapType(GL_CLAMP_TO_EDGE);
  result.setMinFilterType(GL_NEAREST);
  result.setMagFilterType(GL_NEAREST);
  return result;
}

/// The side of the storage for a side of a picture.
OmU32 storageSide(OmU32 side)
{
  return OmGL::isSupported(OmGL::SupportNPOT) ? side : OmGL::powerOf2(side);
}

/// Makes RGB pixels RGBA ones.
void addAlpha(const OmU8* source, OmU8* target, std::size_t pixels)
{
  for (std::size_t i = 0; i + 1 < pixels; ++i) // four bytes at a time, the fourth of the next pixel
  {
    std::memcpy(target + 4 * i, source + 3 * i, 4);
    target[4 * i + 3] = 255;
  }
  std::memcpy(target + 4 * (pixels - 1), source + 3 * (pixels - 1), 3);
  target[4 * pixels - 1] = 255;
}

} // namespace

OmU32 OmPictureTexture::largestSide(OmU32 limit)
{
  const OmU32 storage = storageSide(limit);
  return storage > limit ? storage / 2 : limit;
}

void OmPictureTexture::measure(OmU32 width, OmU32 height)
{
  m_width = width;
  m_height = height;
  m_size[0] = static_cast<float>(width);
  m_size[1] = static_cast<float>(height);
  m_storageWidth = storageSide(width);
  m_storageHeight = storageSide(height);
  m_texelSize[0] = 1.0f / static_cast<float>(m_storageWidth);
  m_texelSize[1] = 1.0f / static_cast<float>(m_storageHeight);
}

void OmPictureTexture::load(const OmImage& image)
{
  measure(image.width(), image.height());
  m_samples = Bytes;
  m_texture.setUnit(0);
  m_texture.loadFromImage(storage(image), parameters());
}

void OmPictureTexture::load(const OmDeepImage& image, Samples samples)
{
  if (!isLike(image.width(), image.height(), samples))
    makeTarget(image.width(), image.height(), samples);
  bind(0);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, static_cast<GLsizei>(m_storageWidth), static_cast<GLsizei>(m_storageHeight),
                  GL_RGBA, GL_UNSIGNED_SHORT, storage(image));
}

void OmPictureTexture::load(const OmTablePicture& table)
{
  if (!OmGL::isSupported(OmGL::SupportFloatTexture))
  {
    OmImage bytes(4, table.width, table.height);
    std::transform(table.pixels.begin(), table.pixels.end(), bytes.data(),
                   [](float value) { return static_cast<OmU8>(std::lround(255.0f * std::clamp(value, 0.0f, 1.0f))); });
    return load(bytes);
  }
  makeTarget(table.width, table.height, Floats);
  m_texture.setUnit(0);
  m_texture.bind();
  std::vector<float> stored;
  for (std::size_t y = 0; y < m_storageHeight; ++y)
    for (std::size_t x = 0; x < m_storageWidth; ++x)
    {
      const std::size_t place =
          std::min<std::size_t>(y, m_height - 1) * m_width + std::min<std::size_t>(x, m_width - 1);
      stored.insert(stored.end(), &table.pixels[4 * place], &table.pixels[4 * place] + 4);
    }
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, static_cast<GLsizei>(m_storageWidth), static_cast<GLsizei>(m_storageHeight),
                  GL_RGBA, GL_FLOAT, stored.data());
}

void OmPictureTexture::makeTarget(OmU32 width, OmU32 height, Samples samples)
{
  constexpr OmTextureParameters::PixelFormat Formats[] = {OmTextureParameters::RGBA, OmTextureParameters::RGBA16,
                                                          OmTextureParameters::RGBA32F};
  measure(width, height);
  m_samples = samples;
  OmTextureParameters target = parameters();
  target.setPixelFormat(OmTextureParameters::RGBA);
  target.setInternalFormat(Formats[samples]);
  m_texture.loadShell(m_storageWidth, m_storageHeight, target);
}

void OmPictureTexture::bind(OmU32 unit) const
{
  m_texture.setUnit(unit);
  m_texture.bind();
}

/// The picture as it lies in the storage.
const OmImage& OmPictureTexture::storage(const OmImage& image)
{
  const std::size_t channels = image.channels();
  const std::size_t storedChannels = channels == 3 ? 4 : channels;
  if (channels == storedChannels && m_storageWidth == m_width && m_storageHeight == m_height)
    return image;
  if (m_stored.channels() != storedChannels || m_stored.width() != m_storageWidth ||
      m_stored.height() != m_storageHeight)
    m_stored = OmImage(static_cast<OmU32>(storedChannels), m_storageWidth, m_storageHeight);
  const std::size_t filled = m_width * storedChannels;
  const std::size_t row = m_storageWidth * storedChannels;
  for (std::size_t y = 0; y < m_storageHeight; ++y)
  {
    OmU8* const target = m_stored.data() + y * row;
    if (y >= m_height)
    {
      std::memcpy(target, target - row, row);
      continue;
    }
    const OmU8* const source = image.data() + y * m_width * channels;
    if (channels == 3)
      addAlpha(source, target, m_width);
    else
      std::memcpy(target, source, filled);
    for (std::size_t x = filled; x < row; x += storedChannels)
      std::memcpy(target + x, target + filled - storedChannels, storedChannels);
  }
  return m_stored;
}

/// The same as RGBA.
const std::uint16_t* OmPictureTexture::storage(const OmDeepImage& image)
{
  const std::size_t channels = image.channels();
  if (channels == 4 && m_storageWidth == m_width && m_storageHeight == m_height)
    return image.data();
  const std::size_t second = channels < 3 ? 0 : 1, third = channels < 3 ? 0 : 2;
  m_storedWords.resize(std::size_t{4} * m_storageWidth * m_storageHeight);
  std::uint16_t* target = m_storedWords.data();
  for (std::size_t y = 0; y < m_storageHeight; ++y)
    for (std::size_t x = 0; x < m_storageWidth; ++x, target += 4)
    {
      const std::size_t place =
          std::min<std::size_t>(y, m_height - 1) * m_width + std::min<std::size_t>(x, m_width - 1);
      const std::uint16_t* const pixel = image.data() + place * channels;
      target[0] = pixel[0];
      target[1] = pixel[second];
      target[2] = pixel[third];
      target[3] = channels % 2 == 0 ? pixel[channels - 1] : std::uint16_t{65535};
    }
  return m_storedWords.data();
}
