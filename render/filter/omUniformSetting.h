#ifndef OM_UNIFORM_SETTING_H
#define OM_UNIFORM_SETTING_H

#include "foundation/core/omTypes.h"

#include <algorithm>
#include <optional>
#include <vector>

/// A value for a uniform of a shader, in each form that it can be taken in: whole numbers are floats as well, unless
/// they were written as "i3".
struct OmUniformSetting
{
  OmString name;
  std::vector<float> floats;
  std::vector<int> integers;
  std::vector<int> booleans = {}; ///< 1 for true, 0 for false

  /// How many numbers it has.
  std::size_t size() const { return std::max({floats.size(), integers.size(), booleans.size()}); }

  /// "name=1.5" or "name=1,0.5,0" for numbers, "name=true,false", or "name=i3" and "name=i3,i4" for what only whole
  /// numbers fit; up to 16 of them.
  static std::optional<OmUniformSetting> read(const OmString& text);
};

/// What read() takes, for messages.
constexpr char OmUniformSettingForms[] = "name=1.5, name=1,0.5,0 or name=true";

#endif
