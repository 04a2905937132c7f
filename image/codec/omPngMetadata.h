#ifndef OM_PNG_METADATA_H
#define OM_PNG_METADATA_H

#include "image/codec/omInputFile.h"
#include "image/omImageMetadata.h"

#include <utility>
#include <vector>

/// Metadata in the chunks of a PNG file.
namespace OmPngMetadata
{

/// A chunk's type, of four letters, and its data.
using Chunk = std::pair<const char*, std::vector<OmU8>>;

/// Reads what a file has. Damaged chunks count as missing. The place in the file's stream is undefined afterwards.
void read(const OmInputFile& file, OmImageMetadata& metadata);

/// The chunks of a picture of so many channels, in the order in which they stand before its pixels. Throws
/// std::bad_alloc if memory runs out.
std::vector<Chunk> chunks(const OmImageMetadata* metadata, OmU32 channels);

} // namespace OmPngMetadata

#endif
