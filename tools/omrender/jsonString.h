#ifndef OM_TOOLS_JSON_STRING_H
#define OM_TOOLS_JSON_STRING_H

#include "foundation/core/omTypes.h"

/// A JSON string. Bytes outside ASCII count as Latin-1, so that the result is valid for any name of a driver.
OmString jsonString(const OmString& text);

#endif
