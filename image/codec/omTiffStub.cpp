#include "image/codec/omMissingDecoder.h"
#include "image/codec/omTiff.h"

bool OmTiff::isBuilt()
{
  return false;
}

std::unique_ptr<OmImageDecoder> OmTiff::makeDecoder(const OmInputFile&)
{
  return std::make_unique<OmMissingDecoder>("this library was built without TIFF (OM_IMAGE_TIFF)");
}
