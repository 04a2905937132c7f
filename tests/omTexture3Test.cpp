#include "render/omRenderShader.h"
#include "render/texture3/omTexture3LookUp.h"
#include "tests/support/guardedMemory.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

using namespace OmRenderShader;

namespace
{

constexpr float Infinity = std::numeric_limits<float>::infinity();
constexpr float NaN = std::numeric_limits<float>::quiet_NaN();

/// The bits, so that zeros differ by sign and a NaN equals itself.
std::array<std::uint32_t, 3> bits(const Vector& v)
{
  std::array<std::uint32_t, 3> result;
  std::memcpy(result.data(), &v, sizeof v);
  return result;
}

/// A float of any exponent: zeros, denormals, infinities and NaN of any payload included.
float anyFloat()
{
  const auto pattern = static_cast<std::uint32_t>(generator()());
  float result;
  std::memcpy(&result, &pattern, sizeof result);
  return result;
}

using MakeTexel = float (*)();

const MakeTexel TexelKinds[] = {
    [] { return uniform(0.0f, 1.0f); },
    [] {
      return pick(2) ? 1.0f + 0x1p-23f * static_cast<float>(pick(3)) : -1.0f;
    }, // cancels, or is halfway between floats
    [] { return pick(2) ? static_cast<float>(pick(9) - 4) * std::numeric_limits<float>::denorm_min() : -0.0f; },
    [] { return pick(3) ? std::numeric_limits<float>::max() : uniform(3.4e38f, 3.402e38f); },
    anyFloat,
};

/// A coordinate for an axis of n texels: on a texel, halfway, next to a texel, tiny, special, or anywhere around.
float makeCoordinate(int n)
{
  constexpr float Special[] = {0.0f, -0.0f, 1.0f, -0.5f, 2.0f, Infinity, -Infinity, NaN};
  const float onTexel = static_cast<float>(pick(n + 1)) / static_cast<float>(n);
  const float choices[] = {onTexel,
                           (static_cast<float>(pick(n)) + 0.5f) / static_cast<float>(n),
                           std::nextafter(onTexel, pick(2) ? 2.0f : -1.0f),
                           std::ldexp(uniform(0.5f, 1.0f), -pick(149)),
                           Special[pick(8)],
                           uniform(-0.05f, 1.05f),
                           uniform(0.0f, 1.0f),
                           uniform(0.0f, 1.0f)};
  return choices[pick(8)];
}

/// What a lookup should return, computed without regard to speed.
Vector expected(const Texture3& texture, const Vector& point)
{
  const int sizes[3] = {texture.size.x, texture.size.y, texture.size.z};
  int index[3][2];
  long double weight[3][2];
  for (std::size_t axis = 0; axis < 3; ++axis)
  {
    const float u = asArray(point)[axis];
    const volatile float position = static_cast<float>(sizes[axis]) * (u < 1.0f ? std::max(0.0f, u) : 1.0f);
    index[axis][0] = std::min(static_cast<int>(position), sizes[axis] - 1);
    index[axis][1] = std::min(static_cast<int>(std::ceil(position)), sizes[axis] - 1);
    weight[axis][1] = position - static_cast<float>(index[axis][0]);
    weight[axis][0] = 1.0L - weight[axis][1];
    if (!texture.interpolate)
      index[axis][0] = index[axis][1] = index[axis][weight[axis][1] > 0.5L];
  }
  const auto texel = [&](int x, int y, int z, int c)
  { return texture.data[((index[2][z] * sizes[1] + index[1][y]) * sizes[0] + index[0][x]) * texture.channels + c]; };
  float result[3] = {};
  for (int c = 0; c < std::min(texture.channels, 3); ++c)
  {
    long double alongX[2];
    for (int x = 0; x < 2; ++x)
    {
      long double alongY[2];
      for (int y = 0; y < 2; ++y)
        alongY[y] = weight[2][0] * texel(x, y, 0, c) + weight[2][1] * texel(x, y, 1, c);
      alongX[x] = weight[1][0] * alongY[0] + weight[1][1] * alongY[1];
    }
    const bool onTexel = index[0][0] == index[0][1] && index[1][0] == index[1][1] && index[2][0] == index[2][1];
    result[c] = onTexel ? texel(0, 0, 0, c) : static_cast<float>(weight[0][0] * alongX[0] + weight[0][1] * alongX[1]);
  }
  return {result[0], result[1], result[2]};
}

using LookUpMany = void (*)(const Texture3&, const Vector*, Vector*, std::size_t);

std::vector<std::pair<const char*, LookUpMany>> ways()
{
  std::vector<std::pair<const char*, LookUpMany>> result = {
      {"public", [](const Texture3& t, const Vector* in, Vector* out, std::size_t n) { t.tex3D(in, out, n); }},
      {"portable", lookUpManyPortable}};
#if defined(__x86_64__)
  if (hasAvx2())
    result.emplace_back("AVX2", lookUpManyAvx2);
  if (hasAvx512())
    result.emplace_back("AVX-512", lookUpManyAvx512);
#endif
  return result;
}

} // namespace

