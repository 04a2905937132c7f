#ifndef OM_XMP_H
#define OM_XMP_H

#include "foundation/core/omTypes.h"

/// XMP packets that hold one property, the origin of a picture. No others are read.
namespace OmXmp
{

/// The packet with an origin of printable ASCII.
OmString packet(const OmString& origin);

/// The origin in a packet that packet() has made; empty if it is another.
OmString origin(const OmString& packet);

} // namespace OmXmp

#endif
