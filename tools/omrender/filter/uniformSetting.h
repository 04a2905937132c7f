#ifndef OM_TOOLS_UNIFORM_SETTING_H
#define OM_TOOLS_UNIFORM_SETTING_H

#include "foundation/core/omTypes.h"

#include <optional>

/// Returns the text if it is a setting as OmImageFilter::set() takes it: "name=1.5", "name=1,0.5,0", "name=true".
std::optional<OmString> readUniformSetting(const OmString& text);

#endif
