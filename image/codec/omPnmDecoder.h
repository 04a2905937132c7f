#ifndef OM_PNM_DECODER_H
#define OM_PNM_DECODER_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omInputFile.h"
#include "image/codec/omPnmHeader.h"

#include <array>
#include <cstddef>
#include <vector>

/// Decodes a PPM, PGM or PAM file to 8-bit channels.
class OmPnmDecoder : public OmImageDecoder
{
public:
  /// The file must outlive the decoder.
  explicit OmPnmDecoder(const OmInputFile& file) : m_file(file) {}

  bool readHeader() override;
  void readMetadata(OmImageMetadata& metadata) override;
  bool isWhole() override { return m_headerText.size() + m_header.pixelBytes() == m_file.size(); }
  bool start() override;
  bool readRow(OmU8* row) override;
  bool finish() override { return true; }

private:
  void addAlpha(OmU8* row) const;
  void convertRow(OmU8* row) const;

  const OmInputFile& m_file;
  OmPnmHeader m_header;
  OmString m_headerText;
  std::array<OmU8, 256> m_scaled; ///< each value of 8 bits with full light at 255
  std::size_t m_rowSize = 0;      ///< of the file, in bytes
  std::vector<OmU8> m_ownRow;     ///< for rows that are converted or not kept
};

#endif
