#ifndef OM_JPEG_DECODER_H
#define OM_JPEG_DECODER_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omInputFile.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

#include <jpeglib.h>

/// Decodes a JPEG file to grey or RGB with libjpeg.
class OmJpegDecoder : public OmImageDecoder
{
public:
  /// The file must outlive the decoder.
  explicit OmJpegDecoder(const OmInputFile& file);
  ~OmJpegDecoder() override;

  bool readHeader() override;
  void readMetadata(OmImageMetadata& metadata) override;
  bool isWhole() override;
  bool start() override;
  bool readRow(OmU8* row) override;
  bool finish() override;

private:
  template <typename Call>
  bool attempt(const Call& call);
  bool chooseColors();
  void readMarkers();
  bool fileMayHoldPicture() const;
  std::uint64_t blockCount() const;
  std::optional<OmImageMetadata::Resolution> resolution() const;
  void convertCmykRow(OmU8* row) const;
  static void onError(j_common_ptr jpeg);
  static void onMessage(j_common_ptr jpeg, int level);
  static void onProgress(j_common_ptr jpeg);

  const OmInputFile& m_file;
  jpeg_decompress_struct m_jpeg = {};
  jpeg_error_mgr m_errors = {};
  jpeg_progress_mgr m_progress = {};
  std::jmp_buf m_failure;
  int m_maximumScans = 0;
  std::vector<OmU8> m_ownRow; ///< for rows that are converted or not kept
};

#endif
