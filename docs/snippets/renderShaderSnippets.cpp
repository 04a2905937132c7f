// The snippets of OmRenderShader and OmColorTable. The lines between the markers stand in their headers, word for word.

#include "docs/snippets/snippet.h"
#include "render/omColorTable.h"
#include "render/omImageFilter.h"
#include "render/omRenderShader.h"

#include <cmath>
#include <fstream>
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

/// Looks up colours in a table that exchanges red and green.
int lookUp(const std::vector<OmRenderShader::vecT3<float>>& colors)
{
  std::ofstream("film.cube") << "LUT_3D_SIZE 2\n0 0 0\n0 1 0\n1 0 0\n1 1 0\n0 0 1\n0 1 1\n1 0 1\n1 1 1\n";
  std::vector<OmRenderShader::vecT3<float>> results(colors.size());
  // [omColorTable.h
  OmColorTable table;
  if (!table.read("film.cube"))
    return 1;                                                // the reason has been printed
  table.apply(colors.data(), results.data(), colors.size()); // on the processor
  OmRenderShader::Texture3 texture = table.texture();        // the texels themselves
  OmImageFilter filter;                                      // or on the card, by a shader like shaders/lut.frag
  filter.setPicture("lut", table);
  // omColorTable.h]
  for (std::size_t i = 0; i < colors.size(); ++i)
    CHECK(std::abs(results[i].x - colors[i].y) < 1e-6f && std::abs(results[i].y - colors[i].x) < 1e-6f &&
          std::abs(results[i].z - colors[i].z) < 1e-6f);
  CHECK(texture.tex3D({0.5f, 0.0f, 0.0f}).y == 1.0f && texture.size.z == 2);
  return 0;
}

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
  return lookUp(colors);
}
