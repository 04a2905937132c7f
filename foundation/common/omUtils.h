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

/// Returns a text as it is safely shown in one line: control characters become escape sequences as in C, those without
/// a letter of their own byte by byte in hexadecimal. Control characters are those below the space, DEL and, in UTF-8,
/// U+0080 to U+009F, which some terminals obey.
OM_EXPORT OmString OmEscaped(const OmString& text);

/// Sleeps for at least that many milliseconds; 0 only yields the processor.
OM_EXPORT void OmSLEEPMS(OmU32 milliseconds);

#endif
