#include "image/codec/omWebP.h"

#include "image/codec/omOrigin.h"
#include "image/codec/omProfile.h"
#include "image/codec/omXmp.h"

#include <cstring>
#include <new>

#include <webp/encode.h>

namespace
{

/// By OmImageReaderWriter::Compression: libwebp's efforts, from 0, without loss up to 9 and with loss up to 6.
constexpr int LosslessEfforts[] = {0, 2, 9};
constexpr int LossyEfforts[] = {2, 4, 6};

class Picture : public WebPPicture
{
public:
  Picture() : WebPPicture()
  {
    if (WebPPictureInit(this) == 0)
      throw std::bad_alloc();
    WebPMemoryWriterInit(&m_writer);
    writer = WebPMemoryWrite;
    custom_ptr = &m_writer;
    use_argb = 1;
  }
  ~Picture()
  {
    WebPPictureFree(this);
    WebPMemoryWriterClear(&m_writer);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  const OmU8* begin() const { return m_writer.mem; }
  const OmU8* end() const { return m_writer.mem + m_writer.size; }

  void fill(OmImageRows& rows)
  {
    width = static_cast<int>(rows.width());
    height = static_cast<int>(rows.height());
    if (WebPPictureAlloc(this) == 0)
      throw std::bad_alloc();
    const std::size_t channels = rows.channels();
    for (OmU32 row = 0; row < rows.height(); ++row)
    {
      const OmU8* source = rows.row(row);
      OmU32* const target = argb + std::ptrdiff_t{argb_stride} * row;
      for (OmU32 column = 0; column < rows.width(); ++column, source += channels)
        target[column] = (channels == 4 ? OmU32{source[3]} : 255U) << 24 | OmU32{source[0]} << 16 |
                         OmU32{source[1]} << 8 | source[2];
    }
  }

private:
  WebPMemoryWriter m_writer = {};
};

WebPConfig configFor(const OmImageReaderWriter::WriteSettings& settings)
{
  WebPConfig config = {};
  if (settings.quality > 0)
  {
    WebPConfigPreset(&config, WEBP_PRESET_DEFAULT, static_cast<float>(settings.quality));
    config.method = LossyEfforts[settings.compression];
  }
  else
  {
    WebPConfigInit(&config);
    WebPConfigLosslessPreset(&config, LosslessEfforts[settings.compression]);
  }
  config.exact = 1; // transparent pixels keep their colours
  return config;
}

/// `count` bytes, the low ones first.
void append(std::size_t number, std::size_t count, std::vector<OmU8>& bytes)
{
  for (std::size_t i = 0; i < count; ++i)
    bytes.push_back(static_cast<OmU8>(number >> 8 * i));
}

/// `type` has four letters.
template <typename Data>
void appendChunk(const char* type, const Data& data, std::vector<OmU8>& bytes)
{
  bytes.insert(bytes.end(), type, type + 4);
  append(data.size(), 4, bytes);
  bytes.insert(bytes.end(), data.begin(), data.end());
  append(0, data.size() % 2, bytes);
}

/// Appends libwebp's file in the extended form, with what there is of a profile and of an origin.
void appendExtended(const Picture& file, const OmImageRows& rows, const std::vector<OmU8>* profile,
                    const OmString& origin, std::vector<OmU8>& bytes)
{
  constexpr OmU8 HasProfile = 0x20, HasAlpha = 0x10, HasXmp = 0x04;
  constexpr std::ptrdiff_t FileHeadSize = 12, FeaturesSize = 18; ///< of libwebp's own, which it has with alpha and loss
  const OmU8* picture = file.begin() + FileHeadSize;
  if (std::memcmp(picture, "VP8X", 4) == 0)
    picture += FeaturesSize;

  std::vector<OmU8> features;
  append((profile != nullptr ? HasProfile : 0U) | (rows.channels() == 4 ? HasAlpha : 0U) |
             (!origin.empty() ? HasXmp : 0U),
         4, features);
  append(rows.width() - 1, 3, features);
  append(rows.height() - 1, 3, features);

  std::vector<OmU8> body = {'W', 'E', 'B', 'P'};
  appendChunk("VP8X", features, body);
  if (profile != nullptr)
    appendChunk("ICCP", *profile, body);
  body.insert(body.end(), picture, file.end());
  if (!origin.empty())
    appendChunk("XMP ", OmXmp::packet(origin), body);
  appendChunk("RIFF", body, bytes);
}

} // namespace

bool OmWebP::encode(OmImageRows& rows, const OmImageReaderWriter::WriteSettings& settings, std::vector<OmU8>& bytes,
                    OmString& reason)
{
  const WebPConfig config = configFor(settings);
  Picture picture;
  picture.fill(rows);
  if (WebPEncode(&config, &picture) != 0)
  {
    const std::vector<OmU8>* const profile = OmProfile::of(settings.metadata, rows.channels());
    const OmString origin = OmOrigin::of(settings.metadata);
    if (profile != nullptr || !origin.empty())
      appendExtended(picture, rows, profile, origin, bytes);
    else
      bytes.insert(bytes.end(), picture.begin(), picture.end());
    return true;
  }
  if (picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY || picture.error_code == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY)
    throw std::bad_alloc();
  reason = "libwebp reports error " + std::to_string(picture.error_code);
  return false;
}
