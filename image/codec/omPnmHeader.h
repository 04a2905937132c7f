#ifndef OM_PNM_HEADER_H
#define OM_PNM_HEADER_H

#include "foundation/core/omTypes.h"

#include <cstdint>
#include <cstdio>
#include <vector>

/// The header of a PPM, PGM or PAM picture: binary files that begin with P6, P5 or P7. The pixels follow it, row by row
/// without padding.
class OmPnmHeader
{
public:
  /// Reads a header from a stream and not a byte beyond it. Its bytes are appended to `bytes`. On failure `reason` says
  /// why.
  bool read(std::FILE* stream, std::vector<OmU8>& bytes, OmString& reason);

  bool isPam() const { return m_isPam; }
  OmU32 width() const { return m_width; }
  OmU32 height() const { return m_height; }
  OmU32 channels() const { return m_channels; }
  /// The value of full light: 1 to 65535.
  OmU32 maximum() const { return m_maximum; }
  /// Bytes a channel: 1, or 2 with the high one first.
  OmU32 depth() const { return m_maximum > 255 ? 2 : 1; }
  /// The size of all pixels in bytes.
  std::uint64_t pixelBytes() const { return std::uint64_t{m_width} * m_height * m_channels * depth(); }

private:
  class Text;
  bool readPam(Text& text, OmString& reason);
  bool check(OmString& reason) const;

  bool m_isPam = false;
  OmU32 m_width = 0;
  OmU32 m_height = 0;
  OmU32 m_channels = 0;
  OmU32 m_maximum = 0;
};

#endif
