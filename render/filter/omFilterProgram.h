#ifndef OM_FILTER_PROGRAM_H
#define OM_FILTER_PROGRAM_H

#include "render/filter/omFilterShader.h"
#include "render/filter/omProgramInterface.h"
#include "render/filter/omTablePicture.h"
#include "render/omShareGroup.h"

#include <GL/gl.h>

/// The linked program of a filter, in the context that was current when it was made (GL_ARB_shader_objects). Those
/// operations that return a text return why they fail; an empty text if they do not.
class OmFilterProgram
{
public:
  OmFilterProgram() = default;
  OmFilterProgram(const OmFilterProgram&) = delete;
  OmFilterProgram& operator=(const OmFilterProgram&) = delete;
  /// Deletes the program; later, if another context is current.
  ~OmFilterProgram();

  /// Compiles and links; called once. Prints the driver's warnings.
  OmString make(const OmFilterShader& fragment, const OmFilterShader& vertex);
  void use() const;

  /// Sets a uniform to the user's value. Fails if the program has no such uniform, if its type is another, and if the
  /// filter sets it itself. The program is in use.
  OmString set(const OmUniformSetting& setting) const;
  /// As set(), but ignores a uniform that the program does not have or use.
  OmString setDefault(const OmUniformSetting& setting) const;

  /// The uniforms that set() takes, in the order of their names, with the values they have now.
  std::vector<OmUniformSetting> settings() const;

  /// The names of the samplers that the program reads besides `image`.
  const std::vector<OmString>& pictures() const { return m_pictures; }
  /// Sets the sampler `name` to a texture unit, and the uniforms of its picture: the size in pixels, the size of a
  /// texel in texture coordinates. Fails if the program does not read it, and for a uniform that is no sampler.
  OmString setPicture(const OmString& name, int unit, const float* size, const float* texelSize) const;
  /// Sets the uniforms for the colour table that the sampler `name` reads; an empty one if it reads a picture.
  void setTable(const OmString& name, const OmTablePicture& table) const;
  /// Sets the uniforms for a pass, counted from 0, and for the picture `image` that it reads.
  void setPass(OmU32 pass, const float* size, const float* texelSize) const;

private:
  OmString compile(const OmFilterShader& shader, GLenum type);
  OmString link();
  OmString findPictures();
  int location(const OmString& name) const;
  const OmActiveUniform* find(const OmString& name) const;
  OmString assign(const OmActiveUniform& uniform, const OmUniformSetting& setting) const;
  OmString settingsText() const;
  bool setsItself(const OmString& uniform) const;

  OmShareGroup m_shareGroup; ///< where the program lives
  GLhandleARB m_program = 0;
  OmString m_name; ///< of the fragment shader
  std::vector<OmActiveUniform> m_uniforms;
  std::vector<OmString> m_pictures;
  int m_image = -1;
  int m_imageSize = -1;
  int m_texelSize = -1;
  int m_pass = -1;
  int m_direction = -1;
};

#endif
