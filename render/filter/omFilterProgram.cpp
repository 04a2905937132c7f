#include "render/filter/omFilterProgram.h"

#include "foundation/core/omPrint.h"
#include "render/filter/omUniformType.h"
#include "render/omGL.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iterator>
#include <sstream>

namespace
{

constexpr char NoReason[] = "the driver does not say why";
constexpr const char* OwnUniforms[] = {"image", "imageSize", "texelSize", "pass", "direction"};
/// Behind the name of a sampler.
constexpr const char* PictureUniforms[] = {"Size", "TexelSize", "DomainMin", "DomainMax", "Entries"};

OmString quoted(const OmString& text)
{
  return '"' + text + '"';
}

/// Prints a warning about the shader of that name.
void warn(const OmString& name, const OmString& warning)
{
  Om::Print::instance().write(Om::Print::Warning, "OmImageFilter: %s%s.\n", name.c_str(), warning.c_str());
}

GLint parameter(GLhandleARB handle, GLenum name)
{
  GLint value = 0;
  glGetObjectParameterivARB(handle, name, &value);
  return value;
}

void deleteObject(OmU32 handle)
{
  glDeleteObjectARB(handle);
}

/// The lines of the log of a shader or program.
std::vector<OmString> infoLog(GLhandleARB handle)
{
  OmString log(static_cast<std::size_t>(std::max(parameter(handle, GL_OBJECT_INFO_LOG_LENGTH_ARB), 1)), '\0');
  GLsizei written = 0;
  glGetInfoLogARB(handle, static_cast<GLsizei>(log.size()), &written, log.data());
  std::istringstream text(log.substr(0, static_cast<std::size_t>(written)));
  std::vector<OmString> lines;
  for (OmString line; std::getline(text, line);)
    if (!line.empty())
      lines.push_back(line);
  return lines;
}

/// A failure's reason in one line.
OmString reason(const std::vector<OmString>& infoLog)
{
  OmString line;
  for (const OmString& part : infoLog)
    line.append(line.empty() ? "" : "; ").append(part);
  return line.empty() ? NoReason : line;
}

/// Prints the lines that warn. Some drivers also write into a log that all went well.
void printWarnings(const OmString& name, const std::vector<OmString>& infoLog)
{
  constexpr char Word[] = "warning"; // in capitals on some drivers
  for (const OmString& line : infoLog)
    if (std::search(line.begin(), line.end(), std::begin(Word), std::end(Word) - 1,
                    [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; }) != line.end())
      warn(name, ": " + line);
}

GLhandleARB compiled(const OmString& source, GLenum type)
{
  const GLhandleARB shader = glCreateShaderObjectARB(type);
  const GLcharARB* text = source.c_str();
  glShaderSourceARB(shader, 1, &text, nullptr);
  glCompileShaderARB(shader);
  return shader;
}

} // namespace

OmFilterProgram::~OmFilterProgram()
{
  if (m_program != 0 && m_shareGroup.isCurrent())
    deleteObject(m_program);
  else if (m_program != 0)
    m_shareGroup.deleteLater(deleteObject, m_program);
}

OmString OmFilterProgram::make(const OmFilterShader& fragment, const OmFilterShader& vertex)
{
  m_shareGroup = OmShareGroup::current();
  m_name = fragment.name;
  m_program = glCreateProgramObjectARB();
  OmString failure = compile(fragment, GL_FRAGMENT_SHADER_ARB);
  if (failure.empty())
    failure = compile(vertex, GL_VERTEX_SHADER_ARB);
  if (failure.empty())
    failure = link();
  if (!failure.empty())
    return failure;
  // Not every driver says so.
  for (const OmString& input : OmProgramInterface::unwrittenInputs(fragment.source, vertex.source))
    warn(m_name, " reads " + quoted(input) +
                     ", which the vertex shader does not write; read gl_TexCoord[0], or write it by a vertex shader");
  m_image = location("image");
  m_imageSize = location("imageSize");
  m_texelSize = location("texelSize");
  m_pass = location("pass");
  m_direction = location("direction");
  return findPictures();
}

OmString OmFilterProgram::compile(const OmFilterShader& shader, GLenum type)
{
  const GLhandleARB object = compiled(shader.source, type);
  OmString failure = parameter(object, GL_OBJECT_COMPILE_STATUS_ARB) == GL_TRUE
                         ? ""
                         : "cannot compile " + shader.name + ": " + reason(infoLog(object));
  glAttachObjectARB(m_program, object);
  glDeleteObjectARB(object); // when the program is
  if (!failure.empty())
    return failure;
  // Mesa does not compile a text again that its cache on disk knows, and then has no log. So ask for one it never saw.
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const GLhandleARB unknown = compiled(shader.source + "\n//" + std::to_string(now), type);
  printWarnings(shader.name, infoLog(unknown));
  glDeleteObjectARB(unknown);
  return "";
}

OmString OmFilterProgram::link()
{
  glLinkProgramARB(m_program);
  const std::vector<OmString> log = infoLog(m_program);
  if (parameter(m_program, GL_OBJECT_LINK_STATUS_ARB) != GL_TRUE)
    return "cannot link " + m_name + ": " + reason(log);
  printWarnings(m_name, log);
  return "";
}

OmString OmFilterProgram::findPictures()
{
  m_uniforms = OmProgramInterface::activeUniforms(m_program);
  for (const OmActiveUniform& sampler : m_uniforms)
  {
    if (!sampler.isSampler())
      continue;
    if (sampler.type != GL_SAMPLER_2D)
      return "the sampler " + quoted(sampler.name) + " of " + m_name +
             " is no sampler2D; make it one, as filters give pictures to no other kind";
    if (sampler.name != "image")
      m_pictures.push_back(sampler.name);
  }
  return "";
}

