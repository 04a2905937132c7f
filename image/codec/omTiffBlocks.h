#ifndef OM_TIFF_BLOCKS_H
#define OM_TIFF_BLOCKS_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <tiffio.h>

/// The samples of a TIFF page, row by row, however they are stored: in strips or tiles, the channels of a pixel
/// together or apart.
class OmTiffBlocks
{
public:
  /// For samples of `bits` bits, of which a pixel has so many. Whole bytes unless mayBePacked() says otherwise. The
  /// page must outlive this object.
  OmTiffBlocks(TIFF* page, OmU32 width, OmU32 height, OmU32 samples, OmU32 bits);

  /// Whether a page may have several samples in a byte: those of one channel in strips.
  static bool mayBePacked(TIFF* page, OmU32 samples) { return samples == 1 && TIFFIsTiled(page) == 0; }

  /// What row() takes besides libtiff, in bytes.
  std::uint64_t memory() const;
  /// The samples of a row, pixel by pixel in the byte order of the machine, for rows from the top. Null if libtiff
  /// fails. Valid until the next call.
  const OmU8* row(OmU32 y);

private:
  bool isByScanlines() const { return !m_isTiled && !m_isApart; }
  std::size_t rowSize() const { return (std::size_t{m_width} * m_samples * m_bits + 7) / 8; }
  std::size_t blockPixelSize() const { return std::size_t{m_isApart ? 1 : m_samples} * m_sampleSize; }
  bool readBand(OmU32 top);
  bool readBlock(OmU32 left, OmU32 top, OmU32 rows, OmU32 plane);

  TIFF* m_page;
  OmU32 m_width;
  OmU32 m_height;
  OmU32 m_samples;
  OmU32 m_bits;
  OmU32 m_sampleSize; ///< in bytes; 0 if there are several in a byte
  bool m_isTiled;
  bool m_isApart;            ///< a block has one channel
  OmU32 m_blockWidth = 0;    ///< of a tile or a strip, in pixels
  OmU32 m_blockHeight = 0;   ///< in pixels
  std::vector<OmU8> m_block; ///< as it is stored
  std::vector<OmU8> m_band;  ///< the row, or all rows of the blocks that it lies in
};

#endif
