#include "image/omImageReaderWriter.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "image/codec/omInputFile.h"
#include "image/codec/omPictureKinds.h"
#include "image/codec/omUprightImage.h"
#include "image/omReplacementFile.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

namespace
{

/// At most this many bytes of pixels are allocated before any of them has been decoded.
constexpr std::size_t BytesInAdvance = std::size_t{64} << 20;

/// An image that grows with the rows that have been decoded. A file that only announces a large picture does not get
/// the memory for one.
class GrowingImage : public OmImage
{
public:
  void begin(const OmImageDecoder& decoder)
  {
    m_channels = decoder.channels() * decoder.sampleSize();
    m_width = decoder.width();
    m_height = decoder.height();
    m_rowSize = std::size_t{m_width} * m_channels;
    if (__builtin_mul_overflow(m_rowSize, m_height, &m_wholeSize) ||
        m_wholeSize > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()))
      throw std::bad_alloc();
  }

  /// Whether growing row by row keeps the memory in bounds. Otherwise the first pass, or the first row, takes much of
  /// it.
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

/// Decodes the picture into `image`, or keeps nothing of it if that is null.
bool decodePicture(OmImageDecoder& decoder, GrowingImage* image, OmString& reason)
{
  bool done = decoder.start();
  for (int pass = 0; done && pass < decoder.passes(); ++pass)
    for (OmU32 y = 0; done && y < decoder.height(); ++y)
      done = decoder.readRow(image != nullptr ? image->row(y) : nullptr);
  if (done && decoder.finish())
    return true;
  reason = decoder.reason();
  return false;
}

/// How a picture is read.
struct Reading
{
  OmU32 flags;
  bool keepsDepth;
  OmU32 sampleSize; ///< the bytes of a channel that came of it: 1 or 2
};

/// What the file says besides its pixels, of the picture as it stands upright.
OmImageMetadata metadataOf(OmImageDecoder& decoder)
{
  OmImageMetadata found;
  decoder.readMetadata(found);
  if (isTurned(decoder.orientation()) && found.resolution)
    std::swap(found.resolution->x, found.resolution->y);
  return found;
}

/// Reads an image of as many bytes a pixel as there are in its channels. Fills `metadata` unless it is null.
bool readBytes(const OmInputFile& file, Reading& reading, OmImage& image, OmImageMetadata* metadata, OmString& reason)
{
  const auto open = [&]
  {
    std::unique_ptr<OmImageDecoder> decoder = OmPictureKinds::openDecoder(file, reason);
    if (decoder && reading.keepsDepth)
      decoder->keepDepth();
    if (decoder && (reading.flags & OmImageReaderWriter::OpaqueAlpha) != 0)
      decoder->addOpaqueAlpha();
    return decoder;
  };
  std::unique_ptr<OmImageDecoder> decoder = open();
  if (!decoder)
    return false;
  OmImageMetadata found;
  if (metadata != nullptr)
    found = metadataOf(*decoder);
  GrowingImage picture;
  picture.begin(*decoder);
  if (!picture.growsGently(decoder->passes()))
  {
    // The whole file is decoded without keeping its pixels, and then once more.
    if (!decodePicture(*decoder, nullptr, reason))
      return false;
    decoder = open();
  }
  if (!decoder || !decodePicture(*decoder, &picture, reason))
    return false;
  reading.sampleSize = decoder->sampleSize();
  const OmExif::Orientation orientation = decoder->orientation();
  decoder.reset(); // its memory is that of the second picture
  if (orientation == OmExif::TopLeft)
    image = std::move(static_cast<OmImage&>(picture));
  else
    image = uprightImage(picture, orientation);
  if (metadata != nullptr)
    *metadata = std::move(found);
  return true;
}

bool readPicture(const OmInputFile& file, OmU32 flags, OmImage& image, OmImageMetadata* metadata, OmString& reason)
{
  Reading reading = {flags, false, 1};
  return readBytes(file, reading, image, metadata, reason);
}

bool readPicture(const OmInputFile& file, OmU32 flags, OmDeepImage& image, OmImageMetadata* metadata, OmString& reason)
{
  Reading reading = {flags, true, 1};
  OmImage bytes;
  OmImageMetadata found;
  if (!readBytes(file, reading, bytes, &found, reason))
    return false;
  image = reading.sampleSize == 2 ? OmDeepImage(std::move(bytes)) : OmDeepImage::fromImage(bytes);
  if (metadata != nullptr)
    *metadata = std::move(found);
  return true;
}

bool readPictureHeader(const OmInputFile& file, OmU32& width, OmU32& height, OmU32& channels, OmU32& depth,
                       OmString& reason)
{
  const std::unique_ptr<OmImageDecoder> decoder = OmPictureKinds::openDecoder(file, reason);
  if (!decoder)
    return false;
  const bool turned = isTurned(decoder->orientation());
  width = turned ? decoder->height() : decoder->width();
  height = turned ? decoder->width() : decoder->height();
  channels = decoder->channels();
  depth = decoder->depth();
  return true;
}

bool readPictureMetadata(const OmInputFile& file, OmImageMetadata& metadata, OmString& reason)
{
  const std::unique_ptr<OmImageDecoder> decoder = OmPictureKinds::openDecoder(file, reason);
  if (!decoder)
    return false;
  OmImageMetadata found = metadataOf(*decoder);
  if (decoder->isWhole())
  {
    metadata = std::move(found);
    return true;
  }
  reason = "the file does not end where its picture ends";
  return false;
}

bool writeFile(const std::vector<OmU8>& bytes, const OmString& fileName, OmString& reason)
{
  OmReplacementFile file;
  std::error_code error;
  if (!file.open(fileName, error))
  {
    if (error == std::errc::is_a_directory)
      reason = "it is a directory";
    else
      reason = error == std::errc::invalid_argument ? "it is not a regular file" : error.message();
    return false;
  }
  if (file.write(bytes.data(), bytes.size(), error) && file.commit(error))
    return true;
  reason = error.message();
  return false;
}

/// Runs an operation that gives a reason when it fails, and writes that to the log as one line.
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
  const OmString name = OmEscaped(fileName); // a newline in the name must not break the line
  Om::Print::instance().write(Om::Print::Error, "OmImageReaderWriter: cannot %s \"%s\": %s\n", what, name.c_str(),
                              reason.c_str());
  return false;
}

