#ifndef OM_PROGRAM_INTERFACE_H
#define OM_PROGRAM_INTERFACE_H

#include "render/filter/omUniformSetting.h"

#include <vector>

#include <GL/gl.h>

/// A uniform of a program; an element of an array is one, too.
struct OmActiveUniform
{
  OmString name; ///< as for glGetUniformLocationARB()
  GLenum type;   ///< GL_SAMPLER_2D_ARB and the like

  bool isSampler() const;
};

/// What the linker and the compiler know about a program. Works in the current context.
class OmProgramInterface
{
public:
  OmProgramInterface() = delete;

  /// The uniforms that a linked program reads (GL_ARB_shader_objects).
  static std::vector<OmActiveUniform> activeUniforms(GLhandleARB program);

  /// The value that a uniform of a linked program has now; without numbers if OmImageFilter::set() takes none for its
  /// type.
  static OmUniformSetting value(GLhandleARB program, const OmActiveUniform& uniform);

  /// The inputs of a fragment shader that the vertex shader does not write; GL leaves their values undefined. Both are
  /// given by their sources. Empty on a card without GL_ARB_program_interface_query and GL_ARB_separate_shader_objects.
  static std::vector<OmString> unwrittenInputs(const OmString& fragment, const OmString& vertex);
};

#endif
