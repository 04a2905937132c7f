#include "image/codec/omWebPChunks.h"

#include <cstring>

namespace
{

constexpr std::size_t FileHeadSize = 12; ///< RIFF, a size, WEBP
constexpr std::size_t HeadSize = 8;      ///< a chunk's type and its size

} // namespace

OmWebPChunk findWebPChunk(const std::vector<OmU8>& file, const char* type)
{
  for (std::size_t at = FileHeadSize; at < file.size() && file.size() - at >= HeadSize;)
  {
    const OmU8* const head = file.data() + at;
    const std::size_t size = head[4] | OmU32{head[5]} << 8 | OmU32{head[6]} << 16 | OmU32{head[7]} << 24;
    at += HeadSize;
    if (size > file.size() - at)
      break;
    if (std::memcmp(head, type, 4) == 0)
      return {head + HeadSize, size};
    at += size + size % 2;
  }
  return {};
}
