#ifndef OM_WEBP_CHUNKS_H
#define OM_WEBP_CHUNKS_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <vector>

/// A chunk's data; null if there is none.
struct OmWebPChunk
{
  const OmU8* data = nullptr;
  std::size_t size = 0;
};

/// Returns the first whole chunk of that type, four letters, in a WebP file.
OmWebPChunk findWebPChunk(const std::vector<OmU8>& file, const char* type);

#endif
