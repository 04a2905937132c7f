#include "image/omImageReaderWriter.h"

#include "foundation/core/omPrint.h"
#include "image/omInputFile.h"
#include "image/omJpegDecoder.h"
#include "image/omPngDecoder.h"
#include "image/omPngEncoder.h"
#include "image/omReplacementFile.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace
{

/// So many bytes of pixels are set aside before any of them has been decoded.
constexpr std::size_t BytesInAdvance = std::size_t{64} << 20;

/// An image that grows with the rows that have been decoded, so that a file that only announces a large picture does
/// not get the memory for one.
class GrowingImage : public OmImage
{
public:
  void begin(const OmImageDecoder& decoder)
  {
    m_channels = decoder.channels();
    m_width = decoder.width();
    m_height = decoder.height();
    m_rowSize = std::size_t{m_width} * m_channels;
    if (__builtin_mul_overflow(m_rowSize, m_height, &m_wholeSize) ||
        m_wholeSize > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()))
      throw std::bad_alloc();
  }

  /// Whether rows alone keep the memory in bounds; if not, much of it is needed before anything has been decoded.
  bool growsGently(int passes) const
  {
    return m_wholeSize <= BytesInAdvance || (passes == 1 && m_rowSize <= BytesInAdvance);
  }

  OmU8* row(OmU32 y)
  {
    const std::size_t end = (std::size_t{y} + 1) * m_rowSize;
    if (end > m_pixels.capacity())
      m_pixels.reserve(std::min(m_wholeSize, std::max({end, 2 * m_pixels.capacity(), BytesInAdvance})));
    if (end > m_pixels.size())
      m_pixels.resize(end);
    return m_pixels.data() + end - m_rowSize;
  }

private:
  std::size_t m_rowSize = 0;
  std::size_t m_wholeSize = 0;
};

/// A decoder that has read the header of the file; null, with the reason, when the file is no picture.
std::unique_ptr<OmImageDecoder> openDecoder(const OmInputFile& file, OmString& reason)
{
  static const OmString pngSignature("\x89PNG\r\n\x1a\n", 8);
  static const OmString jpegSignature("\xff\xd8\xff", 3);

  std::rewind(file.stream());
  char start[8] = {};
  const OmString signature(start, std::fread(start, 1, sizeof start, file.stream()));
  std::rewind(file.stream());

  std::unique_ptr<OmImageDecoder> decoder;
  if (signature == pngSignature)
    decoder = std::make_unique<OmPngDecoder>(file);
  else if (signature.compare(0, jpegSignature.size(), jpegSignature) == 0)
    decoder = std::make_unique<OmJpegDecoder>(file);
  else
  {
    reason = "it is neither a PNG nor a JPEG file";
    return nullptr;
  }
  if (decoder->readHeader())
    return decoder;
  reason = decoder->reason();
  return nullptr;
}

/// Decodes all rows into `image`, or, when it is null, only to see whether the file is whole.
bool decodeRows(OmImageDecoder& decoder, GrowingImage* image)
{
  for (int pass = 0; pass < decoder.passes(); ++pass)
    for (OmU32 y = 0; y < decoder.height(); ++y)
      if (!decoder.readRow(image != nullptr ? image->row(y) : nullptr))
        return false;
  return decoder.finish();
}

bool readPicture(const OmInputFile& file, GrowingImage& image, OmString& reason)
{
  std::unique_ptr<OmImageDecoder> decoder = openDecoder(file, reason);
  if (!decoder)
    return false;
  image.begin(*decoder);
  bool done = decoder->start();
  if (done && !image.growsGently(decoder->passes()))
  {
    done = decodeRows(*decoder, nullptr);
    if (done)
    {
      decoder = openDecoder(file, reason);
      if (!decoder)
        return false;
      done = decoder->start();
    }
  }
  if (done && decodeRows(*decoder, &image))
    return true;
  reason = decoder->reason();
  return false;
}

bool writePicture(const OmImage& image, const OmString& fileName, OmString& reason)
{
  if (image.data() == nullptr)
  {
    reason = "the image has no pixels";
    return false;
  }
  if (image.channels() > 4)
  {
    reason = "the image has " + std::to_string(image.channels()) + " channels, and PNG holds 1 to 4";
    return false;
  }

  OmReplacementFile file;
  if (!file.open(fileName, reason))
    return false;
  OmPngEncoder encoder;
  if (encoder.encode(image, file.stream()))
    return file.commit(reason);
  reason = encoder.reason();
  return false;
}

/// Runs an operation that says why it failed; a failure becomes one line of the log.
template <typename Operation>
bool reportFailure(const char* what, const OmString& fileName, const Operation& operation)
{
  OmString reason;
  try
  {
    if (operation(reason))
      return true;
  }
  catch (const std::bad_alloc&)
  {
    reason = "out of memory";
  }
  OmString name = fileName;
  for (char& character : name)
    if (static_cast<unsigned char>(character) < ' ')
      character = '?'; // one failure, one line, whatever the file is called
  Om::Print::instance().write(4, "OmImageReaderWriter: cannot %s \"%s\": %s\n", what, name.c_str(), reason.c_str());
  return false;
}

} // namespace

OmBoolean OmImageReaderWriter::read(OmImage& image, const OmString& fileName)
{
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       {
                         OmInputFile file;
                         GrowingImage picture;
                         if (!file.open(fileName, reason) || !readPicture(file, picture, reason))
                           return false;
                         image = std::move(static_cast<OmImage&>(picture));
                         return true;
                       });
}

OmBoolean OmImageReaderWriter::readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels)
{
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       {
                         OmInputFile file;
                         if (!file.open(fileName, reason))
                           return false;
                         const std::unique_ptr<OmImageDecoder> decoder = openDecoder(file, reason);
                         if (!decoder)
                           return false;
                         width = decoder->width();
                         height = decoder->height();
                         channels = decoder->channels();
                         return true;
                       });
}

OmBoolean OmImageReaderWriter::write(const OmImage& image, const OmString& fileName)
{
  return reportFailure("write", fileName, [&](OmString& reason) { return writePicture(image, fileName, reason); });
}
