#include "image/codec/omTiffBlocks.h"

#include <algorithm>
#include <cstring>

OmTiffBlocks::OmTiffBlocks(TIFF* page, OmU32 width, OmU32 height, OmU32 samples, OmU32 bits)
    : m_page(page), m_width(width), m_height(height), m_samples(samples), m_bits(bits), m_sampleSize(bits / 8),
      m_isTiled(TIFFIsTiled(page) != 0), m_blockWidth(width), m_blockHeight(height)
{
  std::uint16_t arrangement = PLANARCONFIG_CONTIG;
  TIFFGetFieldDefaulted(page, TIFFTAG_PLANARCONFIG, &arrangement);
  m_isApart = arrangement == PLANARCONFIG_SEPARATE && samples > 1;
  if (m_isTiled)
  {
    TIFFGetField(page, TIFFTAG_TILEWIDTH, &m_blockWidth);
    TIFFGetField(page, TIFFTAG_TILELENGTH, &m_blockHeight);
  }
  else if (m_isApart)
    TIFFGetFieldDefaulted(page, TIFFTAG_ROWSPERSTRIP, &m_blockHeight);
  if (!m_isTiled)
    m_blockHeight = std::min(m_blockHeight, height);
  m_blockWidth = std::max(m_blockWidth, 1U);
  m_blockHeight = std::max(m_blockHeight, 1U);
}

std::uint64_t OmTiffBlocks::memory() const
{
  if (isByScanlines())
    return rowSize();
  std::uint64_t block = 0, band = 0, all = 0;
  if (__builtin_mul_overflow(std::uint64_t{m_blockWidth} * m_blockHeight, blockPixelSize(), &block) ||
      __builtin_mul_overflow(rowSize(), std::uint64_t{std::min(m_blockHeight, m_height)}, &band) ||
      __builtin_add_overflow(block, band, &all))
    return UINT64_MAX;
  return all;
}

const OmU8* OmTiffBlocks::row(OmU32 y)
{
  if (isByScanlines())
  {
    m_band.resize(rowSize());
    const bool fits = static_cast<std::uint64_t>(TIFFScanlineSize64(m_page)) == rowSize();
    return fits && TIFFReadScanline(m_page, m_band.data(), y, 0) == 1 ? m_band.data() : nullptr;
  }
  const OmU32 rowInBand = y % m_blockHeight;
  if (rowInBand == 0 && !readBand(y))
    return nullptr;
  return m_band.data() + rowInBand * rowSize();
}

bool OmTiffBlocks::readBand(OmU32 top)
{
  const OmU32 rows = std::min(m_blockHeight, m_height - top);
  m_band.resize(rows * rowSize());
  m_block.resize(std::size_t{m_blockWidth} * m_blockHeight * blockPixelSize());
  for (OmU32 plane = 0; plane < (m_isApart ? m_samples : 1); ++plane)
    for (OmU32 left = 0; left < m_width; left += std::min(m_blockWidth, m_width - left))
      if (!readBlock(left, top, rows, plane))
        return false;
  return true;
}

bool OmTiffBlocks::readBlock(OmU32 left, OmU32 top, OmU32 rows, OmU32 plane)
{
  const auto sample = static_cast<std::uint16_t>(plane);
  const auto size = static_cast<tmsize_t>(m_block.size());
  const tmsize_t read =
      m_isTiled ? TIFFReadEncodedTile(m_page, TIFFComputeTile(m_page, left, top, 0, sample), m_block.data(), size)
                : TIFFReadEncodedStrip(m_page, TIFFComputeStrip(m_page, top, sample), m_block.data(), size);
  const std::size_t blockRowSize = m_blockWidth * blockPixelSize();
  if (read < 0 || static_cast<std::size_t>(read) < rows * blockRowSize)
    return false;

  const OmU32 columns = std::min(m_blockWidth, m_width - left);
  const std::size_t pixelSize = std::size_t{m_samples} * m_sampleSize;
  for (OmU32 y = 0; y < rows; ++y)
  {
    const OmU8* source = m_block.data() + y * blockRowSize;
    OmU8* target = m_band.data() + y * rowSize() + left * pixelSize + std::size_t{plane} * m_sampleSize;
    if (!m_isApart)
      std::memcpy(target, source, columns * pixelSize);
    else
      for (OmU32 x = 0; x < columns; ++x, source += m_sampleSize, target += pixelSize)
        std::memcpy(target, source, m_sampleSize);
  }
  return true;
}
