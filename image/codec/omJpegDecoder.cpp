#include "image/codec/omJpegDecoder.h"

#include "image/codec/omOrigin.h"
#include "image/codec/omProfile.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include <jerror.h>

namespace
{

/// An arithmetic coder spends next to nothing on a flat block, so a small file may hold a large picture. Pictures of up
/// to this many bytes are accepted, larger ones up to the ratio that deflate can reach.
constexpr std::uint64_t ArithmeticBytes = 64U << 20;
constexpr std::uint64_t ArithmeticRatio = 1032;

/// A progressive file refines the picture scan by scan. A scan that changes nothing costs the file a few bytes, but the
/// reader visits every block. Real files have some ten scans. A file with a scan for each coefficient is large enough
/// to justify the visits.
constexpr std::uint64_t ScanLimit = 500;
constexpr std::uint64_t BlockVisitsPerByte = 160;
constexpr std::uint64_t FreeBlockVisits = 1U << 24;

constexpr int ExifMarker = JPEG_APP0 + 1; ///< also that of other data
constexpr int ProfileMarker = JPEG_APP0 + 2;
constexpr unsigned LongestMarker = 0xffff;

/// Whether a warning means lost pixels. The others, such as padding between markers, are common in whole files.
bool isDamage(int messageCode)
{
  switch (messageCode)
  {
  case JWRN_ARITH_BAD_CODE:
  case JWRN_HIT_MARKER:
  case JWRN_HUFF_BAD_CODE:
  case JWRN_JPEG_EOF:
  case JWRN_MUST_RESYNC:
    return true;
  default:
    return false;
  }
}

OmU8 scaled(unsigned color, unsigned light)
{
  return static_cast<OmU8>((color * light + 127) / 255);
}

} // namespace

OmJpegDecoder::OmJpegDecoder(const OmInputFile& file) : m_file(file)
{
  m_jpeg.err = jpeg_std_error(&m_errors);
  m_jpeg.client_data = this;
  m_errors.error_exit = onError;
  m_errors.emit_message = onMessage;
  m_progress.progress_monitor = onProgress;
}

OmJpegDecoder::~OmJpegDecoder()
{
  jpeg_destroy_decompress(&m_jpeg);
}

/// Calls libjpeg and returns false if it fails. The handlers leave by longjmp. It crosses the frames of libjpeg, of the
/// call and this one, and none of them holds an object with a destructor.
template <typename Call>
bool OmJpegDecoder::attempt(const Call& call)
{
  static_assert(std::is_trivially_destructible_v<Call>);
  if (setjmp(m_failure) != 0)
    return false;
  call();
  return true;
}

void OmJpegDecoder::onError(j_common_ptr jpeg)
{
  auto* const self = static_cast<OmJpegDecoder*>(jpeg->client_data);
  if (jpeg->err->msg_code == JERR_OUT_OF_MEMORY)
    self->fail("out of memory");
  else
  {
    char message[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, message);
    self->fail(message);
  }
  std::longjmp(self->m_failure, 1);
}

void OmJpegDecoder::onMessage(j_common_ptr jpeg, int level)
{
  if (level < 0 && isDamage(jpeg->err->msg_code))
    onError(jpeg);
}

void OmJpegDecoder::onProgress(j_common_ptr jpeg)
{
  auto* const self = static_cast<OmJpegDecoder*>(jpeg->client_data);
  if (self->m_jpeg.input_scan_number <= self->m_maximumScans)
    return;
  self->fail("it has too many scans for its size");
  std::longjmp(self->m_failure, 1);
}

/// The number of 8 by 8 blocks of all components.
std::uint64_t OmJpegDecoder::blockCount() const
{
  std::uint64_t blocks = 0;
  for (int component = 0; component < m_jpeg.num_components; ++component)
  {
    const jpeg_component_info& info = m_jpeg.comp_info[component];
    blocks += std::uint64_t{info.width_in_blocks} * info.height_in_blocks;
  }
  return blocks;
}

bool OmJpegDecoder::fileMayHoldPicture() const
{
  const std::uint64_t bytes = std::uint64_t{m_width} * m_height * m_channels;
  if (m_jpeg.arith_code != 0)
    return bytes <= ArithmeticBytes || bytes / ArithmeticRatio <= m_file.size();
  return blockCount() <= m_file.size() * 8; // no Huffman code is shorter than one bit
}

bool OmJpegDecoder::chooseColors()
{
  switch (m_jpeg.jpeg_color_space)
  {
  case JCS_GRAYSCALE:
    m_jpeg.out_color_space = JCS_GRAYSCALE;
    m_channels = 1;
    return true;
  case JCS_YCbCr:
  case JCS_RGB:
    m_jpeg.out_color_space = JCS_RGB;
    m_channels = 3;
    return true;
  case JCS_CMYK:
  case JCS_YCCK:
    m_jpeg.out_color_space = JCS_CMYK;
    m_channels = 3;
    return true;
  default:
    return fail("a JPEG picture with this number of components is not supported");
  }
}