template <typename Image>
bool writePicture(const Image& image, const OmString& fileName, const OmImageReaderWriter::WriteSettings& settings)
{
  return reportFailure("write", fileName,
                       [&](OmString& reason)
                       {
                         std::vector<OmU8> bytes;
                         return OmPictureKinds::encode(image, settings, bytes, reason) &&
                                writeFile(bytes, fileName, reason);
                       });
}

template <typename Image>
bool encodePicture(const Image& image, const OmString& name, const OmImageReaderWriter::WriteSettings& settings,
                   std::vector<OmU8>& bytes)
{
  return reportFailure("write", name,
                       [&](OmString& reason)
                       {
                         std::vector<OmU8> file;
                         if (!OmPictureKinds::encode(image, settings, file, reason))
                           return false;
                         bytes = std::move(file);
                         return true;
                       });
}

} // namespace

OmBoolean OmImageReaderWriter::read(OmImage& image, const OmString& fileName)
{
  return read(image, fileName, 0);
}

OmBoolean OmImageReaderWriter::read(OmImage& image, const OmString& fileName, OmU32 flags)
{
  OmInputFile file;
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       { return file.open(fileName, reason) && readPicture(file, flags, image, nullptr, reason); });
}

OmBoolean OmImageReaderWriter::read(OmImage& image, const OmString& fileName, OmU32 flags, OmImageMetadata& metadata)
{
  OmInputFile file;
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       { return file.open(fileName, reason) && readPicture(file, flags, image, &metadata, reason); });
}