void OmFilterProgram::use() const
{
  glUseProgramObjectARB(m_program);
}

/// Returns -1 for a uniform that the program does not have or use; GL ignores values for that.
int OmFilterProgram::location(const OmString& name) const
{
  return glGetUniformLocationARB(m_program, name.c_str());
}

/// Returns null for a uniform that the program does not have or use. "name" is also the first element of an array.
const OmActiveUniform* OmFilterProgram::find(const OmString& name) const
{
  const auto found = std::find_if(m_uniforms.begin(), m_uniforms.end(),
                                  [&](const OmActiveUniform& one) {
                                    return (one.name == name || one.name == name + "[0]" || one.name + "[0]" == name) &&
                                           location(name) != -1;
                                  });
  return found == m_uniforms.end() ? nullptr : &*found;
}

OmString OmFilterProgram::set(const OmUniformSetting& setting) const
{
  if (std::find(std::begin(OwnUniforms), std::end(OwnUniforms), setting.name) != std::end(OwnUniforms))
    return "the filter sets the uniform " + quoted(setting.name) + " itself; leave it out";
  if (const OmActiveUniform* const uniform = find(setting.name))
    return assign(*uniform, setting);
  return m_name + " has no uniform " + quoted(setting.name) + ", or makes no use of it; " + settingsText();
}

OmString OmFilterProgram::setDefault(const OmUniformSetting& setting) const
{
  const OmActiveUniform* const uniform = find(setting.name);
  return uniform ? assign(*uniform, setting) : "";
}

OmString OmFilterProgram::assign(const OmActiveUniform& uniform, const OmUniformSetting& setting) const
{
  const OmUniformType* const type = OmUniformType::find(uniform.type);
  const OmString failure = type                  ? type->set(location(uniform.name), setting)
                           : uniform.isSampler() ? "is a sampler, which reads a picture"
                                                 : "has a type that takes no setting";
  return failure.empty() ? "" : "the uniform " + quoted(setting.name) + " of " + m_name + ' ' + failure;
}

/// What set() takes, for a message: "it has tint (a vec3)". Of an array the first element alone.
OmString OmFilterProgram::settingsText() const
{
  OmString text;
  for (const OmUniformSetting& setting : settings())
  {
    const std::size_t bracket = setting.name.rfind('[');
    if (bracket == OmString::npos || setting.name.compare(bracket, OmString::npos, "[0]") == 0)
      text += (text.empty() ? "it has " : ", ") + setting.name + " (" +
              OmUniformType::find(find(setting.name)->type)->text() + ')';
  }
  return text.empty() ? "it has no settings" : text;
}

/// Whether the uniform is one that the filter sets for each pass or for a picture.
bool OmFilterProgram::setsItself(const OmString& uniform) const
{
  return std::find(std::begin(OwnUniforms), std::end(OwnUniforms), uniform) != std::end(OwnUniforms) ||
         std::any_of(m_pictures.begin(), m_pictures.end(),
                     [&](const OmString& name)
                     {
                       return uniform.compare(0, name.size(), name) == 0 &&
                              std::find(std::begin(PictureUniforms), std::end(PictureUniforms),
                                        uniform.substr(name.size())) != std::end(PictureUniforms);
                     });
}

std::vector<OmUniformSetting> OmFilterProgram::settings() const
{
  std::vector<OmUniformSetting> settings;
  for (const OmActiveUniform& uniform : m_uniforms)
  {
    OmUniformSetting setting = OmProgramInterface::value(m_program, uniform);
    if (!setsItself(uniform.name) && setting.size() > 0)
      settings.push_back(std::move(setting));
  }
  std::sort(settings.begin(), settings.end(),
            [](const OmUniformSetting& a, const OmUniformSetting& b) { return a.name < b.name; });
  return settings;
}

OmString OmFilterProgram::setPicture(const OmString& name, int unit, const float* size, const float* texelSize) const
{
  const OmActiveUniform* const sampler = find(name);
  if (sampler && !sampler->isSampler())
    return "the uniform " + quoted(name) + " of " + m_name + " is no sampler2D, and reads no picture";
  if (!sampler)
    return m_name + " has no sampler2D " + quoted(name) + ", or makes no use of it";
  glUniform1iARB(location(name), unit);
  glUniform2fARB(location(name + "Size"), size[0], size[1]);
  glUniform2fARB(location(name + "TexelSize"), texelSize[0], texelSize[1]);
  return "";
}

void OmFilterProgram::setTable(const OmString& name, const OmTablePicture& table) const
{
  glUniform3fARB(location(name + "DomainMin"), table.domainMin.x, table.domainMin.y, table.domainMin.z);
  glUniform3fARB(location(name + "DomainMax"), table.domainMax.x, table.domainMax.y, table.domainMax.z);
  glUniform1iARB(location(name + "Entries"), table.entries);
}

void OmFilterProgram::setPass(OmU32 pass, const float* size, const float* texelSize) const
{
  glUniform1iARB(m_image, 0);
  glUniform2fARB(m_imageSize, size[0], size[1]);
  glUniform2fARB(m_texelSize, texelSize[0], texelSize[1]);
  glUniform1iARB(m_pass, static_cast<GLint>(pass));
  glUniform2fARB(m_direction, pass % 2 == 0 ? 1.0f : 0.0f, pass % 2 == 0 ? 0.0f : 1.0f);
}