/// The markers before the pixels say how the picture stands.
void OmJpegDecoder::readMarkers()
{
  for (const jpeg_marker_struct* marker = m_jpeg.marker_list; marker != nullptr; marker = marker->next)
    if (marker->marker == ExifMarker && marker->data_length > 5 && std::memcmp(marker->data, "Exif", 5) == 0)
    {
      m_orientation = OmExif::orientation(marker->data, marker->data_length);
      return;
    }
}

bool OmJpegDecoder::readHeader()
{
  const bool done = attempt(
      [this]
      {
        jpeg_create_decompress(&m_jpeg);
        m_jpeg.progress = &m_progress;
        m_maximumScans = 1;
        jpeg_stdio_src(&m_jpeg, m_file.stream());
        jpeg_save_markers(&m_jpeg, ExifMarker, LongestMarker);
        jpeg_save_markers(&m_jpeg, ProfileMarker, LongestMarker);
        jpeg_save_markers(&m_jpeg, JPEG_COM, LongestMarker);
        jpeg_read_header(&m_jpeg, TRUE);
      });
  if (!done || !chooseColors())
    return false;
  m_width = m_jpeg.image_width;
  m_height = m_jpeg.image_height;
  readMarkers();
  if (!fileMayHoldPicture())
    return fail("the file is too small for the size in its header");
  const std::uint64_t visits = m_file.size() * BlockVisitsPerByte + FreeBlockVisits;
  m_maximumScans = static_cast<int>(std::min(ScanLimit, visits / std::max<std::uint64_t>(1, blockCount())));
  return true;
}

/// JFIF's density, per inch or per centimetre or only as a ratio.
std::optional<OmImageMetadata::Resolution> OmJpegDecoder::resolution() const
{
  const OmU32 x = m_jpeg.X_density, y = m_jpeg.Y_density;
  if (m_jpeg.saw_JFIF_marker == 0 || x == 0 || y == 0 || m_jpeg.density_unit > 2)
    return std::nullopt;
  if (m_jpeg.density_unit == 0)
    return x == y ? std::nullopt : std::optional(OmImageMetadata::Resolution{x, y, false});
  const double perMetre = m_jpeg.density_unit == 1 ? 1.0 / 0.0254 : 100.0;
  const auto scaled = [perMetre](OmU32 density) { return static_cast<OmU32>(std::lround(density * perMetre)); };
  return OmImageMetadata::Resolution{scaled(x), scaled(y), true};
}

void OmJpegDecoder::readMetadata(OmImageMetadata& metadata)
{
  JOCTET* profile = nullptr;
  unsigned size = 0;
  attempt([&] { jpeg_read_icc_profile(&m_jpeg, &profile, &size); });
  if (profile != nullptr)
    OmProfile::keep(profile, size, metadata);
  std::free(profile);
  metadata.resolution = resolution();
  for (const jpeg_marker_struct* marker = m_jpeg.marker_list; marker != nullptr; marker = marker->next)
    if (marker->marker == JPEG_COM && metadata.origin.empty())
      OmOrigin::keepComment(OmString(marker->data, marker->data + marker->data_length), metadata);
}

bool OmJpegDecoder::isWhole()
{
  OmU8 end[2] = {};
  return ::fseeko(m_file.stream(), -static_cast<off_t>(sizeof end), SEEK_END) == 0 &&
         std::fread(end, 1, sizeof end, m_file.stream()) == sizeof end && end[0] == 0xff && end[1] == JPEG_EOI;
}

bool OmJpegDecoder::start()
{
  m_ownRow.resize(std::size_t{m_width} * 4);
  if (m_addsAlpha && m_jpeg.out_color_space == JCS_RGB)
    m_jpeg.out_color_space = JCS_EXT_RGBA;
  return attempt([this] { jpeg_start_decompress(&m_jpeg); });
}

/// Files with Adobe's marker store the light that an ink leaves, not the amount of ink.
void OmJpegDecoder::convertCmykRow(OmU8* row) const
{
  const unsigned inverted = m_jpeg.saw_Adobe_marker != 0 ? 0U : 255U;
  for (std::size_t x = 0; x < m_width; ++x)
  {
    const OmU8* const inks = &m_ownRow[x * 4];
    const unsigned light = inks[3] ^ inverted;
    OmU8* const pixel = row + x * m_channels;
    for (std::size_t channel = 0; channel < 3; ++channel)
      pixel[channel] = scaled(inks[channel] ^ inverted, light);
    if (m_addsAlpha)
      pixel[3] = 255;
  }
}

bool OmJpegDecoder::readRow(OmU8* row)
{
  const bool isCmyk = m_jpeg.out_color_space == JCS_CMYK;
  JSAMPROW target = isCmyk || row == nullptr ? m_ownRow.data() : row;
  if (!attempt([this, &target] { jpeg_read_scanlines(&m_jpeg, &target, 1); }))
    return false;
  if (isCmyk && row != nullptr)
    convertCmykRow(row);
  return true;
}

bool OmJpegDecoder::finish()
{
  return attempt([this] { jpeg_finish_decompress(&m_jpeg); });
}
