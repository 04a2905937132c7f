#include "image/codec/omPngDecoder.h"

#include "image/codec/omPngChunks.h"
#include "image/codec/omPngMetadata.h"

#include <csetjmp>
#include <cstdio>
#include <type_traits>

namespace
{

/// No deflate stream expands more than this many times.
constexpr std::uint64_t DeflateRatio = 1032;

/// No chunk besides the pixels is kept that is larger.
constexpr std::size_t LargestChunk = std::size_t{16} << 20;

void ignoreWarning(png_structp, png_const_charp) {}

} // namespace

OmPngDecoder::OmPngDecoder(const OmInputFile& file) : m_file(file)
{
  m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, ignoreWarning);
  if (m_png != nullptr)
    m_info = png_create_info_struct(m_png);
}

OmPngDecoder::~OmPngDecoder()
{
  png_destroy_read_struct(&m_png, &m_info, nullptr);
}

/// Calls libpng and returns false if it fails. libpng leaves by longjmp. It crosses the frames of libpng, of the call
/// and this one, and none of them holds an object with a destructor.
template <typename Call>
bool OmPngDecoder::attempt(const Call& call)
{
  static_assert(std::is_trivially_destructible_v<Call>);
  if (setjmp(png_jmpbuf(m_png)) != 0)
    return false;
  call();
  return true;
}

void OmPngDecoder::onError(png_structp png, png_const_charp message)
{
  static_cast<OmPngDecoder*>(png_get_error_ptr(png))->fail(message);
  png_longjmp(png, 1);
}

void OmPngDecoder::onRead(png_structp png, png_bytep bytes, png_size_t count)
{
  std::FILE* const stream = static_cast<OmPngDecoder*>(png_get_io_ptr(png))->m_file.stream();
  if (std::fread(bytes, 1, count, stream) != count)
    png_error(png, std::ferror(stream) != 0 ? "the file cannot be read to its end" : "the file ends early");
}

bool OmPngDecoder::fileMayHoldPicture() const
{
  const std::uint64_t pixelBytes = m_file.size() * DeflateRatio;
  return png_get_rowbytes(m_png, m_info) + 1 <= pixelBytes / m_height; // each row has one byte more, its filter
}

bool OmPngDecoder::readHeader()
{
  if (m_info == nullptr)
    return fail("out of memory");

  const OmPngChunks chunks(m_file, {"eXIf"}, LargestChunk);
  if (const std::vector<OmU8>* const exif = chunks.find("eXIf"))
    m_orientation = OmExif::orientation(exif->data(), exif->size());
  m_hasEnd = chunks.hasEnd();
  std::rewind(m_file.stream());

  const bool done = attempt(
      [this]
      {
        png_set_read_fn(m_png, this, onRead);
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        // Chunks that do not affect the pixels, such as text and profiles, are not unpacked.
        png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        // Damage, such as a wrong checksum of the pixels, is an error here and not a warning.
        png_set_benign_errors(m_png, 0);
        png_read_info(m_png, m_info);

        m_width = png_get_image_width(m_png, m_info);
        m_height = png_get_image_height(m_png, m_info);
        const unsigned colorType = png_get_color_type(m_png, m_info);
        const bool hasAlpha =
            (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(m_png, m_info, PNG_INFO_tRNS) != 0;
        m_channels = ((colorType & PNG_COLOR_MASK_COLOR) != 0 ? 3U : 1U) + (hasAlpha ? 1U : 0U);
        m_depth = png_get_bit_depth(m_png, m_info) == 16 ? 16 : 8;
        m_passes = png_set_interlace_handling(m_png);
      });
  return done && (fileMayHoldPicture() || fail("the file is too small for the size in its header"));
}

/// libpng goes on where it was.
void OmPngDecoder::readMetadata(OmImageMetadata& metadata)
{
  const off_t place = ::ftello(m_file.stream());
  OmPngMetadata::read(m_file, metadata);
  if (::fseeko(m_file.stream(), place, SEEK_SET) != 0)
    std::rewind(m_file.stream()); // start() then fails
}

bool OmPngDecoder::start()
{
  const bool done = attempt(
      [this]
      {
        png_set_expand(m_png);
        if (m_sampleSize == 1)
          png_set_scale_16(m_png);
        else if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__)
          png_set_swap(m_png);
        if (m_addsAlpha)
          png_set_add_alpha(m_png, 0xffff, PNG_FILLER_AFTER);
        png_read_update_info(m_png, m_info);
      });
  // readRow() is given rows of the length that follows from the header.
  return done && (png_get_rowbytes(m_png, m_info) == std::uint64_t{m_width} * m_channels * m_sampleSize ||
                  fail("its pixels do not have the layout that the header announces"));
}

bool OmPngDecoder::readRow(OmU8* row)
{
  return attempt([this, row] { png_read_row(m_png, row, nullptr); });
}

bool OmPngDecoder::finish()
{
  return attempt([this] { png_read_end(m_png, nullptr); });
}