OmBoolean OmImageReaderWriter::read(OmDeepImage& image, const OmString& fileName)
{
  OmImageMetadata ignored;
  return read(image, fileName, 0, ignored);
}

OmBoolean OmImageReaderWriter::read(OmDeepImage& image, const OmString& fileName, OmU32 flags,
                                    OmImageMetadata& metadata)
{
  OmInputFile file;
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       { return file.open(fileName, reason) && readPicture(file, flags, image, &metadata, reason); });
}

OmBoolean OmImageReaderWriter::readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels)
{
  OmU32 depth = 0;
  return readHeader(fileName, width, height, channels, depth);
}

OmBoolean OmImageReaderWriter::readHeader(const OmString& fileName, OmU32& width, OmU32& height, OmU32& channels,
                                          OmU32& depth)
{
  OmInputFile file;
  return reportFailure("read", fileName,
                       [&](OmString& reason) {
                         return file.open(fileName, reason) &&
                                readPictureHeader(file, width, height, channels, depth, reason);
                       });
}

OmBoolean OmImageReaderWriter::readMetadata(const OmString& fileName, OmImageMetadata& metadata)
{
  OmInputFile file;
  return reportFailure("read", fileName,
                       [&](OmString& reason)
                       { return file.open(fileName, reason) && readPictureMetadata(file, metadata, reason); });
}

OmBoolean OmImageReaderWriter::decode(OmImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags)
{
  OmInputFile file;
  return reportFailure("read", name,
                       [&](OmString& reason)
                       { return file.open(bytes, reason) && readPicture(file, flags, image, nullptr, reason); });
}

OmBoolean OmImageReaderWriter::decode(OmImage& image, const std::vector<OmU8>& bytes, const OmString& name, OmU32 flags,
                                      OmImageMetadata& metadata)
{
  OmInputFile file;
  return reportFailure("read", name,
                       [&](OmString& reason)
                       { return file.open(bytes, reason) && readPicture(file, flags, image, &metadata, reason); });
}

OmBoolean OmImageReaderWriter::decode(OmDeepImage& image, const std::vector<OmU8>& bytes, const OmString& name,
                                      OmU32 flags, OmImageMetadata& metadata)
{
  OmInputFile file;
  return reportFailure("read", name,
                       [&](OmString& reason)
                       { return file.open(bytes, reason) && readPicture(file, flags, image, &metadata, reason); });
}

OmBoolean OmImageReaderWriter::decodeHeader(const std::vector<OmU8>& bytes, const OmString& name, OmU32& width,
                                            OmU32& height, OmU32& channels)
{
  OmU32 depth = 0;
  return decodeHeader(bytes, name, width, height, channels, depth);
}

OmBoolean OmImageReaderWriter::decodeHeader(const std::vector<OmU8>& bytes, const OmString& name, OmU32& width,
                                            OmU32& height, OmU32& channels, OmU32& depth)
{
  OmInputFile file;
  return reportFailure("read", name,
                       [&](OmString& reason) {
                         return file.open(bytes, reason) &&
                                readPictureHeader(file, width, height, channels, depth, reason);
                       });
}

OmBoolean OmImageReaderWriter::write(const OmImage& image, const OmString& fileName)
{
  return write(image, fileName, WriteSettings());
}

OmBoolean OmImageReaderWriter::write(const OmImage& image, const OmString& fileName, const WriteSettings& settings)
{
  return writePicture(image, fileName, settings);
}

OmBoolean OmImageReaderWriter::write(const OmDeepImage& image, const OmString& fileName, const WriteSettings& settings)
{
  return writePicture(image, fileName, settings);
}

OmBoolean OmImageReaderWriter::encode(const OmImage& image, const OmString& name, const WriteSettings& settings,
                                      std::vector<OmU8>& bytes)
{
  return encodePicture(image, name, settings, bytes);
}

OmBoolean OmImageReaderWriter::encode(const OmDeepImage& image, const OmString& name, const WriteSettings& settings,
                                      std::vector<OmU8>& bytes)
{
  return encodePicture(image, name, settings, bytes);
}
