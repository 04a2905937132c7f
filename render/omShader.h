#ifndef OM_SHADER_H
#define OM_SHADER_H

#include "foundation/core/omTypes.h"

#include <GL/gl.h>

/// A GLSL program with at most one shader of each stage.
///
/// \code
///   OmShader shader;
///   if (!shader.loadShaderFromFile("edges.frag", OmShader::Fragment) ||
///       !shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex))
///     return false;      // the compiler's log has been printed
///   shader.attach(true); // linked and in use
///   glUniform1fARB(shader.getUniformLocation("strength"), 0.5f);
///   texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
///   shader.disable();
/// \endcode
///
/// Rests on GL_ARB_shader_objects and its companions (OmGL::SupportShaders); geometry shaders on
/// GL_EXT_geometry_shader4. Everything works on the calling thread's current GL context. The object never deletes its
/// program, nor shaders that no other one replaced: they stay until the contexts of the share group are gone.
class OM_EXPORT OmShader
{
public:
  /// The stages, with GL's own values.
  enum ShaderType : OmU32
  {
    Vertex = GL_VERTEX_SHADER_ARB,
    Fragment = GL_FRAGMENT_SHADER_ARB,
    Geometry = GL_GEOMETRY_SHADER_EXT
  };

  /// No shader yet; no GL call.
  OmShader();
  OmShader(const OmShader&) = delete;
  OmShader& operator=(const OmShader&) = delete;
  virtual ~OmShader();

  /// Whether there are shaders. The loading operations call it by themselves.
  virtual OmBoolean init();

  /// Compiles the shader of a stage from a file, found by Om::Application::findFile() and passed to the compiler byte
  /// for byte. False, with a line of print type 4, when it cannot be read, and as for loadShaderFromString().
  virtual OmBoolean loadShaderFromFile(const OmString& fileName, ShaderType type);
  /// Compiles the shader of a stage, in place of the one before; attach() puts it into the program. Returns whether it
  /// compiled; a shader that did not is kept all the same. The compiler's log, warnings included, goes out with print
  /// type 4. False without a message when there are no shaders.
  virtual OmBoolean loadShaderFromString(const OmString& source, ShaderType type);
  /// Compiles the fragment shader from `baseName`.frag and then, when that went well, the vertex shader from
  /// `baseName`.vert. Attaches nothing.
  virtual OmBoolean loadShaders(const OmString& baseName);

  /// Puts the loaded shaders into the program, vertex, geometry, fragment in this order; with `link` true also links it
  /// and puts it in use. While a program is in use, the shader's own program is emptied and keeps its handle; otherwise
  /// a new program is made. False when no shader is loaded. A failing link is not reported.
  virtual OmBoolean attach(OmBoolean link);

  /// Puts the program in use, linking it where that has not succeeded yet. False before the first load.
  virtual OmBoolean enable() const;
  /// Puts no program in use, whichever was. False before the first load.
  virtual OmBoolean disable() const;

  /// The location of a uniform of the linked program; -1, with a line of print type 4, when it has no such uniform, and
  /// 0 before the first load.
  virtual int getUniformLocation(const char* name) const;
  /// The program's handle; 0 before the first attach().
  virtual GLhandleARB getProgramId() const;

  /// Writes the log of a shader or program object with print type 4; nothing when it is empty. The type gives the
  /// label.
  virtual void printInfoLog(unsigned int handle, ShaderType type) const;

  /// A vertex shader for programs that need only a fragment shader: fixed-function transform, texture coordinate 0
  /// through texture matrix 0, texture coordinate 1 as it is.
  static OmString getVertexShader();

  /// What getVertexShader() gives; a program may put another source here.
  static OmString defaultVertexShader;

protected:
  GLhandleARB m_programId;        ///< the program's handle; 0 before the first attach()
  GLhandleARB m_fragmentShaderId; ///< 0 for none
  GLhandleARB m_geometryShaderId; ///< 0 for none
  GLhandleARB m_vertexShaderId;   ///< 0 for none
  OmBoolean m_initialized;        ///< shaders are there

private:
  OM_INTERNAL GLhandleARB* shaderOf(ShaderType type);
  OM_INTERNAL void detachAll() const;
};

#endif
