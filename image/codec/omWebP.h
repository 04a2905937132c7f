#ifndef OM_WEBP_H
#define OM_WEBP_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omImageRows.h"
#include "image/codec/omInputFile.h"
#include "image/omImageReaderWriter.h"

#include <memory>

/// WebP files with libwebp. omWebPStub.cpp stands in where that is left out.
namespace OmWebP
{

constexpr OmU32 LargestSide = 16383; ///< in pixels

/// Whether libwebp is there.
bool isBuilt();

/// A decoder of a WebP file. The file must outlive it.
std::unique_ptr<OmImageDecoder> makeDecoder(const OmInputFile& file);

/// Appends a whole file to `bytes`, for a picture of 3 or 4 channels. On failure `reason` says why. Throws
/// std::bad_alloc if memory runs out.
bool encode(OmImageRows& rows, const OmImageReaderWriter::WriteSettings& settings, std::vector<OmU8>& bytes,
            OmString& reason);

} // namespace OmWebP

#endif
