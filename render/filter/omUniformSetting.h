#ifndef OM_UNIFORM_SETTING_H
#define OM_UNIFORM_SETTING_H

#include "foundation/core/omTypes.h"

#include <optional>
#include <vector>

/// A value for a uniform of a shader.
struct OmUniformSetting
{
  OmString name;
  std::vector<float> floats;
  std::vector<int> integers; ///< empty if the value is of floats

  /// "name=1.5" or "name=1,0.5,0" for up to three floats, "name=i3" or "name=i3,i4" for one or two whole numbers.
  static std::optional<OmUniformSetting> read(const OmString& text);
};

#endif
