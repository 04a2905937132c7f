#include "image/codec/omMissingDecoder.h"
#include "image/codec/omWebP.h"

namespace
{

constexpr char Reason[] = "this library was built without WebP (OM_IMAGE_WEBP)";

} // namespace

bool OmWebP::isBuilt()
{
  return false;
}

std::unique_ptr<OmImageDecoder> OmWebP::makeDecoder(const OmInputFile&)
{
  return std::make_unique<OmMissingDecoder>(Reason);
}

bool OmWebP::encode(OmImageRows&, const OmImageReaderWriter::WriteSettings&, std::vector<OmU8>&, OmString& reason)
{
  reason = Reason;
  return false;
}
