#include "image/codec/omPngChunks.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <libdeflate.h>

namespace
{

constexpr std::uint64_t SignatureSize = 8;
constexpr std::size_t HeadSize = 8; ///< a chunk's length and its type
constexpr std::size_t SumSize = 4;
constexpr std::size_t TypeSize = 4;

OmU32 number(const OmU8* bytes)
{
  return OmU32{bytes[0]} << 24 | OmU32{bytes[1]} << 16 | OmU32{bytes[2]} << 8 | bytes[3];
}

bool isLetter(char byte)
{
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool isSame(OmU8 byte, char letter)
{
  return byte == static_cast<OmU8>(letter);
}

} // namespace

OmPngChunks::OmPngChunks(const OmInputFile& file, std::vector<OmString> types, std::size_t largest)
{
  for (OmString& type : types)
    m_chunks.push_back({std::move(type), {}});
  std::uint64_t at = SignatureSize;
  OmU8 head[HeadSize];
  while (at < file.size() && ::fseeko(file.stream(), static_cast<off_t>(at), SEEK_SET) == 0 &&
         std::fread(head, 1, HeadSize, file.stream()) == HeadSize)
  {
    const OmU32 size = number(head);
    const OmString type(reinterpret_cast<const char*>(head) + TypeSize, TypeSize);
    for (Chunk& chunk : m_chunks)
      if (!chunk.isFound && chunk.type.compare(0, TypeSize, type) == 0 && size <= largest && size <= file.size() - at)
        keep(file.stream(), chunk, size);
    at += HeadSize + std::uint64_t{size} + SumSize;
    m_hasEnd = type == "IEND" && at <= file.size();
    if (type == "IEND" || !std::all_of(type.begin(), type.end(), isLetter)) // or it is no chunk
      break;
  }
}

void OmPngChunks::keep(std::FILE* stream, Chunk& chunk, std::size_t size)
{
  const auto start = chunk.type.begin() + TypeSize;
  std::vector<OmU8> data(chunk.type.size() - TypeSize);
  const auto readFrom = [&](std::size_t at)
  { return std::fread(data.data() + at, 1, data.size() - at, stream) == data.size() - at; };
  if (size < data.size() || !readFrom(0) || !std::equal(data.begin(), data.end(), start, isSame))
    return;
  const std::size_t rest = data.size();
  data.resize(size + SumSize);
  if (!readFrom(rest))
    return;
  const OmU32 ofType = libdeflate_crc32(0, chunk.type.data(), TypeSize);
  chunk.isFound = libdeflate_crc32(ofType, data.data(), size) == number(data.data() + size);
  data.resize(size);
  chunk.data = std::move(data);
}

const std::vector<OmU8>* OmPngChunks::find(const OmString& type) const
{
  for (const Chunk& chunk : m_chunks)
    if (chunk.isFound && chunk.type == type)
      return &chunk.data;
  return nullptr;
}
