#ifndef OM_TOOLS_FILTER_PROGRAM_H
#define OM_TOOLS_FILTER_PROGRAM_H

#include "render/omShader.h"
#include "tools/shaderFile.h"

#include <optional>

class LibraryLog;

/// The linked program of a filter, in use from its making on. Needs the context of a window.
class FilterProgram
{
public:
  /// Compiles and links. Without a vertex shader it is OmShader's own. Throws a Failure with the driver's log.
  FilterProgram(const ShaderFile& fragment, const std::optional<ShaderFile>& vertex, LibraryLog& log);

  /// Gives a uniform the user's value. Throws a Failure when the program has no such uniform, when it is of another
  /// type, and when it is one that omrender sets itself.
  void set(const UniformSetting& setting) const;
  /// As set(), for a value that the program may have no use for.
  void setDefault(const UniformSetting& setting) const;

  /// The names of the pictures that the program reads beside `image`.
  const std::vector<OmString>& textures() const { return m_textures; }
  /// Tells the program about the picture `name` on a texture unit; sizes in pixels, texel sizes in texture coordinates.
  /// Throws a Failure when the program does not read it.
  void setPicture(const OmString& name, int unit, const float* size, const float* texelSize) const;
  /// Tells the program which pass comes, from 0 on, and about the picture `image` that it reads.
  void setPass(int pass, const float* size, const float* texelSize) const;

private:
  int location(const OmString& name) const;
  void assign(int location, const UniformSetting& setting) const;

  OmShader m_shader;
  OmString m_file;
  std::vector<OmString> m_textures;
  int m_image;
  int m_imageSize;
  int m_texelSize;
  int m_pass;
  int m_direction;
};

#endif
