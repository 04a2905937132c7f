#include "image/codec/omTiff.h"

#include "image/codec/omProfile.h"
#include "image/codec/omTiffBlocks.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <utility>

namespace
{

/// Some of the many compressions take next to no bits for a flat area. Pictures of up to this many bytes are accepted,
/// larger ones up to the ratio that deflate can reach.
constexpr std::uint64_t FreeBytes = std::uint64_t{128} << 20;
constexpr std::uint64_t Ratio = 1032;

constexpr char TooSmall[] = "the file is too small for the size in its header";

// libtiff reads by these. The handle is an OmInputFile.
const OmInputFile& fileOf(thandle_t handle)
{
  return *static_cast<const OmInputFile*>(handle);
}

tmsize_t readBytes(thandle_t handle, void* bytes, tmsize_t count)
{
  return static_cast<tmsize_t>(std::fread(bytes, 1, static_cast<std::size_t>(count), fileOf(handle).stream()));
}

tmsize_t writeBytes(thandle_t, void*, tmsize_t)
{
  return 0;
}

toff_t seek(thandle_t handle, toff_t offset, int origin)
{
  std::FILE* const stream = fileOf(handle).stream();
  if (offset > static_cast<toff_t>(std::numeric_limits<off_t>::max()) ||
      ::fseeko(stream, static_cast<off_t>(offset), origin) != 0)
    return static_cast<toff_t>(-1);
  return static_cast<toff_t>(::ftello(stream));
}

int close(thandle_t)
{
  return 0;
}

toff_t sizeOf(thandle_t handle)
{
  return fileOf(handle).size();
}

struct Free
{
  void operator()(TIFF* page) const { TIFFClose(page); }
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

/// The converted page of those that are not decoded here: palettes, CMYK, YCbCr and others.
class Converted
{
public:
  Converted() = default;
  ~Converted()
  {
    if (m_isBegun)
      TIFFRGBAImageEnd(&m_image);
  }
  Converted(const Converted&) = delete;
  Converted& operator=(const Converted&) = delete;

  /// Returns false and a reason if the page is of no known kind, or damaged.
  bool read(TIFF* page, OmU32 width, OmU32 height, char (&reason)[1024])
  {
    constexpr int StopAtDamage = 1;
    m_isBegun = TIFFRGBAImageBegin(&m_image, page, StopAtDamage, reason) != 0;
    if (!m_isBegun)
      return false;
    m_image.req_orientation = m_image.orientation; // the rows as they are stored
    m_pixels.reset(new OmU32[std::size_t{width} * height]);
    return TIFFRGBAImageGet(&m_image, m_pixels.get(), width, height) != 0;
  }

  const OmU32* pixels() const { return m_pixels.get(); }

private:
  TIFFRGBAImage m_image = {};
  bool m_isBegun = false;
  std::unique_ptr<OmU32[]> m_pixels; ///< not initialized: memory that is not decoded into is not taken
};

template <typename Sample>
Sample unmultiplied(Sample color, Sample alpha)
{
  constexpr OmU32 Largest = std::numeric_limits<Sample>::max();
  return alpha == 0 ? Sample{0} : static_cast<Sample>(std::min(Largest, (color * Largest + alpha / 2U) / alpha));
}

class TiffDecoder : public OmImageDecoder
{
public:
  explicit TiffDecoder(const OmInputFile& file) : m_file(file) {}

  bool readHeader() override;
  void readMetadata(OmImageMetadata& metadata) override;
  bool start() override;
  bool readRow(OmU8* row) override;
  bool finish() override { return true; }

private:
  bool openPage();
  void readTags();
  bool isDirect() const;
  bool isPacked() const
  {
    return (m_bits == 1 || m_bits == 2 || m_bits == 4) && OmTiffBlocks::mayBePacked(m_page.get(), m_samples);
  }
  std::uint16_t guessedPhotometric() const;
  bool isConvertible() const;
  bool isGrey() const { return m_photometric == PHOTOMETRIC_MINISBLACK || m_photometric == PHOTOMETRIC_MINISWHITE; }
  bool mayHold(std::uint64_t bytes) const { return bytes <= FreeBytes || bytes / Ratio <= m_file.size(); }
  bool failByLibrary(const char* otherwise) { return m_reason[0] == '\0' ? fail(otherwise) : false; }
  template <typename Sample>
  Sample sample(const OmU8* samples, std::size_t number) const;
  template <typename Sample>
  void convertSamples(const OmU8* samples, Sample* row) const;
  void copyConverted(const OmU32* pixels, OmU8* row) const;
  static int onError(TIFF*, void* decoder, const char*, const char* format, va_list arguments);
  static int onWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

