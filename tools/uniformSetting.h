#ifndef OM_TOOLS_UNIFORM_SETTING_H
#define OM_TOOLS_UNIFORM_SETTING_H

#include "foundation/core/omTypes.h"

#include <optional>
#include <vector>

/// A value for a uniform of a shader.
struct UniformSetting
{
  OmString name;
  std::vector<float> floats; ///< one to three; empty for a value of whole numbers
  std::vector<int> integers; ///< one or two
};

/// "name=1.5", "name=1,0.5,0" or, for whole numbers, "name=i3" and "name=i3,i4".
std::optional<UniformSetting> readUniformSetting(const OmString& text);

#endif
