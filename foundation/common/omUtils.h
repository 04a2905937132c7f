#ifndef OM_UTILS_H
#define OM_UTILS_H

#include "foundation/core/omTypes.h"

/// A number as text in the given base, 2 to 36, with a leading minus when it is negative. Another base counts as 10.
OM_EXPORT OmString OmINT2STRING(long long value, int base);

/// Sleeps for at least that many milliseconds; 0 yields the processor.
OM_EXPORT void OmSLEEPMS(OmU32 milliseconds);

#endif
