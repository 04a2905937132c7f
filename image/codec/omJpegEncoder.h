#ifndef OM_JPEG_ENCODER_H
#define OM_JPEG_ENCODER_H

#include "image/codec/omImageRows.h"
#include "image/omImageReaderWriter.h"

/// Encodes a picture of 1 or 3 channels as JPEG with libjpeg.
class OmJpegEncoder
{
public:
  static constexpr OmU32 LargestSide = 65500; ///< libjpeg's, in pixels

  explicit OmJpegEncoder(const OmImageReaderWriter::WriteSettings& settings) : m_settings(settings) {}

  /// Appends the whole file to `bytes`. On failure `reason` says why. Throws std::bad_alloc if memory runs out.
  bool encode(OmImageRows& rows, std::vector<OmU8>& bytes, OmString& reason) const;

private:
  const OmImageReaderWriter::WriteSettings& m_settings;
};

#endif
