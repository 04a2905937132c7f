#ifndef OM_PNG_DECODER_H
#define OM_PNG_DECODER_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omInputFile.h"

#include <png.h>

/// Decodes a PNG file to 8-bit or 16-bit channels with libpng. A palette, a transparent colour and grey of less than 8
/// bits are expanded, 16 bits are scaled to 8 unless they are kept, and gamma is ignored.
class OmPngDecoder : public OmImageDecoder
{
public:
  /// The file must outlive the decoder.
  explicit OmPngDecoder(const OmInputFile& file);
  ~OmPngDecoder() override;

  bool readHeader() override;
  void readMetadata(OmImageMetadata& metadata) override;
  bool isWhole() override { return m_hasEnd; }
  bool start() override;
  bool readRow(OmU8* row) override;
  bool finish() override;

private:
  template <typename Call>
  bool attempt(const Call& call);
  bool fileMayHoldPicture() const;
  static void onError(png_structp png, png_const_charp message);
  static void onRead(png_structp png, png_bytep bytes, png_size_t count);

  const OmInputFile& m_file;
  bool m_hasEnd = false;
  png_structp m_png = nullptr;
  png_infop m_info = nullptr;
};

#endif
