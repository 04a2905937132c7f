#ifndef OM_TOOLS_SHADER_FILE_H
#define OM_TOOLS_SHADER_FILE_H

#include "tools/uniformSetting.h"

#include <iosfwd>
#include <vector>

/// A shader's text and what the comment lines at its start say about running it:
///
///     // passes: 2
///     // default: radius=3 (what follows the value is for readers)
struct ShaderFile
{
  OmString path;
  OmString source;
  int passes = 1;
  std::vector<UniformSetting> defaults;
};

constexpr int MostPasses = 1000;

/// Has findFile() look for shaders in $OM_SHADER_PATH (directories with colons between them), then where this program's
/// own are.
void addShaderDirectories();

/// Reads a shader: a file's name or, where there is no such file, one without its suffix. Throws a Failure when there
/// is none or its comment makes no sense.
ShaderFile readShader(const OmString& name, const OmString& suffix);

/// Writes the name of each fragment shader in the shader directories, with its comment.
void listShaders(std::ostream& out);

#endif
