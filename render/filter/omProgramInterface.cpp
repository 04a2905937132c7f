#include "render/filter/omProgramInterface.h"

#include "render/filter/omEntryPoint.h"
#include "render/filter/omUniformType.h"
#include "render/omGL.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

namespace
{

/// "name[1]" for the name of an array, with which drivers may give the first element's "[0]".
OmString elementName(const OmString& name, GLint element)
{
  const bool isIndexed = !name.empty() && name.back() == ']';
  return name.substr(0, isIndexed ? name.rfind('[') : name.size()) + '[' + std::to_string(element) + ']';
}

bool hasExtension(const OmString& name)
{
  std::istringstream extensions(reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS)));
  return std::find(std::istream_iterator<OmString>(extensions), {}, name) != std::istream_iterator<OmString>();
}

/// What a shader takes from the stage before (GL_PROGRAM_INPUT) or hands on (GL_PROGRAM_OUTPUT), GL's own variables
/// aside.
std::set<OmString> variables(const OmString& source, GLenum shaderType, GLenum interface)
{
  const auto createShaderProgram = omEntryPoint<PFNGLCREATESHADERPROGRAMVPROC>("glCreateShaderProgramv");
  const auto getInterface = omEntryPoint<PFNGLGETPROGRAMINTERFACEIVPROC>("glGetProgramInterfaceiv");
  const auto getName = omEntryPoint<PFNGLGETPROGRAMRESOURCENAMEPROC>("glGetProgramResourceName");
  const auto deleteProgram = omEntryPoint<PFNGLDELETEPROGRAMPROC>("glDeleteProgram");
  const GLchar* const text = source.c_str();
  const GLuint program = createShaderProgram(shaderType, 1, &text);
  GLint count = 0;
  GLint longest = 0;
  getInterface(program, interface, GL_ACTIVE_RESOURCES, &count);
  getInterface(program, interface, GL_MAX_NAME_LENGTH, &longest);
  std::vector<GLchar> name(static_cast<std::size_t>(longest) + 1);
  std::set<OmString> names;
  for (GLint i = 0; i < count; ++i)
  {
    getName(program, interface, static_cast<GLuint>(i), longest, nullptr, name.data());
    if (const OmString variable = name.data(); variable.rfind("gl_", 0) != 0)
      names.insert(variable);
  }
  deleteProgram(program);
  return names;
}

} // namespace

bool OmActiveUniform::isSampler() const
{
  constexpr GLenum Ranges[][2] = {
      {GL_SAMPLER_1D, GL_SAMPLER_2D_RECT_SHADOW},
      {GL_SAMPLER_1D_ARRAY, GL_SAMPLER_CUBE_SHADOW},
      {GL_INT_SAMPLER_1D, GL_UNSIGNED_INT_SAMPLER_BUFFER},
      {GL_SAMPLER_CUBE_MAP_ARRAY, GL_UNSIGNED_INT_SAMPLER_CUBE_MAP_ARRAY},
      {GL_SAMPLER_2D_MULTISAMPLE, GL_UNSIGNED_INT_SAMPLER_2D_MULTISAMPLE_ARRAY},
  };
  return std::any_of(std::begin(Ranges), std::end(Ranges),
                     [this](const GLenum(&range)[2]) { return range[0] <= type && type <= range[1]; });
}

std::vector<OmActiveUniform> OmProgramInterface::activeUniforms(GLhandleARB program)
{
  const auto getActiveUniform = omEntryPoint<PFNGLGETACTIVEUNIFORMARBPROC>("glGetActiveUniformARB");
  GLint count = 0;
  GLint longest = 0;
  glGetObjectParameterivARB(program, GL_OBJECT_ACTIVE_UNIFORMS_ARB, &count);
  glGetObjectParameterivARB(program, GL_OBJECT_ACTIVE_UNIFORM_MAX_LENGTH_ARB, &longest);
  std::vector<GLcharARB> name(static_cast<std::size_t>(longest) + 1);
  std::vector<OmActiveUniform> uniforms;
  for (GLint i = 0; i < count; ++i)
  {
    GLint size = 0;
    GLenum type = 0;
    getActiveUniform(program, static_cast<GLuint>(i), longest, nullptr, &size, &type, name.data());
    const OmString first = name.data();
    uniforms.push_back({first, type});
    for (GLint element = 1; element < size; ++element)
      uniforms.push_back({elementName(first, element), type});
  }
  return uniforms;
}

OmUniformSetting OmProgramInterface::value(GLhandleARB program, const OmActiveUniform& uniform)
{
  OmUniformSetting setting = {uniform.name, {}, {}};
  const OmUniformType* const type = OmUniformType::find(uniform.type);
  const int location =
      glGetUniformLocationARB(program, uniform.name.c_str()); // -1 for GL's own, and in a uniform block
  if (type && location != -1)
    type->get(program, location, setting);
  return setting;
}

std::vector<OmString> OmProgramInterface::unwrittenInputs(const OmString& fragment, const OmString& vertex)
{
  if (!hasExtension("GL_ARB_program_interface_query") || !hasExtension("GL_ARB_separate_shader_objects"))
    return {};
  const std::set<OmString> read = variables(fragment, GL_FRAGMENT_SHADER, GL_PROGRAM_INPUT);
  const std::set<OmString> written = variables(vertex, GL_VERTEX_SHADER, GL_PROGRAM_OUTPUT);
  std::vector<OmString> unwritten;
  std::set_difference(read.begin(), read.end(), written.begin(), written.end(), std::back_inserter(unwritten));
  return unwritten;
}
