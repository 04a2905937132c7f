#ifndef OM_PNM_ENCODER_H
#define OM_PNM_ENCODER_H

#include "image/codec/omImageRows.h"
#include "image/omImageReaderWriter.h"

/// Encodes a picture as PPM (1 channel as PGM, or 3), as PAM (1 to 4 channels), or as its pixels alone.
class OmPnmEncoder
{
public:
  explicit OmPnmEncoder(const OmImageReaderWriter::WriteSettings& settings) : m_settings(settings) {}

  /// Appends the whole file to `bytes`. Throws std::bad_alloc if memory runs out.
  void encode(OmImageRows& rows, std::vector<OmU8>& bytes) const;

  /// The text before the pixels without an origin; empty if they are alone.
  static OmString header(OmImageReaderWriter::Format format, OmU32 channels, OmU32 width, OmU32 height);

private:
  const OmImageReaderWriter::WriteSettings& m_settings;
};

#endif
