#ifndef OM_UTILS_H
#define OM_UTILS_H

/// \file
/// Small helpers.
///
/// \code
///   const OmString name = "picture" + OmINT2STRING(7, 10) + ".png"; // picture7.png
///   OmSLEEPMS(20);
/// \endcode

#include "foundation/core/omTypes.h"

/// Returns a number as text in the given base, 2 to 36, with a leading minus if it is negative. Any other base counts
/// as 10.
OM_EXPORT OmString OmINT2STRING(long long value, int base);

/// Sleeps for at least that many milliseconds; 0 only yields the processor.
OM_EXPORT void OmSLEEPMS(OmU32 milliseconds);

#endif
