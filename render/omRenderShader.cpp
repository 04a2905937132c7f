#include "render/omRenderShader.h"

#include "render/omVersion.h"
#include "render/texture3/omTexture3LookUp.h"

#include <GL/gl.h>

#include <cmath>

namespace OmRenderShader
{

bool any(const vecT3<bool>& v)
{
  return v.x || v.y || v.z;
}

bool all(const vecT3<bool>& v)
{
  return v.x && v.y && v.z;
}

void matT4<float>::rotate(const vecT3<float>& angles)
{
  GLint matrixMode = GL_MODELVIEW;
  glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glRotatef(angles.x, 1.0f, 0.0f, 0.0f);
  glRotatef(angles.y, 0.0f, 1.0f, 0.0f);
  glRotatef(angles.z, 0.0f, 0.0f, 1.0f);
  glMultMatrixf(m);
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  glPopMatrix();
  glMatrixMode(static_cast<GLenum>(matrixMode));
}

namespace
{

float inDegrees(double radians)
{
  const auto degrees = static_cast<float>(radians * 57.29577951308232);
  if (degrees < 0.0f)
  {
    const float positive = degrees + 360.0f;
    return positive < 360.0f ? positive : 0.0f; // for a tiny angle below 0 the sum rounds to 360
  }
  return degrees >= 360.0f ? degrees - 360.0f : degrees;
}

} // namespace

void matT4<float>::makeRot(vecT3<float>& angles) const
{
  // U, V and W are elements of M Ry(-beta) = Rz(gamma) Rx(alpha).
  constexpr float HalfTurn = 3.14159265358979f;
  float beta = 0.0f;
  float u = m[0];
  float v = m[1];
  float w = m[10];
  if (m[2] != 0.0f)
  {
    beta = static_cast<float>(std::atan2(-static_cast<double>(m[2]), static_cast<double>(m[10])));
    const float c = std::cos(beta);
    const float s = std::sin(beta);
    u = m[0] * c + m[8] * s;
    v = m[1] * c + m[9] * s;
    w = m[10] * c - m[2] * s;
  }
  else if (m[10] < 0.0f)
  {
    beta = HalfTurn;
    u = -u;
    v = -v;
    w = -w;
  }
  angles.x = inDegrees(std::atan2(static_cast<double>(m[6]), static_cast<double>(w)));
  angles.y = inDegrees(beta);
  angles.z = inDegrees(std::atan2(static_cast<double>(v), static_cast<double>(u)));
}

Texture3::Texture3(vecT3<int> textureSize, int channelCount, float* texels)
    : size(textureSize), channels(channelCount), data(texels), interpolate(0)
{
}

const vecT3<float>& Texture3::tex3D(const vecT3<float>& coords) const
{
  thread_local vecT3<float> result;
  return result = lookUp(*this, coords);
}

void Texture3::tex3D(const vecT3<float>* coords, vecT3<float>* results, std::size_t count) const
{
#if defined(__x86_64__)
  if (hasAvx512())
    return lookUpManyAvx512(*this, coords, results, count);
  if (hasAvx2())
    return lookUpManyAvx2(*this, coords, results, count);
#endif
  lookUpManyPortable(*this, coords, results, count);
}

} // namespace OmRenderShader
