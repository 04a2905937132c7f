#ifndef OM_TIFF_H
#define OM_TIFF_H

#include "image/codec/omImageDecoder.h"
#include "image/codec/omInputFile.h"

#include <memory>

/// TIFF files with libtiff. omTiffStub.cpp stands in where that is left out.
namespace OmTiff
{

/// Whether libtiff is there.
bool isBuilt();

/// A decoder of the first page of a TIFF file. The file must outlive it.
std::unique_ptr<OmImageDecoder> makeDecoder(const OmInputFile& file);

} // namespace OmTiff

#endif
