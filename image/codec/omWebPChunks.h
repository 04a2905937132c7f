#ifndef OM_WEBP_CHUNKS_H
#define OM_WEBP_CHUNKS_H

#include "image/codec/omInputFile.h"

#include <cstddef>
#include <vector>

/// Returns the data of the first whole chunk of that type, four letters, in a WebP file; nothing if there is none of at
/// most `largest` bytes. The place in the file's stream is undefined afterwards.
std::vector<OmU8> findWebPChunk(const OmInputFile& file, const char* type, std::size_t largest);

#endif
