#include "render/omRenderShader.h"
#include "render/omTexture3Vectors.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
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

struct TexelKind
{
  const char* name;
  float (*make)();
};

const TexelKind TexelKinds[] = {
    {"unit", [] { return uniform(0.0f, 1.0f); }},
    {"signed", [] { return uniform(-1.0f, 1.0f); }},
    {"cancelling", [] { return pick(2) ? 1.0f + 0x1p-23f * static_cast<float>(pick(3)) : -1.0f; }},
    {"halfway between floats", [] { return 1.0f + 0x1p-23f * static_cast<float>(pick(2)); }},
    {"steps of a byte", [] { return static_cast<float>(pick(256)) / 255.0f; }},
    {"mostly black", [] { return pick(4) ? 0.0f : uniform(0.0f, 1.0f); }},
    {"zeros of both signs", [] { return pick(2) ? 0.0f : -0.0f; }},
    {"denormal", [] { return static_cast<float>(pick(9) - 4) * std::numeric_limits<float>::denorm_min(); }},
    {"tiny beside huge", [] { return pick(2) ? uniform(-1e-38f, 1e-38f) : uniform(-3e38f, 3e38f); }},
    {"largest", [] { return pick(3) ? std::numeric_limits<float>::max() : uniform(3.4e38f, 3.402e38f); }},
    {"any", [] { return std::ldexp(uniform(-1.0f, 1.0f), pick(277) - 148); }},
    {"any bits", anyFloat},
    {"infinite here and there", [] { return pick(9)   ? uniform(0.0f, 1.0f)
                                            : pick(2) ? Infinity
                                                      : NaN; }},
};

/// A coordinate for an axis of n texels: between texels, on them, halfway, a float's step off, at and beyond the edges.
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

/// The rules of a lookup once more, written for reading.
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

/// Floats that end where the memory does, so that reading on is a fault.
class FloatsAtEnd
{
public:
  explicit FloatsAtEnd(std::size_t count)
      : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), length((count * sizeof(float) / page + 1) * page)
  {
    memory =
        static_cast<char*>(mmap(nullptr, length + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (memory == MAP_FAILED || mprotect(memory + length, page, PROT_NONE) != 0)
      throw std::bad_alloc();
    first = reinterpret_cast<float*>(memory + length) - count;
  }
  ~FloatsAtEnd() { munmap(memory, length + page); }
  FloatsAtEnd(const FloatsAtEnd&) = delete;
  FloatsAtEnd& operator=(const FloatsAtEnd&) = delete;

  float* begin() const { return first; }
  float* end() const { return reinterpret_cast<float*>(memory + length); }

private:
  std::size_t page;
  std::size_t length;
  char* memory;
  float* first;
};

using LookUpMany = void (*)(const Texture3&, const Vector*, Vector*, std::size_t);

std::vector<std::pair<const char*, LookUpMany>> ways()
{
  std::vector<std::pair<const char*, LookUpMany>> result = {
      {"public", [](const Texture3& t, const Vector* in, Vector* out, std::size_t n) { t.tex3D(in, out, n); }},
      {"portable", Kernel::lookUpManyPortable}};
#if defined(__x86_64__)
  if (Kernel::hasAvx2())
    result.emplace_back("AVX2", Kernel::lookUpManyAvx2);
  if (Kernel::hasAvx512())
    result.emplace_back("AVX-512", Kernel::lookUpManyAvx512);
#endif
  return result;
}

} // namespace

