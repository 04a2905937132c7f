#include "tools/filterProgram.h"

#include "render/omGL.h"
#include "tools/failure.h"
#include "tools/libraryLog.h"

#include <algorithm>
#include <sstream>

namespace
{

constexpr const char* OwnUniforms[] = {"image", "imageSize", "texelSize", "pass", "direction"};

/// A driver's log in one line.
OmString oneLine(const OmString& log)
{
  OmString line;
  std::size_t start = 0;
  while (start < log.size())
  {
    const std::size_t end = std::min(log.find('\n', start), log.size());
    if (end > start)
      line += (line.empty() ? "" : "; ") + log.substr(start, end - start);
    start = end + 1;
  }
  return line;
}

OmString programLog(GLhandleARB program)
{
  GLint length = 0;
  glGetObjectParameterivARB(program, GL_OBJECT_INFO_LOG_LENGTH_ARB, &length);
  if (length <= 1)
    return "the driver does not say why";
  OmString log(static_cast<std::size_t>(length), '\0');
  GLsizei written = 0;
  glGetInfoLogARB(program, length, &written, log.data());
  log.resize(static_cast<std::size_t>(written));
  return oneLine(log);
}

void compile(OmShader& shader, const ShaderFile& file, OmShader::ShaderType type, LibraryLog& log)
{
  const bool compiled = shader.loadShaderFromString(file.source, type);
  OmString said = log.takeReason("the driver does not say why");
  if (compiled) // what drivers say all the same is of no use to anybody but the shader's author
    return;
  if (const std::size_t heading = said.find("InfoLog:\n"); heading != OmString::npos)
    said.erase(0, said.find('\n') + 1);
  throw Failure("cannot compile " + quoted(file.path) + ": " + oneLine(said));
}

/// The names of the samplers that a shader declares, perhaps without using them.
std::vector<OmString> samplers(const OmString& source)
{
  constexpr char InNames[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
  std::vector<OmString> names;
  std::istringstream words(source);
  for (OmString word, type, name; words >> word;)
    if (word == "uniform" && words >> type && type.rfind("sampler", 0) == 0 && words >> name)
      names.push_back(name.substr(0, name.find_first_not_of(InNames)));
  return names;
}

void clearErrors()
{
  while (glGetError() != GL_NO_ERROR)
    continue;
}

} // namespace

FilterProgram::FilterProgram(const ShaderFile& fragment, const std::optional<ShaderFile>& vertex, LibraryLog& log)
    : m_file(fragment.path)
{
  compile(m_shader, fragment, OmShader::Fragment, log);
  compile(m_shader, vertex ? *vertex : ShaderFile{"the vertex shader", OmShader::getVertexShader(), 1, {}},
          OmShader::Vertex, log);
  m_shader.attach(false);
  const GLhandleARB program = m_shader.getProgramId();
  glLinkProgramARB(program);
  GLint linked = 0;
  glGetObjectParameterivARB(program, GL_OBJECT_LINK_STATUS_ARB, &linked);
  if (linked != GL_TRUE)
    throw Failure("cannot link " + quoted(m_file) + ": " + programLog(program));
  m_shader.enable();

  m_image = location("image");
  m_imageSize = location("imageSize");
  m_texelSize = location("texelSize");
  m_pass = location("pass");
  m_direction = location("direction");
  for (const OmString& name : samplers(fragment.source))
    if (name != "image" && location(name) != -1)
      m_textures.push_back(name);
}

/// -1, which GL takes without doing anything, for a uniform that the program does not have or use.
int FilterProgram::location(const OmString& name) const
{
  return glGetUniformLocationARB(m_shader.getProgramId(), name.c_str());
}

void FilterProgram::set(const UniformSetting& setting) const
{
  if (std::find(std::begin(OwnUniforms), std::end(OwnUniforms), setting.name) != std::end(OwnUniforms))
    throw Failure("omrender sets the uniform " + quoted(setting.name) + " itself; leave it out");
  const int place = location(setting.name);
  if (place == -1)
    throw Failure(quoted(m_file) + " has no uniform " + quoted(setting.name) + ", or makes no use of it");
  assign(place, setting);
}

void FilterProgram::setDefault(const UniformSetting& setting) const
{
  if (const int place = location(setting.name); place != -1)
    assign(place, setting);
}

void FilterProgram::assign(int place, const UniformSetting& setting) const
{
  const std::vector<float>& floats = setting.floats;
  const std::vector<int>& integers = setting.integers;
  clearErrors();
  if (integers.size() == 1)
    glUniform1iARB(place, integers[0]);
  else if (integers.size() == 2)
    glUniform2iARB(place, integers[0], integers[1]);
  else if (floats.size() == 1)
    glUniform1fARB(place, floats[0]);
  else if (floats.size() == 2)
    glUniform2fARB(place, floats[0], floats[1]);
  else
    glUniform3fARB(place, floats[0], floats[1], floats[2]);
  if (glGetError() != GL_NO_ERROR)
    throw Failure("the uniform " + quoted(setting.name) + " of " + quoted(m_file) + " is not made of " +
                  (floats.empty() ? std::to_string(integers.size()) + " whole number"
                                  : std::to_string(floats.size()) + " float") +
                  (floats.size() + integers.size() == 1 ? "" : "s"));
}

void FilterProgram::setPicture(const OmString& name, int unit, const float* size, const float* texelSize) const
{
  set({name, {}, {unit}});
  glUniform2fARB(location(name + "Size"), size[0], size[1]);
  glUniform2fARB(location(name + "TexelSize"), texelSize[0], texelSize[1]);
}

void FilterProgram::setPass(int pass, const float* size, const float* texelSize) const
{
  glUniform1iARB(m_image, 0);
  glUniform2fARB(m_imageSize, size[0], size[1]);
  glUniform2fARB(m_texelSize, texelSize[0], texelSize[1]);
  glUniform1iARB(m_pass, pass);
  glUniform2fARB(m_direction, pass % 2 == 0 ? 1.0f : 0.0f, pass % 2 == 0 ? 0.0f : 1.0f);
}
