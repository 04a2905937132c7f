#include "image/codec/omWebPChunks.h"

#include <cstdint>
#include <cstring>

namespace
{

constexpr std::uint64_t FileHeadSize = 12; ///< RIFF, a size, WEBP
constexpr std::size_t HeadSize = 8;        ///< a chunk's type and its size

} // namespace

std::vector<OmU8> findWebPChunk(const OmInputFile& file, const char* type, std::size_t largest)
{
  OmU8 head[HeadSize];
  for (std::uint64_t at = FileHeadSize; at < file.size();)
  {
    if (::fseeko(file.stream(), static_cast<off_t>(at), SEEK_SET) != 0 ||
        std::fread(head, 1, HeadSize, file.stream()) != HeadSize)
      break;
    const OmU32 size = head[4] | OmU32{head[5]} << 8 | OmU32{head[6]} << 16 | OmU32{head[7]} << 24;
    at += HeadSize;
    if (size > file.size() - at)
      break;
    if (std::memcmp(head, type, 4) == 0)
    {
      std::vector<OmU8> data(size <= largest ? size : 0);
      return std::fread(data.data(), 1, data.size(), file.stream()) == data.size() ? data : std::vector<OmU8>();
    }
    at += std::uint64_t{size} + size % 2;
  }
  return {};
}
