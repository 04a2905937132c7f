// Lookups in a 64^3 RGB texture, at a million points, by one thread: the library's two ways beside the same work
// written by hand.

#include "render/omRenderShader.h"

#include <benchmark/benchmark.h>
#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

using OmRenderShader::Texture3;
using OmRenderShader::vecT3;

namespace
{

constexpr int Size = 64;
constexpr std::size_t PointCount = 1000000;

std::vector<float> makeTexels()
{
  std::mt19937 random(1);
  std::uniform_real_distribution<float> value(0.0f, 1.0f);
  std::vector<float> texels(3 * Size * Size * Size);
  for (float& texel : texels)
    texel = value(random);
  return texels;
}

/// Anywhere in the texture, so that most lookups miss the processor's nearest caches.
std::vector<vecT3<float>> makeRandomPoints()
{
  std::mt19937 random(2);
  std::uniform_real_distribution<float> coordinate(0.0f, 1.0f);
  std::vector<vecT3<float>> points(PointCount);
  for (auto& point : points)
    point = {coordinate(random), coordinate(random), coordinate(random)};
  return points;
}

/// The colours of a smooth picture, row by row.
std::vector<vecT3<float>> makeCoherentPoints()
{
  std::vector<vecT3<float>> points;
  points.reserve(PointCount);
  for (int row = 0; row < 1000; ++row)
    for (int column = 0; column < 1000; ++column)
    {
      const float s = (static_cast<float>(column) + 0.37f) / 1000.0f;
      const float t = (static_cast<float>(row) + 0.71f) / 1000.0f;
      points.push_back({s, t, 0.5f + 0.5f * std::sin(4.0f * s + 3.0f * t)});
    }
  return points;
}

std::vector<float>& texels()
{
  static std::vector<float> data = makeTexels();
  return data;
}

const std::vector<vecT3<float>>& points(bool coherent)
{
  static const std::vector<vecT3<float>> all[2] = {makeRandomPoints(), makeCoherentPoints()};
  return all[coherent];
}

/// Single precision with GLM, as one writes it.
glm::vec3 sampleGlm(const glm::vec3* data, glm::vec3 coords)
{
  const glm::vec3 position = glm::clamp(coords, 0.0f, 1.0f) * static_cast<float>(Size);
  const glm::ivec3 lower = glm::min(glm::ivec3(position), Size - 1);
  const glm::ivec3 upper = glm::min(lower + 1, Size - 1);
  const glm::vec3 f = position - glm::vec3(lower);
  const auto texel = [data](int x, int y, int z) { return data[(z * Size + y) * Size + x]; };
  const auto alongZ = [&](int x, int y) { return glm::mix(texel(x, y, lower.z), texel(x, y, upper.z), f.z); };
  const auto alongY = [&](int x) { return glm::mix(alongZ(x, lower.y), alongZ(x, upper.y), f.y); };
  return glm::mix(alongY(lower.x), alongY(upper.x), f.x);
}

/// Extended precision, plainly: what one call at a time costs without any care.
vecT3<float> sampleLongDouble(const float* data, const vecT3<float>& coords)
{
  const float in[3] = {coords.x, coords.y, coords.z};
  int index[3][2];
  long double weight[3][2];
  for (int axis = 0; axis < 3; ++axis)
  {
    const float position = (in[axis] < 0.0f ? 0.0f : in[axis] < 1.0f ? in[axis] : 1.0f) * static_cast<float>(Size);
    index[axis][0] = std::min(static_cast<int>(position), Size - 1);
    index[axis][1] = std::min(static_cast<int>(std::ceil(position)), Size - 1);
    weight[axis][1] = position - static_cast<float>(index[axis][0]);
    weight[axis][0] = 1.0L - weight[axis][1];
  }
  float result[3];
  for (int c = 0; c < 3; ++c)
  {
    const auto texel = [&](int x, int y, int z) -> long double
    { return data[((index[2][z] * Size + index[1][y]) * Size + index[0][x]) * 3 + c]; };
    const auto alongZ = [&](int x, int y) { return weight[2][0] * texel(x, y, 0) + weight[2][1] * texel(x, y, 1); };
    const auto alongY = [&](int x) { return weight[1][0] * alongZ(x, 0) + weight[1][1] * alongZ(x, 1); };
    result[c] = static_cast<float>(weight[0][0] * alongY(0) + weight[0][1] * alongY(1));
  }
  return {result[0], result[1], result[2]};
}

/// Runs `sampleAll(texture, in, out, count)` over the points, the same for every way.
template <class SampleAll>
void measure(benchmark::State& state, const SampleAll& sampleAll)
{
  Texture3 texture({Size, Size, Size}, 3, texels().data());
  texture.interpolate = 1;
  const auto& in = points(state.range(0) != 0);
  std::vector<vecT3<float>> out(in.size());
  for (auto _ : state)
  {
    sampleAll(texture, in.data(), out.data(), in.size());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

using Points = const vecT3<float>*;
using Results = vecT3<float>*;

void manyAtOnce(benchmark::State& state)
{
  measure(state,
          [](const Texture3& texture, Points in, Results out, std::size_t count) { texture.tex3D(in, out, count); });
}

void single(benchmark::State& state)
{
  measure(state,
          [](const Texture3& texture, Points in, Results out, std::size_t count)
          {
            for (std::size_t i = 0; i < count; ++i)
              out[i] = texture.tex3D(in[i]);
          });
}

void glm3(benchmark::State& state)
{
  measure(state,
          [](const Texture3& texture, Points in, Results out, std::size_t count)
          {
            const auto* const data = reinterpret_cast<const glm::vec3*>(texture.data);
            for (std::size_t i = 0; i < count; ++i)
            {
              const glm::vec3 result = sampleGlm(data, {in[i].x, in[i].y, in[i].z});
              out[i] = {result.x, result.y, result.z};
            }
          });
}

void longDouble(benchmark::State& state)
{
  measure(state,
          [](const Texture3& texture, Points in, Results out, std::size_t count)
          {
            for (std::size_t i = 0; i < count; ++i)
              out[i] = sampleLongDouble(texture.data, in[i]);
          });
}

} // namespace

#define OM_BENCHMARK(function) BENCHMARK(function)->ArgName("coherent")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)
OM_BENCHMARK(manyAtOnce);
OM_BENCHMARK(single);
OM_BENCHMARK(glm3)->Name("glm");
OM_BENCHMARK(longDouble);

BENCHMARK_MAIN();
