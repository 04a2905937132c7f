#ifndef OM_PNG_ENCODER_H
#define OM_PNG_ENCODER_H

#include "image/codec/omImageRows.h"
#include "image/omImageReaderWriter.h"

/// Encodes a picture of 1 to 4 channels of 8 or 16 bits as PNG, compressed by libdeflate.
class OmPngEncoder
{
public:
  explicit OmPngEncoder(const OmImageReaderWriter::WriteSettings& settings) : m_settings(settings) {}

  /// Appends the whole file to `bytes`. Throws std::bad_alloc if memory runs out.
  void encode(OmImageRows& rows, std::vector<OmU8>& bytes) const;

private:
  const OmImageReaderWriter::WriteSettings& m_settings;
};

#endif
