#include "image/omPngEncoder.h"

#include <cerrno>
#include <csetjmp>
#include <cstring>

namespace
{

constexpr int CompressionLevel = 3; // of 9; the higher levels take several times as long for a few percent

constexpr int ColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};

void ignoreWarning(png_structp, png_const_charp) {}

void writeBytes(png_structp png, png_bytep bytes, png_size_t count)
{
  if (std::fwrite(bytes, 1, count, static_cast<std::FILE*>(png_get_io_ptr(png))) == count)
    return;
  char message[128];
  png_error(png, ::strerror_r(errno, message, sizeof message));
}

void flushNothing(png_structp) {} // the file is flushed once, when it is complete

} // namespace

OmPngEncoder::OmPngEncoder()
{
  m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, onError, ignoreWarning);
  if (m_png != nullptr)
    m_info = png_create_info_struct(m_png);
}

OmPngEncoder::~OmPngEncoder()
{
  png_destroy_write_struct(&m_png, &m_info);
}

void OmPngEncoder::onError(png_structp png, png_const_charp message)
{
  auto* const self = static_cast<OmPngEncoder*>(png_get_error_ptr(png));
  std::snprintf(self->m_reason, sizeof self->m_reason, "%s", message);
  png_longjmp(png, 1);
}

/// libpng leaves by longjmp: neither this frame nor writePicture()'s holds an object with a destructor.
bool OmPngEncoder::encode(const OmImage& image, std::FILE* stream)
{
  if (m_info == nullptr)
    return false;
  if (setjmp(png_jmpbuf(m_png)) != 0)
    return false;
  writePicture(image, stream);
  return true;
}

void OmPngEncoder::writePicture(const OmImage& image, std::FILE* stream)
{
  png_set_write_fn(m_png, stream, writeBytes, flushNothing);
  png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_compression_level(m_png, CompressionLevel);
  png_set_filter(m_png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP); // the quick ones
  png_set_IHDR(m_png, m_info, image.width(), image.height(), 8, ColorTypes[image.channels() - 1], PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(m_png, m_info);
  const std::size_t rowSize = std::size_t{image.width()} * image.channels();
  for (std::size_t row = 0; row < image.height(); ++row)
    png_write_row(m_png, image.data() + row * rowSize);
  png_write_end(m_png, nullptr);
}
