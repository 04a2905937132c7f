#ifndef OM_IMAGE_DECODER_H
#define OM_IMAGE_DECODER_H

#include "foundation/core/omTypes.h"

#include <cstdio>

/// Decodes one picture file row by row.
///
/// The steps are taken in their order: readHeader(); start(); readRow() for every row of every pass; finish(). When one
/// of them returns false, reason() says why and the decoder is of no more use.
class OmImageDecoder
{
public:
  OmImageDecoder() = default;
  virtual ~OmImageDecoder() = default;
  OmImageDecoder(const OmImageDecoder&) = delete;
  OmImageDecoder& operator=(const OmImageDecoder&) = delete;

  /// Reads up to the pixels and refuses a file that is too small for the picture that its header announces.
  virtual bool readHeader() = 0;

  OmU32 width() const { return m_width; }
  OmU32 height() const { return m_height; }
  OmU32 channels() const { return m_channels; }
  /// How often the rows are gone through, top to bottom. Beyond the first pass, readRow() must get what the pass before
  /// left in the row.
  int passes() const { return m_passes; }

  virtual bool start() = 0;
  /// Decodes the next row into width() * channels() bytes. Null decodes it without keeping it.
  virtual bool readRow(OmU8* row) = 0;
  /// Reads on to the end of the picture, past the pixels.
  virtual bool finish() = 0;

  const char* reason() const { return m_reason; }

protected:
  /// Keeps the reason and returns false.
  bool fail(const char* reason)
  {
    std::snprintf(m_reason, sizeof m_reason, "%s", reason);
    return false;
  }

  OmU32 m_width = 0;
  OmU32 m_height = 0;
  OmU32 m_channels = 0;
  int m_passes = 1;
  char m_reason[256] = ""; ///< an array: it is filled on the way to a longjmp, which runs no destructors
};

#endif
