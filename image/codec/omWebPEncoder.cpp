#include "image/codec/omWebP.h"

#include <new>

#include <webp/encode.h>

namespace
{

/// By OmImageReaderWriter::Compression: libwebp's efforts, from 0, without loss up to 9 and with loss up to 6.
constexpr int LosslessEfforts[] = {1, 4, 9};
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

} // namespace

bool OmWebP::encode(OmImageRows& rows, const OmImageReaderWriter::WriteSettings& settings, std::vector<OmU8>& bytes,
                    OmString& reason)
{
  const WebPConfig config = configFor(settings);
  Picture picture;
  picture.fill(rows);
  if (WebPEncode(&config, &picture) != 0)
  {
    bytes.insert(bytes.end(), picture.begin(), picture.end());
    return true;
  }
  if (picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY || picture.error_code == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY)
    throw std::bad_alloc();
  reason = "libwebp reports error " + std::to_string(picture.error_code);
  return false;
}
