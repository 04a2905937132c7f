#include "image/omImageStream.h"

#include "image/codec/omPnmEncoder.h"
#include "image/codec/omPnmHeader.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace
{

/// Memory is taken for so many bytes at first, and then for as many again as have arrived.
constexpr std::uint64_t BytesInAdvance = std::uint64_t{1} << 20;

constexpr std::uint64_t SignatureSize = 8; // of PNG
constexpr std::uint64_t ChunkHeadSize = 8; // its length and its type
constexpr std::uint64_t ChunkSumSize = 4;
constexpr std::uint64_t LongestChunk = 0x7fffffff;

} // namespace

void OmImageStream::setRawFrames(OmU32 channels, OmU32 width, OmU32 height)
{
  m_rawHeader = OmPnmEncoder::header(OmImageReaderWriter::PAM, channels, width, height);
  if (__builtin_mul_overflow(std::uint64_t{width} * height, channels, &m_rawSize))
    m_rawSize = UINT64_MAX;
}

void OmImageStream::setLargestPicture(std::uint64_t bytes)
{
  m_largest = bytes;
}

OmImageStream::Result OmImageStream::next(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format,
                                          OmString& reason)
{
  bytes.clear();
  const int first = std::getc(m_stream);
  if (first == EOF && std::ferror(m_stream) == 0)
    return End;
  std::ungetc(first, m_stream);

  bool isTaken = false;
  if (!m_rawHeader.empty())
  {
    format = OmImageReaderWriter::Raw;
    isTaken = takeRaw(bytes, reason);
  }
  else if (first == 'P')
    isTaken = takePnm(bytes, format, reason);
  else
  {
    format = OmImageReaderWriter::PNG;
    isTaken = takePng(bytes, reason);
  }
  return isTaken ? Picture : Broken;
}

/// Takes as many bytes from the stream.
bool OmImageStream::append(std::uint64_t count, std::vector<OmU8>& bytes, OmString& reason)
{
  if (count > m_largest || bytes.size() > m_largest - count)
  {
    reason = "it takes more than " + std::to_string(m_largest) + " bytes";
    return false;
  }
  while (count > 0)
  {
    const std::size_t size = bytes.size();
    const std::uint64_t part = std::min(count, std::max<std::uint64_t>(size, BytesInAdvance));
    bytes.resize(size + part);
    errno = 0;
    if (std::fread(bytes.data() + size, 1, part, m_stream) != part)
    {
      reason = std::ferror(m_stream) != 0 ? std::generic_category().message(errno) : "it ends early";
      return false;
    }
    count -= part;
  }
  return true;
}

bool OmImageStream::takeRaw(std::vector<OmU8>& bytes, OmString& reason)
{
  bytes.insert(bytes.end(), m_rawHeader.begin(), m_rawHeader.end());
  return append(m_rawSize, bytes, reason);
}

bool OmImageStream::takePnm(std::vector<OmU8>& bytes, OmImageReaderWriter::Format& format, OmString& reason)
{
  OmPnmHeader header;
  if (!header.read(m_stream, bytes, reason))
    return false;
  format = header.isPam() ? OmImageReaderWriter::PAM : OmImageReaderWriter::PPM;
  return append(header.pixelBytes(), bytes, reason);
}

/// Walks the chunks to the one that ends the picture.
bool OmImageStream::takePng(std::vector<OmU8>& bytes, OmString& reason)
{
  if (!append(1, bytes, reason))
    return false;
  if (bytes[0] != 0x89)
  {
    reason = "what follows is neither a PNG, PPM, PGM nor PAM picture";
    return false;
  }
  if (!append(SignatureSize - 1, bytes, reason))
    return false;
  for (;;)
  {
    const std::size_t start = bytes.size();
    if (!append(ChunkHeadSize, bytes, reason))
      return false;
    const OmU8* const head = bytes.data() + start;
    const std::uint64_t length = std::uint64_t{head[0]} << 24 | OmU32{head[1]} << 16 | OmU32{head[2]} << 8 | head[3];
    const bool isNamed = std::all_of(head + 4, head + 8, [](int letter) { return std::isalpha(letter) != 0; });
    const bool isLast = std::memcmp(head + 4, "IEND", 4) == 0;
    if (length > LongestChunk || !isNamed)
    {
      reason = "a PNG picture has a damaged chunk";
      return false;
    }
    if (!append(length + ChunkSumSize, bytes, reason))
      return false;
    if (isLast)
      return true;
  }
}
