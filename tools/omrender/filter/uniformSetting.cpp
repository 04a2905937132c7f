#include "tools/omrender/filter/uniformSetting.h"

#include "render/omImageFilter.h"

std::optional<OmString> readUniformSetting(const OmString& text)
{
  return OmImageFilter::isSetting(text) ? std::optional<OmString>(text) : std::nullopt;
}
