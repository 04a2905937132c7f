#include "render/filter/omUniformType.h"

#include "render/filter/omEntryPoint.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace
{

constexpr OmUniformType Types[] = {
    {GL_FLOAT, "float", OmUniformType::Float, 1, "glUniform1fvARB"},
    {GL_FLOAT_VEC2_ARB, "vec2", OmUniformType::Float, 2, "glUniform2fvARB"},
    {GL_FLOAT_VEC3_ARB, "vec3", OmUniformType::Float, 3, "glUniform3fvARB"},
    {GL_FLOAT_VEC4_ARB, "vec4", OmUniformType::Float, 4, "glUniform4fvARB"},
    {GL_INT, "int", OmUniformType::Integer, 1, "glUniform1ivARB"},
    {GL_INT_VEC2_ARB, "ivec2", OmUniformType::Integer, 2, "glUniform2ivARB"},
    {GL_INT_VEC3_ARB, "ivec3", OmUniformType::Integer, 3, "glUniform3ivARB"},
    {GL_INT_VEC4_ARB, "ivec4", OmUniformType::Integer, 4, "glUniform4ivARB"},
    {GL_BOOL_ARB, "bool", OmUniformType::Boolean, 1, "glUniform1ivARB"},
    {GL_BOOL_VEC2_ARB, "bvec2", OmUniformType::Boolean, 2, "glUniform2ivARB"},
    {GL_BOOL_VEC3_ARB, "bvec3", OmUniformType::Boolean, 3, "glUniform3ivARB"},
    {GL_BOOL_VEC4_ARB, "bvec4", OmUniformType::Boolean, 4, "glUniform4ivARB"},
    {GL_FLOAT_MAT2_ARB, "mat2", OmUniformType::Matrix, 4, "glUniformMatrix2fvARB"},
    {GL_FLOAT_MAT3_ARB, "mat3", OmUniformType::Matrix, 9, "glUniformMatrix3fvARB"},
    {GL_FLOAT_MAT4_ARB, "mat4", OmUniformType::Matrix, 16, "glUniformMatrix4fvARB"},
};

/// GL gives a matrix by columns, and settings have it by rows.
void transpose(std::vector<float>& matrix)
{
  const auto side = static_cast<std::size_t>(std::lround(std::sqrt(matrix.size())));
  for (std::size_t row = 0; row < side; ++row)
    for (std::size_t column = 0; column < row; ++column)
      std::swap(matrix[row * side + column], matrix[column * side + row]);
}

/// What a setting has, for a message.
OmString formText(const OmUniformSetting& setting, bool fitsInSize)
{
  const OmString count = std::to_string(setting.size());
  if (!fitsInSize)
    return count + (setting.size() == 1 ? " number" : " numbers");
  const bool isOne = setting.size() == 1;
  if (!setting.booleans.empty())
    return isOne ? "true or false" : count + " times true or false";
  if (!setting.floats.empty())
    return isOne ? "a float" : count + " floats";
  return isOne ? "a whole number" : count + " whole numbers";
}

} // namespace

const OmUniformType* OmUniformType::find(GLenum type)
{
  const auto found =
      std::find_if(std::begin(Types), std::end(Types), [type](const OmUniformType& one) { return one.type == type; });
  return found == std::end(Types) ? nullptr : found;
}

std::vector<float> OmUniformType::floats(const OmUniformSetting& setting) const
{
  return hasFloats() ? setting.floats : std::vector<float>();
}

std::vector<int> OmUniformType::integers(const OmUniformSetting& setting) const
{
  if (kind == Integer || (kind == Boolean && !setting.integers.empty()))
    return setting.integers;
  if (kind != Boolean)
    return {};
  std::vector<int> values = setting.booleans;
  for (const float number : setting.floats)
    values.push_back(number != 0.0F);
  return values;
}

OmString OmUniformType::set(int location, const OmUniformSetting& setting) const
{
  const std::vector<float> floatValues = floats(setting);
  const std::vector<int> integerValues = integers(setting);
  if (floatValues.size() + integerValues.size() != count)
    return "is " + text() + ", not " + formText(setting, setting.size() == count);
  if (kind == Matrix)
    omEntryPoint<PFNGLUNIFORMMATRIX2FVARBPROC>(setter)(location, 1, GL_TRUE, floatValues.data());
  else if (kind == Float)
    omEntryPoint<PFNGLUNIFORM1FVARBPROC>(setter)(location, 1, floatValues.data());
  else
    omEntryPoint<PFNGLUNIFORM1IVARBPROC>(setter)(location, 1, integerValues.data());
  return "";
}

void OmUniformType::get(GLhandleARB program, int location, OmUniformSetting& setting) const
{
  setting.floats.resize(hasFloats() ? count : 0);
  setting.integers.resize(hasFloats() ? 0 : count);
  if (hasFloats())
    omEntryPoint<PFNGLGETUNIFORMFVARBPROC>("glGetUniformfvARB")(program, location, setting.floats.data());
  else
    omEntryPoint<PFNGLGETUNIFORMIVARBPROC>("glGetUniformivARB")(program, location, setting.integers.data());
  if (kind == Matrix)
    transpose(setting.floats);
}

OmString OmUniformType::text() const
{
  const OmString article = name[0] == 'i' ? "an " : "a ";
  return article + name + (kind == Matrix ? " of " + std::to_string(count) + " numbers" : "");
}
