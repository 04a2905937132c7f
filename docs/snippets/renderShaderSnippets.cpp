// The snippet of OmRenderShader. The lines between the markers stand in its header, word for word.

#include "docs/snippets/snippet.h"
#include "render/omRenderShader.h"

#include <cmath>
#include <vector>

namespace
{

/// Every texel holds its own coordinates.
std::vector<float> loadColorTable()
{
  std::vector<float> texels;
  for (int z = 0; z < 32; ++z)
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 32; ++x)
        for (const int place : {x, y, z})
          texels.push_back(static_cast<float>(place) / 32.0f);
  return texels;
}

} // namespace

int main()
{
  const std::vector<OmRenderShader::vecT3<float>> colors = {
      {0.0f, 0.0f, 0.0f}, {0.1f, 0.7f, 0.33f}, {0.9f, 0.4f, 0.2f}};
  std::vector<OmRenderShader::vecT3<float>> results(colors.size());
  // [omRenderShader.h
  using namespace OmRenderShader;
  std::vector<float> texels = loadColorTable();   // 32 * 32 * 32 texels of red, green, blue
  Texture3 table({32, 32, 32}, 3, texels.data()); // the texels stay the caller's
  table.interpolate = 1;
  const vecT3<float> one = table.tex3D({0.2f, 0.5f, 0.8f});
  table.tex3D(colors.data(), results.data(), colors.size()); // many at once
  // omRenderShader.h]
  CHECK(std::abs(one.x - 0.2f) < 1e-6f && std::abs(one.y - 0.5f) < 1e-6f && std::abs(one.z - 0.8f) < 1e-6f);
  for (std::size_t i = 0; i < colors.size(); ++i)
  {
    const vecT3<float> single = table.tex3D(colors[i]);
    CHECK(results[i].x == single.x && results[i].y == single.y && results[i].z == single.z);
    CHECK(std::abs(single.x - colors[i].x) < 1e-6f && std::abs(single.z - colors[i].z) < 1e-6f);
  }
  return 0;
}
