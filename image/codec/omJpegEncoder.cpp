#include "image/codec/omJpegEncoder.h"

#include "image/codec/omOrigin.h"
#include "image/codec/omProfile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <new>
#include <type_traits>

#include <jerror.h>
#include <jpeglib.h>

namespace
{

constexpr int UsualQuality = 90;
/// From here on colours are stored for each pixel and not for each square of four.
constexpr int FullColorQuality = 90;

/// Returns false if memory runs out: no exception may cross libjpeg.
bool append(const OmU8* from, std::size_t count, std::vector<OmU8>& bytes) noexcept
{
  try
  {
    bytes.insert(bytes.end(), from, from + count);
    return true;
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
}

/// libjpeg's encoder with the handlers that leave by longjmp.
class Encoder
{
public:
  explicit Encoder(std::vector<OmU8>& bytes) : m_bytes(bytes)
  {
    m_jpeg.err = jpeg_std_error(&m_errors);
    m_jpeg.client_data = this;
    m_errors.error_exit = onError;
    m_errors.emit_message = [](j_common_ptr, int) {};
  }
  ~Encoder() { jpeg_destroy_compress(&m_jpeg); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// Calls libjpeg and returns false if it fails. The longjmp crosses no frame that holds an object with a destructor.
  template <typename Call>
  bool attempt(const Call& call)
  {
    static_assert(std::is_trivially_destructible_v<Call>);
    if (setjmp(m_failure) != 0)
      return false;
    call(m_jpeg);
    return true;
  }

  void create()
  {
    jpeg_create_compress(&m_jpeg);
    m_target.init_destination = onStart;
    m_target.empty_output_buffer = onFull;
    m_target.term_destination = onEnd;
    m_jpeg.dest = &m_target;
  }

  /// Gives the reason of the failure. Throws std::bad_alloc if it is that.
  OmString reason() const
  {
    if (m_errors.msg_code == JERR_OUT_OF_MEMORY)
      throw std::bad_alloc();
    return m_reason;
  }

private:
  static Encoder& self(j_compress_ptr jpeg) { return *static_cast<Encoder*>(jpeg->client_data); }

  static void onStart(j_compress_ptr jpeg)
  {
    self(jpeg).m_target.next_output_byte = self(jpeg).m_buffer.data();
    self(jpeg).m_target.free_in_buffer = self(jpeg).m_buffer.size();
  }

  static boolean onFull(j_compress_ptr jpeg)
  {
    self(jpeg).m_target.free_in_buffer = 0; // whatever it is now
    onEnd(jpeg);
    onStart(jpeg);
    return TRUE;
  }

  static void onEnd(j_compress_ptr jpeg)
  {
    const std::array<OmU8, 1 << 16>& buffer = self(jpeg).m_buffer;
    if (!append(buffer.data(), buffer.size() - self(jpeg).m_target.free_in_buffer, self(jpeg).m_bytes))
      ERREXIT1(jpeg, JERR_OUT_OF_MEMORY, 0);
  }

  static void onError(j_common_ptr jpeg)
  {
    auto* const self = static_cast<Encoder*>(jpeg->client_data);
    jpeg->err->format_message(jpeg, self->m_reason);
    std::longjmp(self->m_failure, 1);
  }

  jpeg_compress_struct m_jpeg = {};
  jpeg_error_mgr m_errors = {};
  std::jmp_buf m_failure;
  char m_reason[JMSG_LENGTH_MAX] = "";
  jpeg_destination_mgr m_target = {};
  std::array<OmU8, 1 << 16> m_buffer; ///< of what is not yet in m_bytes
  std::vector<OmU8>& m_bytes;
};

void setUp(jpeg_compress_struct& jpeg, const OmImageRows& rows, const OmImageReaderWriter::WriteSettings& settings)
{
  const int quality = settings.quality > 0 ? settings.quality : UsualQuality;
  jpeg.image_width = rows.width();
  jpeg.image_height = rows.height();
  jpeg.input_components = static_cast<int>(rows.channels());
  jpeg.in_color_space = rows.channels() == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, quality, TRUE);
  if (quality >= FullColorQuality)
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
  jpeg.optimize_coding = settings.compression == OmImageReaderWriter::Fast ? FALSE : TRUE;
  if (settings.compression == OmImageReaderWriter::Small)
    jpeg_simple_progression(&jpeg);
}

/// JFIF has numbers of 16 bits: per inch, or per centimetre where these are the whole ones.
void setResolution(jpeg_compress_struct& jpeg, const OmImageMetadata::Resolution& resolution)
{
  constexpr double Inch = 0.0254, Largest = 65535.0;
  const double x = resolution.x, y = resolution.y;
  const bool isCentimetre = resolution.x % 100 == 0 && resolution.y % 100 == 0;
  const double largest = std::max(x, y);
  const double factor = !resolution.isPerMetre ? std::min(1.0, Largest / largest) : isCentimetre ? 0.01 : Inch;
  const auto scaled = [factor](double number) { return std::floor(number * factor + 0.5); };
  if (scaled(largest) > Largest || scaled(std::min(x, y)) < 1.0)
    return;
  jpeg.density_unit = static_cast<UINT8>(!resolution.isPerMetre ? 0 : isCentimetre ? 2 : 1);
  jpeg.X_density = static_cast<UINT16>(scaled(x));
  jpeg.Y_density = static_cast<UINT16>(scaled(y));
}

} // namespace

bool OmJpegEncoder::encode(OmImageRows& rows, std::vector<OmU8>& bytes, OmString& reason) const
{
  Encoder encoder(bytes);
  const std::vector<OmU8>* const profile = OmProfile::of(m_settings.metadata, rows.channels());
  const OmString comment = OmOrigin::commentOf(m_settings.metadata);
  bool done = encoder.attempt(
      [&](jpeg_compress_struct& jpeg)
      {
        encoder.create();
        setUp(jpeg, rows, m_settings);
        if (m_settings.metadata != nullptr && m_settings.metadata->resolution)
          setResolution(jpeg, *m_settings.metadata->resolution);
        jpeg_start_compress(&jpeg, TRUE);
        if (profile != nullptr)
          jpeg_write_icc_profile(&jpeg, profile->data(), static_cast<unsigned>(profile->size()));
        if (!comment.empty())
          jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(comment.data()),
                            static_cast<unsigned>(comment.size()));
      });
  for (OmU32 y = 0; done && y < rows.height(); ++y)
  {
    auto* row = const_cast<OmU8*>(rows.row(y)); // libjpeg does not write to it
    done = encoder.attempt([&row](jpeg_compress_struct& jpeg) { jpeg_write_scanlines(&jpeg, &row, 1); });
  }
  done = done && encoder.attempt([](jpeg_compress_struct& jpeg) { jpeg_finish_compress(&jpeg); });
  if (!done)
    reason = encoder.reason();
  return done;
}
