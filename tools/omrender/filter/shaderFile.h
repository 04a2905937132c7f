#ifndef OM_TOOLS_SHADER_FILE_H
#define OM_TOOLS_SHADER_FILE_H

#include "foundation/core/omTypes.h"

#include <iosfwd>

constexpr int MostPasses = 1000;

/// Adds the shader directories to the search path of Om::Application::findFile(): those in $OM_SHADER_PATH, separated
/// by colons, then those of the shaders that come with this program.
void addShaderDirectories();

/// The path of a shader's file, whose name is given with or without the suffix. Throws a Failure when there is none.
OmString findShader(const OmString& name, const OmString& suffix);

/// Writes the name of each fragment shader in the shader directories, with its comment.
void listShaders(std::ostream& out);

#endif
