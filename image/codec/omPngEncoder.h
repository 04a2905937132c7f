#ifndef OM_PNG_ENCODER_H
#define OM_PNG_ENCODER_H

#include "image/codec/omImageRows.h"
#include "image/omImageReaderWriter.h"

/// Encodes a picture of 1 to 4 channels as PNG, compressed by libdeflate.
class OmPngEncoder
{
public:
  explicit OmPngEncoder(OmImageReaderWriter::Compression compression) : m_compression(compression) {}

  /// Appends the whole file to `bytes`. Throws std::bad_alloc if memory runs out.
  void encode(OmImageRows& rows, std::vector<OmU8>& bytes) const;

private:
  OmImageReaderWriter::Compression m_compression;
};

#endif