  const OmInputFile& m_file;
  std::unique_ptr<TIFF, Free> m_page;
  std::optional<OmTiffBlocks> m_blocks; ///< of a page that is decoded here
  Converted m_converted;                ///< of another
  std::uint16_t m_bits = 0;             ///< of a sample
  std::uint16_t m_samples = 0;          ///< of a pixel
  std::uint16_t m_photometric = 0;
  std::uint16_t m_sampleFormat = 0;
  std::uint16_t m_alphaKind = EXTRASAMPLE_UNSPECIFIED;
  OmU32 m_colors = 0; ///< the channels without alpha
  OmU32 m_next = 0;   ///< row
};

/// Keeps the first message.
int TiffDecoder::onError(TIFF*, void* decoder, const char*, const char* format, va_list arguments)
{
  char(&reason)[sizeof(m_reason)] = static_cast<TiffDecoder*>(decoder)->m_reason;
  if (reason[0] == '\0')
    std::vsnprintf(reason, sizeof reason, format, arguments);
  return 1;
}

bool TiffDecoder::openPage()
{
  const std::unique_ptr<TIFFOpenOptions, Free> options(TIFFOpenOptionsAlloc());
  if (!options)
    throw std::bad_alloc();
  constexpr auto Most = static_cast<std::uint64_t>(std::numeric_limits<tmsize_t>::max());
  const std::uint64_t limit = std::max(FreeBytes, std::min(m_file.size(), Most / Ratio) * Ratio);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(limit));
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
  m_page.reset(TIFFClientOpenExt("picture", "rm", const_cast<OmInputFile*>(&m_file), readBytes, writeBytes, seek, close,
                                 sizeOf, nullptr, nullptr, options.get()));
  return m_page != nullptr;
}

/// For a file without that tag. Faxes are dark on white.
std::uint16_t TiffDecoder::guessedPhotometric() const
{
  std::uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_COMPRESSION, &compression);
  if (compression >= COMPRESSION_CCITTRLE && compression <= COMPRESSION_CCITTFAX4)
    return PHOTOMETRIC_MINISWHITE;
  return m_samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
}

void TiffDecoder::readTags()
{
  std::uint16_t orientation = ORIENTATION_TOPLEFT, extraSamples = 0;
  const std::uint16_t* kinds = nullptr;
  TIFFGetField(m_page.get(), TIFFTAG_IMAGEWIDTH, &m_width);
  TIFFGetField(m_page.get(), TIFFTAG_IMAGELENGTH, &m_height);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_BITSPERSAMPLE, &m_bits);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_SAMPLESPERPIXEL, &m_samples);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_SAMPLEFORMAT, &m_sampleFormat);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_ORIENTATION, &orientation);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_EXTRASAMPLES, &extraSamples, &kinds);
  if (TIFFGetField(m_page.get(), TIFFTAG_PHOTOMETRIC, &m_photometric) == 0)
    m_photometric = guessedPhotometric();
  m_orientation = OmExif::orientationOf(orientation);
  m_colors = isGrey() ? 1 : 3;
  if (extraSamples > 0 && kinds != nullptr && m_samples > m_colors)
    m_alphaKind = kinds[0];
  m_channels = m_colors + (m_alphaKind == EXTRASAMPLE_UNSPECIFIED ? 0 : 1);
}

/// Whether the samples are used as they are. libtiff's own conversion multiplies them by alpha, among others.
bool TiffDecoder::isDirect() const
{
  return (isGrey() || m_photometric == PHOTOMETRIC_RGB) && (m_bits == 8 || m_bits == 16 || isPacked()) &&
         m_sampleFormat == SAMPLEFORMAT_UINT && m_samples >= m_channels;
}

/// Whether libtiff converts the colours to the RGB that they stand for. Those of CIE L*a*b* and of LogLuv it adapts to
/// a screen.
bool TiffDecoder::isConvertible() const
{
  return isGrey() || m_photometric == PHOTOMETRIC_RGB || m_photometric == PHOTOMETRIC_PALETTE ||
         m_photometric == PHOTOMETRIC_SEPARATED || m_photometric == PHOTOMETRIC_YCBCR;
}

bool TiffDecoder::readHeader()
{
  if (!openPage())
    return failByLibrary("the TIFF picture is damaged");
  readTags();
  if (m_width == 0 || m_height == 0)
    return fail("its header has no size");
  const std::uint64_t pixels = std::uint64_t{m_width} * m_height;
  const std::uint64_t pixelSize = isDirect() ? std::uint64_t{m_samples} * ((m_bits + 7U) / 8U) : sizeof(OmU32);
  if (pixels > std::numeric_limits<std::uint64_t>::max() / pixelSize || !mayHold(pixels * pixelSize))
    return fail(TooSmall);
  if (isDirect())
  {
    m_depth = m_bits == 16 ? 16 : 8;
    m_blocks.emplace(m_page.get(), m_width, m_height, m_samples, m_bits);
    return mayHold(m_blocks->memory()) || fail(TooSmall);
  }
  if (!isConvertible())
    return fail("its colours are neither grey, RGB, a palette, CMYK nor YCbCr");
  char reason[1024] = "";
  if (TIFFRGBAImageOK(m_page.get(), reason) == 0)
    return fail(reason);
  m_reason[0] = '\0';
  return true;
}

