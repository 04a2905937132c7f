#ifndef OM_PROFILE_H
#define OM_PROFILE_H

#include "image/omImageMetadata.h"

/// ICC profiles, as far as files need to know them.
namespace OmProfile
{

/// Keeps the profile, unless it is too large or not one.
void keep(const OmU8* data, std::size_t size, OmImageMetadata& metadata);

/// The profile for a picture of so many channels that is written; null if there is none that fits.
const std::vector<OmU8>* of(const OmImageMetadata* metadata, OmU32 channels);

} // namespace OmProfile

#endif
