#include "image/codec/omProfile.h"

#include <cstring>

namespace
{

constexpr std::size_t HeaderSize = 128;
constexpr std::size_t ColorSpaceAt = 16; ///< of the header; four letters
constexpr std::size_t SignatureAt = 36;

} // namespace

void OmProfile::keep(const OmU8* data, std::size_t size, OmImageMetadata& metadata)
{
  if (size >= HeaderSize && size <= OmImageMetadata::LargestProfile && std::memcmp(data + SignatureAt, "acsp", 4) == 0)
    metadata.profile.assign(data, data + size);
}

const std::vector<OmU8>* OmProfile::of(const OmImageMetadata* metadata, OmU32 channels)
{
  if (metadata == nullptr || metadata->profile.size() < HeaderSize)
    return nullptr;
  const char* const expected = channels < 3 ? "GRAY" : "RGB ";
  return std::memcmp(metadata->profile.data() + ColorSpaceAt, expected, 4) == 0 ? &metadata->profile : nullptr;
}