void TiffDecoder::readMetadata(OmImageMetadata& metadata)
{
  OmU32 size = 0;
  const void* profile = nullptr;
  if (TIFFGetField(m_page.get(), TIFFTAG_ICCPROFILE, &size, &profile) != 0 && profile != nullptr)
    OmProfile::keep(static_cast<const OmU8*>(profile), size, metadata);

  constexpr float Largest = 1e6F;
  float x = 0.0F, y = 0.0F;
  std::uint16_t unit = RESUNIT_INCH;
  TIFFGetField(m_page.get(), TIFFTAG_XRESOLUTION, &x);
  TIFFGetField(m_page.get(), TIFFTAG_YRESOLUTION, &y);
  TIFFGetFieldDefaulted(m_page.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
  const bool isPerMetre = unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER;
  const double factor = unit == RESUNIT_INCH ? 1.0 / 0.0254 : isPerMetre ? 100.0 : 1.0;
  const auto scaled = [factor](float number)
  { return static_cast<OmU32>(std::lround(static_cast<double>(number) * factor)); };
  const bool isSound = x > 0.0F && x < Largest && y > 0.0F && y < Largest; // false for NaN
  if (isSound && scaled(x) > 0 && scaled(y) > 0 && (isPerMetre || scaled(x) != scaled(y)))
    metadata.resolution = {scaled(x), scaled(y), isPerMetre};
}

bool TiffDecoder::start()
{
  char reason[1024] = "";
  if (m_blocks || m_converted.read(m_page.get(), m_width, m_height, reason))
    return true;
  return reason[0] != '\0' ? fail(reason) : failByLibrary("the TIFF picture is damaged");
}

/// A sample counted from the start of the row. One of 16 bits is scaled to 8 for a row of bytes; only such samples go
/// into rows of 16 bits.
template <typename Sample>
Sample TiffDecoder::sample(const OmU8* samples, std::size_t number) const
{
  if (m_bits == 8)
    return samples[number];
  if (m_bits < 8)
  {
    const OmU32 largest = (1U << m_bits) - 1U;
    const std::size_t perByte = 8U / m_bits;
    const std::size_t shift = (perByte - 1 - number % perByte) * m_bits;
    return static_cast<Sample>((OmU32{samples[number / perByte]} >> shift & largest) * 255U / largest);
  }
  std::uint16_t value = 0;
  std::memcpy(&value, samples + number * sizeof value, sizeof value);
  return sizeof(Sample) == 2 ? static_cast<Sample>(value) : static_cast<Sample>((value * 255U + 32767U) / 65535U);
}

template <typename Sample>
void TiffDecoder::convertSamples(const OmU8* samples, Sample* row) const
{
  constexpr Sample Largest = std::numeric_limits<Sample>::max();
  const Sample inverted = m_photometric == PHOTOMETRIC_MINISWHITE ? Largest : 0;
  std::size_t first = 0; // of the pixel
  for (OmU32 x = 0; x < m_width; ++x, first += m_samples, row += m_channels)
  {
    for (OmU32 color = 0; color < m_colors; ++color)
      row[color] = sample<Sample>(samples, first + color) ^ inverted;
    if (m_addsAlpha)
      row[m_colors] = Largest;
    else if (m_channels > m_colors)
      row[m_colors] = sample<Sample>(samples, first + m_colors);
    if (m_alphaKind == EXTRASAMPLE_ASSOCALPHA)
      for (OmU32 color = 0; color < m_colors; ++color)
        row[color] = unmultiplied(row[color], row[m_colors]);
  }
}

void TiffDecoder::copyConverted(const OmU32* pixels, OmU8* row) const
{
  const bool hasAlpha = m_alphaKind != EXTRASAMPLE_UNSPECIFIED;
  for (OmU32 x = 0; x < m_width; ++x, ++pixels, row += m_channels)
  {
    const auto alpha = static_cast<OmU8>(TIFFGetA(*pixels));
    for (OmU32 channel = 0; channel < m_colors; ++channel)
    {
      const auto color = static_cast<OmU8>(*pixels >> 8 * channel); // TIFFGetR() and so on
      row[channel] = hasAlpha ? unmultiplied(color, alpha) : color;
    }
    if (m_channels > m_colors)
      row[m_colors] = hasAlpha ? alpha : OmU8{255};
  }
}

bool TiffDecoder::readRow(OmU8* row)
{
  const OmU32 y = m_next++;
  if (!m_blocks)
  {
    if (row != nullptr)
      copyConverted(m_converted.pixels() + std::size_t{y} * m_width, row);
    return true;
  }
  const OmU8* const samples = m_blocks->row(y);
  if (samples == nullptr)
    return failByLibrary("the TIFF picture is damaged");
  if (row != nullptr && m_sampleSize == 2)
    convertSamples(samples, reinterpret_cast<std::uint16_t*>(row));
  else if (row != nullptr)
    convertSamples(samples, row);
  return true;
}

} // namespace

bool OmTiff::isBuilt()
{
  return true;
}

std::unique_ptr<OmImageDecoder> OmTiff::makeDecoder(const OmInputFile& file)
{
  return std::make_unique<TiffDecoder>(file);
}
