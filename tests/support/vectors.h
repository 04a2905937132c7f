#ifndef OM_TEST_VECTORS_H
#define OM_TEST_VECTORS_H

#include "render/omRenderShader.h"

#include <array>
#include <random>

using Vector = OmRenderShader::vecT3<float>;

inline std::array<float, 3> asArray(const Vector& v)
{
  return {v.x, v.y, v.z};
}

/// Gives the same numbers in every run.
inline std::mt19937& generator()
{
  static std::mt19937 engine(20);
  return engine;
}

inline float uniform(float low, float high)
{
  return std::uniform_real_distribution<float>(low, high)(generator());
}

/// A number from 0 to count - 1.
inline int pick(int count)
{
  return std::uniform_int_distribution<int>(0, count - 1)(generator());
}

#endif