TEST(omTexture3, ManyAtOnceGiveTheBitsOfSingleLookups)
{
  const vecT3<int> sizes[] = {{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {5, 7, 3}, {1, 33, 1}, {64, 5, 2}};
  std::vector<Vector> points(2001); // no whole number of blocks
  std::vector<Vector> singles(points.size());
  for (const TexelKind& kind : TexelKinds)
    for (const auto& size : sizes)
      for (const int channels : {1, 2, 3, 4, 5, 6})
        for (const int interpolate : {0, 1, 2, -1})
        {
          const FloatsAtEnd texels(static_cast<std::size_t>(size.x * size.y * size.z * channels));
          std::generate(texels.begin(), texels.end(), kind.make);
          Texture3 texture(size, channels, texels.begin());
          texture.interpolate = interpolate;
          for (std::size_t i = 0; i < points.size(); ++i)
          {
            points[i] = {makeCoordinate(size.x), makeCoordinate(size.y), makeCoordinate(size.z)};
            singles[i] = texture.tex3D(points[i]);
            ASSERT_EQ(bits(singles[i]), bits(expected(texture, points[i]))) << kind.name;
          }
          for (const auto& [name, lookUpMany] : ways())
          {
            std::vector<Vector> results = points; // in place
            lookUpMany(texture, results.data(), results.data(), results.size());
            for (std::size_t i = 0; i < points.size(); ++i)
              ASSERT_EQ(bits(results[i]), bits(singles[i]))
                  << name << ", " << kind.name << ", " << size.x << " by " << size.y << " by " << size.z << ", "
                  << channels << " channels at " << points[i].x << ' ' << points[i].y << ' ' << points[i].z;
          }
        }
}

TEST(omTexture3, LookupsFollowTheirRules)
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
      {0, {0.0f, 0.0f, 0.0f}, {0, 1, 2}},
      {0, {1.0f, 1.0f, 1.0f}, {21, 22, 23}},
      {0, {0.25f, 0.0f, 0.0f}, {0, 1, 2}},
      {0, {0.26f, 0.0f, 0.0f}, {3, 4, 5}}, // halfway takes the lower texel
      {1, {0.25f, 0.0f, 0.0f}, {1.5, 2.5, 3.5}},
      {1, {0.0f, 0.25f, 0.0f}, {3, 4, 5}},
      {1, {0.0f, 0.0f, 0.125f}, {3, 4, 5}},
      {1, {0.75f, 0.0f, 0.0f}, {3, 4, 5}}, // the last texel reaches to the edge
      {1, {-0.5f, 2.0f, 0.25f}, {12, 13, 14}},
      {1, {NaN, -Infinity, 0.0f}, {3, 4, 5}},
  };
  for (const auto& test : cases)
  {
    texture.interpolate = test.interpolate;
    EXPECT_EQ(asArray(texture.tex3D(test.point)), test.result) << test.point.x << ' ' << test.point.y;
  }
  const Vector& first = texture.tex3D({0.0f, 0.0f, 0.0f});
  EXPECT_EQ(&texture.tex3D({1.0f, 1.0f, 1.0f}), &first);
  EXPECT_EQ(first.x, 21.0f);

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

TEST(omTexture3, OffsetsReachBeyondAnInt)
{
  const vecT3<int> size = {1 << 15, 1 << 14, 5}; // 2.5 * 2^31 floats, of which only the pages touched take memory
  const std::size_t count = std::size_t{1 << 15} * (1 << 14) * 5 * 2;
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

TEST(omTexture3, ThreadsSampleAtOnce)
{
  std::vector<float> texels(3 * 8 * 8 * 8);
  for (float& texel : texels)
    texel = uniform(0.0f, 1.0f);
  Texture3 texture({8, 8, 8}, 3, texels.data());
  texture.interpolate = 1;
  std::vector<Vector> points(20000);
  for (Vector& point : points)
    point = {uniform(0.0f, 1.0f), uniform(0.0f, 1.0f), uniform(0.0f, 1.0f)};
  std::vector<Vector> expectedResults(points.size());
  texture.tex3D(points.data(), expectedResults.data(), points.size());
  std::vector<std::thread> threads;
  std::array<int, 4> wrong = {};
  for (int& count : wrong)
    threads.emplace_back(
        [&]
        {
          for (std::size_t i = 0; i < points.size(); ++i)
            count += bits(texture.tex3D(points[i])) != bits(expectedResults[i]);
        });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, (std::array<int, 4>{}));
}
