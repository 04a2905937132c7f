#ifndef OM_PROGRAM_INTERFACE_H
#define OM_PROGRAM_INTERFACE_H

#include "foundation/core/omTypes.h"

#include <vector>

#include <GL/gl.h>

/// A sampler of a program; an element of an array of samplers is one, too.
struct OmActiveSampler
{
  OmString name; ///< as for glGetUniformLocationARB()
  GLenum type;   ///< GL_SAMPLER_2D_ARB and the like
};

/// What the linker and the compiler know about a program. Works in the current context.
class OmProgramInterface
{
public:
  OmProgramInterface() = delete;

  /// The samplers that a linked program reads (GL_ARB_shader_objects).
  static std::vector<OmActiveSampler> activeSamplers(GLhandleARB program);

  /// The inputs of a fragment shader that the vertex shader does not write; GL leaves their values undefined. Both are
  /// given by their sources. Empty on a card without GL_ARB_program_interface_query and GL_ARB_separate_shader_objects.
  static std::vector<OmString> unwrittenInputs(const OmString& fragment, const OmString& vertex);
};

#endif
