#ifndef OM_SHADER_H
#define OM_SHADER_H

#include "foundation/core/omTypes.h"
#include "render/omShareGroup.h"

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
/// Needs GL_ARB_shader_objects and its companions (OmGL::SupportShaders); geometry shaders need
/// GL_EXT_geometry_shader4. Everything works on the calling thread's current GL context. The object never deletes its
/// program, nor a shader unless another one replaces it: they live until the contexts of the share group are gone. If
/// the object loads or attaches in another share group, it forgets them and starts over there.
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

  /// An object without shaders. Makes no GL call.
  OmShader();
  OmShader(const OmShader&) = delete;
  OmShader& operator=(const OmShader&) = delete;
  virtual ~OmShader();

  /// Whether the card has GLSL shaders (OmGL::SupportShaders). The loading operations call it.
  virtual OmBoolean init();

  /// Compiles the shader of a stage from a file, found by Om::Application::findFile(). The compiler gets the bytes of
  /// the file unchanged. Returns false, with an error message, if the file cannot be read; otherwise what
  /// loadShaderFromString() returns.
  virtual OmBoolean loadShaderFromFile(const OmString& fileName, ShaderType type);
  /// Compiles the shader of a stage and replaces the one loaded before. attach() then puts it into the program. Returns
  /// whether it compiled; a shader that did not is kept all the same. The compiler's log, warnings included, is printed
  /// as an error message. Also false, with an error message, for an unknown stage and if GL makes no shader object.
  /// Also false, without a message, if the card has no shaders.
  virtual OmBoolean loadShaderFromString(const OmString& source, ShaderType type);
  /// Compiles the fragment shader from `baseName`.frag. If that succeeds, compiles the vertex shader from
  /// `baseName`.vert. Attaches nothing. Returns whether both compiled.
  virtual OmBoolean loadShaders(const OmString& baseName);

  /// Puts the loaded shaders into the program in the order vertex, geometry, fragment. With `link` true, also links the
  /// program and puts it in use. If any program is in use, this object's own program is emptied and keeps its handle;
  /// otherwise a new program is made. Returns false if no shader is loaded. Returns true even if the program does not
  /// link; the driver's log is then printed as an error message.
  virtual OmBoolean attach(OmBoolean link);

  /// Puts the program in use, and links it first unless it is linked. Returns true even if that link fails; the next
  /// call then prints the driver's log as an error message. Returns false before the first load and, with an error
  /// message, while no window of the program's share group is current.
  virtual OmBoolean enable() const;
  /// Takes the current program out of use, even if it is another object's. Returns false before the first load.
  virtual OmBoolean disable() const;

  /// The location of a uniform of the linked program; 0 before the first load. -1, with an error message, if the
  /// program has no such uniform or no window of the program's share group is current.
  virtual int getUniformLocation(const char* name) const;
  /// The program's handle; 0 before the first attach().
  virtual GLhandleARB getProgramId() const;

  /// Prints the log of a shader or program object as an error message; nothing if the log is empty. `type` only chooses
  /// the stage that the message names.
  virtual void printInfoLog(unsigned int handle, ShaderType type) const;

  /// A vertex shader for programs that need only a fragment shader: fixed-function transform, texture coordinate 0
  /// times texture matrix 0, texture coordinate 1 unchanged.
  static OmString getVertexShader();

  /// What getVertexShader() returns. A program may assign another source.
  static OmString defaultVertexShader;

protected:
  GLhandleARB m_programId;        ///< the program's handle; 0 before the first attach()
  GLhandleARB m_fragmentShaderId; ///< handle of the shader; 0 for none
  GLhandleARB m_geometryShaderId; ///< handle of the shader; 0 for none
  GLhandleARB m_vertexShaderId;   ///< handle of the shader; 0 for none
  OmBoolean m_initialized;        ///< init() found shader support

private:
  OM_INTERNAL GLhandleARB* shaderOf(ShaderType type);
  OM_INTERNAL void detachAll() const;
  OM_INTERNAL void forgetForeign();
  OM_INTERNAL bool isProgramUsable(const char* operation) const;
  OM_INTERNAL void reportLinkFailure() const;

  OmShareGroup m_shareGroup;           ///< the share group in which the handles live
  mutable bool m_linkTried = false;    ///< the program was linked with its present shaders
  mutable bool m_linkReported = false; ///< the failure of that link was reported
};

#endif
