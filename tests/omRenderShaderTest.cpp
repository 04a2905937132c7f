#include "render/omRenderShader.h"

#include "render/omSimpleWindow.h"
#include "tests/support/vectors.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace OmRenderShader;

namespace
{

matT4<float> product(const matT4<float>& a, const matT4<float>& b)
{
  matT4<float> result = {};
  for (int i = 0; i < 16; ++i)
    for (int k = 0; k < 4; ++k)
      result.m[i] += a.m[4 * k + i % 4] * b.m[4 * (i / 4) + k];
  return result;
}

/// The right-handed rotation about an axis (0 is x, 1 is y, 2 is z), in degrees.
matT4<float> rotation(int axis, double degrees)
{
  matT4<float> result = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
  const int a = (axis + 1) % 3;
  const int b = (axis + 2) % 3;
  const double quarters = degrees / 90.0; // exact at whole quarters
  const bool whole = quarters == std::floor(quarters);
  const double radians = degrees * std::acos(-1.0) / 180.0;
  result.m[5 * a] = result.m[5 * b] = static_cast<float>(whole ? std::round(std::cos(radians)) : std::cos(radians));
  result.m[4 * a + b] = static_cast<float>(whole ? std::round(std::sin(radians)) : std::sin(radians));
  result.m[4 * b + a] = -result.m[4 * a + b];
  return result;
}

matT4<float> composed(const Vector& angles)
{
  return product(rotation(2, angles.z), product(rotation(0, angles.x), rotation(1, angles.y)));
}

float largestDifference(const matT4<float>& a, const matT4<float>& b)
{
  float result = 0.0f;
  for (int i = 0; i < 16; ++i)
    result = std::max(result, std::abs(a.m[i] - b.m[i]));
  return result;
}

} // namespace

TEST(omRenderShaderTest, AnyAndAll)
{
  EXPECT_TRUE(any(vecT3<bool>{false, false, true}) && !any(vecT3<bool>{}));
  EXPECT_TRUE(all(vecT3<bool>{true, true, true}) && !all(vecT3<bool>{true, true, false}));
}

TEST(omRenderShaderTest, RotationsComeApartIntoTheirAngles)
{
  constexpr float Gimbal[] = {90, -90, 89.9999f, 90.00001f, 270, 180, 0};
  for (int i = 0; i < 200000; ++i)
  {
    Vector angles = {uniform(-400, 400), uniform(-400, 400), uniform(-400, 400)};
    if (i % 4 == 0)
      angles.x = Gimbal[pick(7)];
    if (i % 8 == 0)
      angles.y = 90.0f * static_cast<float>(pick(4));
    const matT4<float> matrix = composed(angles);
    Vector result;
    matrix.makeRot(result);
    for (const float angle : asArray(result))
      ASSERT_TRUE(angle >= 0.0f && angle < 360.0f) << angle;
    ASSERT_LT(largestDifference(composed(result), matrix), 2e-6f) << angles.x << ' ' << angles.y << ' ' << angles.z;
  }
  matT4<float> tiny = rotation(2, 0.0);
  tiny.m[1] = -1e-9f; // 360 added to it rounds to a whole turn
  Vector result;
  tiny.makeRot(result);
  EXPECT_EQ(result.z, 0.0f);
  rotation(0, 90.0).makeRot(result); // a y angle of 180 would give the same matrix
  EXPECT_EQ(result.y, 0.0f);
  tiny.m[2] = std::nanf("");
  tiny.makeRot(result);
  EXPECT_TRUE(std::isnan(result.x) && std::isnan(result.y) && std::isnan(result.z));
}

TEST(omRenderShaderTest, RotateLeavesTheStacksAlone)
{
  OmSimpleWindow window;
  window.setWindowSize(4, 4);
  window.setHideWindow(true);
  ASSERT_TRUE(window.init());
  GLint limit = 0;
  glGetIntegerv(GL_MAX_MODELVIEW_STACK_DEPTH, &limit);
  glMatrixMode(GL_MODELVIEW);
  glTranslatef(3.0f, 0.0f, 0.0f);
  for (GLint depth = 2; depth < limit; ++depth) // one place must stay free for rotate()
    glPushMatrix();
  for (const GLint mode : {GL_MODELVIEW, GL_PROJECTION, GL_TEXTURE})
  {
    glMatrixMode(static_cast<GLenum>(mode));
    const Vector angles = {uniform(-360, 360), uniform(-360, 360), uniform(-360, 360)};
    matT4<float> matrix = composed({30, 50, 70});
    const auto turn = product(rotation(0, angles.x), product(rotation(1, angles.y), rotation(2, angles.z)));
    const auto turned = product(turn, matrix);
    matrix.rotate(angles);
    EXPECT_LT(largestDifference(matrix, turned), 1e-5f);

    GLint modeAfter = 0, depthAfter = 0;
    matT4<float> after;
    glGetIntegerv(GL_MATRIX_MODE, &modeAfter);
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depthAfter);
    glGetFloatv(GL_MODELVIEW_MATRIX, after.m);
    EXPECT_TRUE(modeAfter == mode && depthAfter == limit - 1 && after.m[12] == 3.0f);
  }
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}
