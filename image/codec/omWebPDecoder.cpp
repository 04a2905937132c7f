#include "image/codec/omWebP.h"

#include "image/codec/omOrigin.h"
#include "image/codec/omProfile.h"
#include "image/codec/omWebPChunks.h"
#include "image/codec/omXmp.h"

#include <algorithm>
#include <cstring>

#include <webp/decode.h>

namespace
{

/// Without loss, one colour everywhere takes no bits for a pixel, so a small file may hold a large picture. Pictures of
/// up to this many bytes are accepted, larger ones up to the ratio that deflate can reach.
constexpr std::uint64_t FreeBytes = std::uint64_t{128} << 20;
constexpr std::uint64_t Ratio = 1032;
constexpr int Lossless = 2; ///< of WebPBitstreamFeatures::format

constexpr std::uint64_t HeadSize = 1U << 12; ///< enough for the header of most files, in bytes

/// The largest of the chunks that are kept, in bytes.
constexpr std::size_t LargestExif = std::size_t{16} << 20;
constexpr std::size_t LargestXmp = 1U << 12; ///< of those with an origin

/// With loss, a square of this side takes more than a bit: its way of prediction does.
constexpr OmU32 SquareSide = 16;

const char* reasonOf(VP8StatusCode status)
{
  switch (status)
  {
  case VP8_STATUS_OUT_OF_MEMORY:
    return "out of memory";
  case VP8_STATUS_NOT_ENOUGH_DATA:
  case VP8_STATUS_SUSPENDED:
    return "the file ends early";
  case VP8_STATUS_UNSUPPORTED_FEATURE:
    return "a WebP picture of this kind is not supported";
  default:
    return "the WebP picture is damaged";
  }
}

/// Decodes the whole picture before its first row: libwebp wants all of the file, and gives all of the picture.
class WebPDecoder : public OmImageDecoder
{
public:
  explicit WebPDecoder(const OmInputFile& file) : m_file(file) {}

  bool readHeader() override
  {
    WebPBitstreamFeatures features = {};
    VP8StatusCode status = VP8_STATUS_NOT_ENOUGH_DATA;
    for (const std::uint64_t size : {HeadSize, m_file.size()}) // it may have a long profile at first
      if (status == VP8_STATUS_NOT_ENOUGH_DATA)
      {
        if (!readStart(size))
          return fail("the file cannot be read to its end");
        status = WebPGetFeatures(m_bytes.data(), m_bytes.size(), &features);
      }
    if (status != VP8_STATUS_OK)
      return fail(reasonOf(status));
    if (features.has_animation != 0)
      return fail("an animated WebP picture is not supported; take one frame out of it");
    m_width = static_cast<OmU32>(features.width);
    m_height = static_cast<OmU32>(features.height);
    m_channels = features.has_alpha != 0 ? 4 : 3;
    if (!fileMayHoldPicture(features.format == Lossless))
      return fail("the file is too small for the size in its header");
    const std::vector<OmU8> exif = findWebPChunk(m_file, "EXIF", LargestExif);
    m_orientation = OmExif::orientation(exif.data(), exif.size());
    return true;
  }

  void readMetadata(OmImageMetadata& metadata) override
  {
    const std::vector<OmU8> profile = findWebPChunk(m_file, "ICCP", OmImageMetadata::LargestProfile);
    OmProfile::keep(profile.data(), profile.size(), metadata);
    const std::vector<OmU8> xmp = findWebPChunk(m_file, "XMP ", LargestXmp);
    OmOrigin::keep(OmXmp::origin(OmString(xmp.begin(), xmp.end())), metadata);
  }

  bool isWhole() override
  {
    const OmU8* const head = m_bytes.data(); // RIFF and the size of what follows
    return m_bytes.size() > 8 && m_file.size() == 8 + (head[4] | std::uint64_t{head[5]} << 8 |
                                                       std::uint64_t{head[6]} << 16 | std::uint64_t{head[7]} << 24);
  }

  bool start() override
  {
    if (!readStart(m_file.size()))
      return fail("the file cannot be read to its end");
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0)
      return fail("libwebp is of another version");
    const std::size_t size = rowSize() * m_height;
    m_pixels.reset(new OmU8[size]); // not initialized: memory that is not decoded into is not taken
    config.output.colorspace = m_channels == 4 ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {m_pixels.get(), static_cast<int>(rowSize()), size};
    const VP8StatusCode status = WebPDecode(m_bytes.data(), m_bytes.size(), &config);
    m_next = m_pixels.get();
    return status == VP8_STATUS_OK || fail(reasonOf(status));
  }

  bool readRow(OmU8* row) override
  {
    if (row != nullptr)
      std::memcpy(row, m_next, rowSize());
    m_next += rowSize();
    return true;
  }

  bool finish() override { return true; }

private:
  /// Has the first bytes of the file, or all if they are fewer.
  bool readStart(std::uint64_t size)
  {
    size = std::min(size, m_file.size());
    return m_bytes.size() >= size || m_file.readStart(size, m_bytes);
  }

  bool fileMayHoldPicture(bool isLossless) const
  {
    const std::uint64_t size = std::uint64_t{m_width} * m_height * m_channels;
    if (isLossless)
      return size <= FreeBytes || size / Ratio <= m_file.size();
    const auto squares = [](OmU32 side) { return std::uint64_t{side + SquareSide - 1} / SquareSide; };
    return squares(m_width) * squares(m_height) <= m_file.size() * 8;
  }

  std::size_t rowSize() const { return std::size_t{m_width} * m_channels; }

  const OmInputFile& m_file;
  std::vector<OmU8> m_bytes;
  std::unique_ptr<OmU8[]> m_pixels;
  const OmU8* m_next = nullptr; ///< row
};

} // namespace

bool OmWebP::isBuilt()
{
  return true;
}

std::unique_ptr<OmImageDecoder> OmWebP::makeDecoder(const OmInputFile& file)
{
  return std::make_unique<WebPDecoder>(file);
}
