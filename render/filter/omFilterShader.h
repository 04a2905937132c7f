#ifndef OM_FILTER_SHADER_H
#define OM_FILTER_SHADER_H

#include "render/filter/omUniformSetting.h"

#include <vector>

/// A shader's text, and what the comment lines at its start say about how it runs:
///
///     // passes: 2
///     // default: radius=3 (what follows the value is for readers)
///
/// The operations return why they fail; an empty text if they do not.
struct OmFilterShader
{
  OmString name; ///< for messages; a file's name is in double quotes
  OmString source;
  OmU32 passes = 1;
  std::vector<OmUniformSetting> defaults;

  /// Reads the file that Om::Application::findFile() finds.
  OmString readFile(const OmString& fileName);
  /// Reads the comment lines of the source.
  OmString readComment();
};

#endif
