#ifndef OM_IMAGE_DECODER_H
#define OM_IMAGE_DECODER_H

#include "foundation/core/omTypes.h"
#include "image/codec/omExif.h"
#include "image/omImageMetadata.h"

#include <cstdio>

/// Decodes one picture file row by row.
///
/// The steps are readHeader(), addOpaqueAlpha() and keepDepth() if that is wanted, start(), readRow() for every row of
/// every pass, and finish(), in this order. If one of them returns false, reason() says why, and no other step may
/// follow.
class OmImageDecoder
{
public:
  OmImageDecoder() = default;
  virtual ~OmImageDecoder() = default;
  OmImageDecoder(const OmImageDecoder&) = delete;
  OmImageDecoder& operator=(const OmImageDecoder&) = delete;

  /// Reads up to the pixels and refuses a file that is too small for the picture that its header announces.
  virtual bool readHeader() = 0;

  OmU32 width() const { return m_width; } ///< as stored, in pixels
  OmU32 height() const { return m_height; }
  OmU32 channels() const { return m_channels; }
  /// How the rows that are read stand; whoever wants the picture upright turns it.
  OmExif::Orientation orientation() const { return m_orientation; }
  /// RGB pictures get a fourth channel of full value everywhere.
  void addOpaqueAlpha()
  {
    m_addsAlpha = m_channels == 3;
    m_channels += m_addsAlpha ? 1 : 0;
  }
  /// The bits of a channel in the file, as far as rows may have them: 8 or 16.
  OmU32 depth() const { return m_depth; }
  /// Rows of a file of 16 bits get 16, in the processor's byte order; others stay at 8. Goes before start().
  void keepDepth() { m_sampleSize = m_depth / 8; }
  /// The bytes of a channel in the rows that are read: 1 or 2.
  OmU32 sampleSize() const { return m_sampleSize; }
  /// Adds what the file says besides its pixels, if anybody wants to know. Goes between readHeader() and start().
  virtual void readMetadata(OmImageMetadata&) {}
  /// Whether the file ends where its picture ends, as far as that is known without decoding it. Goes between
  /// readHeader() and start(), which may not follow.
  virtual bool isWhole() { return true; }
  /// How often all rows are read, top to bottom. After the first pass, readRow() must be given the row as the pass
  /// before left it.
  int passes() const { return m_passes; }

  /// Prepares for the first row.
  virtual bool start() = 0;
  /// Decodes the next row into width() * channels() * sampleSize() bytes. A null row is decoded and not kept.
  virtual bool readRow(OmU8* row) = 0;
  /// Reads on to the end of the picture, past the pixels.
  virtual bool finish() = 0;

  const char* reason() const { return m_reason; }

protected:
  /// Keeps the reason and returns false.
  bool fail(const char* reason)
  {
    std::snprintf(m_reason, sizeof m_reason, "%.*s", static_cast<int>(sizeof m_reason) - 1, reason);
    return false;
  }

  OmU32 m_width = 0;
  OmU32 m_height = 0;
  OmU32 m_channels = 0;
  OmU32 m_depth = 8;
  OmU32 m_sampleSize = 1;
  OmExif::Orientation m_orientation = OmExif::TopLeft;
  int m_passes = 1;
  bool m_addsAlpha = false; ///< the fourth channel is not in the file
  char m_reason[256] = "";  ///< an array: a longjmp follows, which runs no destructors
};

#endif
