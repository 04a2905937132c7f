#ifndef OM_UNIFORM_TYPE_H
#define OM_UNIFORM_TYPE_H

#include "render/filter/omUniformSetting.h"

#include <cstddef>

#include <GL/gl.h>

/// A type of uniforms that settings have values for. Works in the current context.
struct OmUniformType
{
  enum Kind
  {
    Float,
    Integer,
    Boolean,
    Matrix
  };

  GLenum type; ///< GL_FLOAT_VEC2_ARB and the like
  const char* name;
  Kind kind;
  std::size_t count;  ///< of the numbers
  const char* setter; ///< the GL function that sets it

  /// Returns null for a type that takes no setting.
  static const OmUniformType* find(GLenum type);

  /// Sets a uniform of the program in use. Returns why the value does not fit, to follow a name: "is a float, not 2
  /// numbers"; an empty text if it does.
  OmString set(int location, const OmUniformSetting& setting) const;
  /// Fills the numbers of a setting with those that a uniform of a linked program has now.
  void get(GLhandleARB program, int location, OmUniformSetting& setting) const;
  /// "a float", "an ivec2", "a mat3 of 9 numbers".
  OmString text() const;

private:
  bool hasFloats() const { return kind == Float || kind == Matrix; }
  /// The setting's numbers as a uniform of this kind takes them; none if it does not.
  std::vector<float> floats(const OmUniformSetting& setting) const;
  std::vector<int> integers(const OmUniformSetting& setting) const;
};

#endif