TEST(omTexture3Test, ManyAtOnceGiveTheBitsOfSingleLookups)
{
  const vecT3<int> sizes[] = {{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {5, 7, 3}, {1, 33, 1}, {64, 5, 2}};
  std::vector<Vector> points(2001); // not a multiple of the block size
  std::vector<Vector> singles(points.size());
  for (const MakeTexel makeTexel : TexelKinds)
    for (const auto& size : sizes)
      for (const int channels : {1, 2, 3, 4, 5, 6})
        for (const int interpolate : {0, 1, 2, -1})
        {
          const MemoryWithEnd<float> texels(static_cast<std::size_t>(size.x * size.y * size.z * channels));
          std::generate(texels.begin(), texels.end(), makeTexel);
          Texture3 texture(size, channels, texels.begin());
          texture.interpolate = interpolate;
          for (std::size_t i = 0; i < points.size(); ++i)
          {
            points[i] = {makeCoordinate(size.x), makeCoordinate(size.y), makeCoordinate(size.z)};
            singles[i] = texture.tex3D(points[i]);
            ASSERT_EQ(bits(singles[i]), bits(expected(texture, points[i])));
          }
          for (const auto& [name, lookUpMany] : ways())
          {
            std::vector<Vector> results = points; // in place
            lookUpMany(texture, results.data(), results.data(), results.size());
            for (std::size_t i = 0; i < points.size(); ++i)
              ASSERT_EQ(bits(results[i]), bits(singles[i])) << name << ", " << channels << " channels at "
                                                            << points[i].x << ' ' << points[i].y << ' ' << points[i].z;
          }
        }
}

TEST(omTexture3Test, LookupsFollowTheirRules)
{
  float texels[3 * 8];
  for (int i = 0; i < 24; ++i)
    texels[i] = static_cast<float>(i);
  Texture3 texture({2, 2, 2}, 3, texels);
  EXPECT_EQ(texture.interpolate, 0);
  const struct
  {
    int interpolate;
    Vector point;
    std::array<float, 3> result;
  } cases[] = {
      {0, {1.0f, 1.0f, 1.0f}, {21, 22, 23}},   {0, {0.25f, 0.0f, 0.0f}, {0, 1, 2}}, // halfway takes the lower texel
      {0, {0.26f, 0.0f, 0.0f}, {3, 4, 5}},     {1, {0.25f, 0.0f, 0.0f}, {1.5, 2.5, 3.5}},
      {1, {0.75f, 0.0f, 0.0f}, {3, 4, 5}}, // the last texel reaches to the edge
      {1, {-0.5f, 2.0f, 0.25f}, {12, 13, 14}}, {1, {NaN, -Infinity, 0.0f}, {3, 4, 5}},
  };
  for (const auto& test : cases)
  {
    texture.interpolate = test.interpolate;
    EXPECT_EQ(asArray(texture.tex3D(test.point)), test.result) << test.point.x << ' ' << test.point.y;
  }
  const Vector& first = texture.tex3D({0.0f, 0.0f, 0.0f});
  EXPECT_EQ(&texture.tex3D({1.0f, 1.0f, 1.0f}), &first);
  EXPECT_EQ(first.x, 21.0f);
  std::thread([&] { EXPECT_NE(&texture.tex3D({0.0f, 0.0f, 0.0f}), &first); }).join(); // each thread has one

  const Texture3 unusable[] = {{{0, 2, 2}, 3, texels}, {{2, -1, 2}, 3, texels}, {{2, 2, 0}, 3, texels},
                               {{2, 2, 2}, 0, texels}, {{2, 2, 2}, -1, texels}, {{2, 2, 2}, 3, nullptr}};
  for (Texture3 bad : unusable)
    for (bad.interpolate = 0; bad.interpolate < 2; ++bad.interpolate)
    {
      const Vector points[2] = {{0.3f, 0.3f, 0.3f}, {1.0f, 1.0f, 1.0f}};
      EXPECT_EQ(asArray(bad.tex3D(points[0])), (std::array<float, 3>{}));
      for (const auto& [name, lookUpMany] : ways())
      {
        Vector results[2] = {{1, 1, 1}, {1, 1, 1}};
        lookUpMany(bad, points, results, 2);
        EXPECT_EQ(asArray(results[1]), (std::array<float, 3>{})) << name;
        lookUpMany(bad, nullptr, nullptr, 0);
      }
    }
}

TEST(omTexture3Test, OffsetsReachBeyondAnInt)
{
  const vecT3<int> size = {1 << 15, 1 << 14, 6}; // 3 * 2^31 floats; only the pages in use take memory
  const std::size_t count = std::size_t{1 << 15} * (1 << 14) * 6 * 2;
  void* const memory =
      mmap(nullptr, count * sizeof(float), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED)
    GTEST_SKIP() << "no address space";
  Texture3 texture(size, 2, static_cast<float*>(memory));
  texture.data[count - 1] = 3.0f;
  for (texture.interpolate = 0; texture.interpolate < 2; ++texture.interpolate)
    for (const auto& [name, lookUpMany] : ways())
    {
      Vector point = {1.0f, 1.0f, 0.9f};
      lookUpMany(texture, &point, &point, 1);
      EXPECT_EQ(asArray(point), (std::array<float, 3>{0.0f, 3.0f, 0.0f})) << name;
    }
  munmap(memory, count * sizeof(float));
}
