#include "render/omShader.h"

#include "foundation/core/omApplication.h"
#include "foundation/core/omPrint.h"
#include "render/omGL.h"
#include "render/omVersion.h"

#include <algorithm>
#include <memory>
#include <new>

OmString OmShader::defaultVertexShader =
    "void main(){  gl_Position = ftransform();  gl_TexCoord[0] = gl_TextureMatrix[0] * gl_MultiTexCoord0;  "
    "gl_TexCoord[1] = gl_MultiTexCoord1;}";

namespace
{

const char* label(OmShader::ShaderType type)
{
  switch (type)
  {
  case OmShader::Vertex:
    return "Vertex";
  case OmShader::Geometry:
    return "Geometry";
  case OmShader::Fragment:
    return "Fragment";
  }
  return "Program";
}

GLint parameter(GLhandleARB handle, GLenum name)
{
  GLint value = 0;
  glGetObjectParameterivARB(handle, name, &value);
  return value;
}

} // namespace

OmShader::OmShader()
    : m_programId(0), m_fragmentShaderId(0), m_geometryShaderId(0), m_vertexShaderId(0), m_initialized(false)
{
}

OmShader::~OmShader() = default;

OmBoolean OmShader::init()
{
  if (!m_initialized && OmGL::isSupported(OmGL::SupportShaders))
    m_initialized = true;
  return m_initialized;
}

GLhandleARB* OmShader::shaderOf(ShaderType type)
{
  switch (type)
  {
  case Vertex:
    return &m_vertexShaderId;
  case Geometry:
    return &m_geometryShaderId;
  case Fragment:
    return &m_fragmentShaderId;
  }
  return nullptr;
}

OmBoolean OmShader::loadShaderFromFile(const OmString& fileName, ShaderType type)
{
  OmString source;
  OmString reason;
  if (Om::Application::readFile(Om::Application::findFile(fileName), source, reason))
    return loadShaderFromString(source, type);
  Om::Print::instance().write(Om::Print::Error, "OmShader::loadShaderFromFile - can't open %s.\n", fileName.c_str());
  return false;
}

OmBoolean OmShader::loadShaderFromString(const OmString& source, ShaderType type)
{
  if (!init())
    return false;
  forgetForeign();
  const GLhandleARB handle = glCreateShaderObjectARB(type);
  GLhandleARB* const shader = shaderOf(type);
  if (!shader)
  {
    Om::Print::instance().write(Om::Print::Error, "OmShader: Invalid ShaderType\n");
    return false;
  }
  if (handle == 0)
    Om::Print::instance().write(Om::Print::Error,
                                "OmShader: The GL made no shader object: it has none of the type, or no context is "
                                "current on this thread.\n");
  if (*shader != 0 && *shader != handle)
    glDeleteObjectARB(*shader);
  *shader = handle;

  const GLcharARB* text = source.c_str();
  glShaderSourceARB(handle, 1, &text, nullptr);
  glCompileShaderARB(handle);
  const GLint compiled = parameter(handle, GL_OBJECT_COMPILE_STATUS_ARB);
  printInfoLog(handle, type);
  return compiled == GL_TRUE;
}

OmBoolean OmShader::loadShaders(const OmString& baseName)
{
  return loadShaderFromFile(baseName + ".frag", Fragment) && loadShaderFromFile(baseName + ".vert", Vertex);
}

OmBoolean OmShader::attach(OmBoolean link)
{
  const Om::Print::ScopedPrint scope("virtual OmBoolean OmShader::attach(OmBoolean)", "");
  forgetForeign();
  if (m_fragmentShaderId == 0 && m_vertexShaderId == 0 && m_geometryShaderId == 0)
    return false;
  if (m_programId != 0 && glGetHandleARB(GL_PROGRAM_OBJECT_ARB) != 0)
    detachAll();
  else
    m_programId = glCreateProgramObjectARB();
  for (const GLhandleARB shader : {m_vertexShaderId, m_geometryShaderId, m_fragmentShaderId})
    if (shader != 0)
      glAttachObjectARB(m_programId, shader);
  m_linkTried = link;
  m_linkReported = false;
  if (!link)
    return true;
  glLinkProgramARB(m_programId);
  return enable();
}

/// Starts over if the current share group is not that of the handles. They are neither used nor deleted here, because
/// the same numbers may belong to other objects.
void OmShader::forgetForeign()
{
  if (m_shareGroup.isCurrent())
    return;
  m_programId = 0;
  m_fragmentShaderId = 0;
  m_geometryShaderId = 0;
  m_vertexShaderId = 0;
  m_shareGroup = OmShareGroup::current();
}

bool OmShader::isProgramUsable(const char* operation) const
{
  if (m_shareGroup.isCurrent())
    return true;
  Om::Print::instance().write(Om::Print::Error, "OmShader::%s - No window of the program's share group is current.\n",
                              operation);
  return false;
}

void OmShader::detachAll() const
{
  constexpr GLsizei Most = 10; // attach() leaves at most one per stage; the caller may have attached others
  GLhandleARB attached[Most] = {};
  const GLint count = parameter(m_programId, GL_OBJECT_ATTACHED_OBJECTS_ARB);
  glGetAttachedObjectsARB(m_programId, Most, nullptr, attached);
  for (GLsizei i = 0; i < std::min(count, Most); ++i)
    glDetachObjectARB(m_programId, attached[i]);
}

OmBoolean OmShader::enable() const
{
  if (!m_initialized || !isProgramUsable("enable"))
    return false;
  if (parameter(m_programId, GL_OBJECT_LINK_STATUS_ARB) != GL_TRUE)
  {
    if (m_linkTried && !m_linkReported)
      reportLinkFailure();
    glLinkProgramARB(m_programId);
    m_linkTried = true;
  }
  glUseProgramObjectARB(m_programId);
  return true;
}

void OmShader::reportLinkFailure() const
{
  m_linkReported = true;
  if (parameter(m_programId, GL_OBJECT_INFO_LOG_LENGTH_ARB) > 1)
    printInfoLog(m_programId, static_cast<ShaderType>(0)); // no stage: the message names the program
  else
    Om::Print::instance().write(Om::Print::Error,
                                "OmShader: The program does not link, and the driver does not say why.\n");
}

OmBoolean OmShader::disable() const
{
  if (!m_initialized)
    return false;
  glUseProgramObjectARB(0);
  return true;
}

int OmShader::getUniformLocation(const char* name) const
{
  if (!m_initialized)
    return 0;
  if (!isProgramUsable("getUniformLocation"))
    return -1;
  const GLint location = glGetUniformLocationARB(m_programId, name);
  if (location == -1)
    Om::Print::instance().write(Om::Print::Error, "OmShader: No such uniform named \"%s\"\n", name);
  return location;
}

GLhandleARB OmShader::getProgramId() const
{
  return m_programId;
}

void OmShader::printInfoLog(unsigned int handle, ShaderType type) const
{
  const GLint length = parameter(handle, GL_OBJECT_INFO_LOG_LENGTH_ARB);
  if (length <= 1)
    return;
  const std::unique_ptr<GLcharARB[]> log(new (std::nothrow) GLcharARB[static_cast<std::size_t>(length)]());
  if (!log)
  {
    Om::Print::instance().write(Om::Print::Error, "OmShader: Could not allocate InfoLog buffer\n");
    return;
  }
  GLsizei written = 0;
  glGetInfoLogARB(handle, length, &written, log.get());
  Om::Print::instance().write(Om::Print::Error, "OmShader: %s Shader InfoLog:\n%s\n\n", label(type), log.get());
}

OmString OmShader::getVertexShader()
{
  return defaultVertexShader;
}
