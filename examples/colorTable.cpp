// Gives a picture a warm tint and more contrast by a 3-D colour table: once on the processor, and once on the card by a
// shader.
//
//   colorTable PICTURE PROCESSOR.png CARD.png
//
// Prints the largest difference between the two results, in steps of 255.

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "render/omRenderShader.h"
#include "render/omShader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <vector>

using Color = OmRenderShader::vecT3<float>;

constexpr int Size = 32;                        // texels along each axis: red, green, blue
constexpr float Scale = float(Size - 1) / Size; // black is the first texel, at 0, white the last one, at 31 / 32

// In a GL texture, the centre of each texel lies half a texel further in.
constexpr char Apply[] = R"(
uniform sampler2D picture; // on texture unit 0, the default
uniform sampler3D table;
uniform float size;

void main()
{
  vec3 color = texture2D(picture, gl_TexCoord[0].st).rgb;
  gl_FragColor = vec4(texture3D(table, (color * (size - 1.0) + 0.5) / size).rgb, 1.0);
}
)";

Color warmed(float r, float g, float b)
{
  const auto steeper = [](float v) { return v + 0.6f * v * (1.0f - v) * (2.0f * v - 1.0f); };
  return {std::pow(steeper(r), 0.85f), steeper(g), 0.9f * std::pow(steeper(b), 1.1f)};
}

OmImage applyOnProcessor(const OmImage& image, std::vector<Color>& table)
{
  OmRenderShader::Texture3 texture({Size, Size, Size}, 3, &table[0].x);
  texture.interpolate = 1;
  std::vector<Color> colors(std::size_t{image.width()} * image.height());
  float* const numbers = reinterpret_cast<float*>(colors.data()); // three for each pixel
  for (std::size_t i = 0; i < colors.size(); ++i)
    for (std::size_t c = 0; c < 3; ++c) // a grey picture gives all three the same value
    {
      const OmU8 value = image.data()[i * image.channels() + (image.channels() < 3 ? 0 : c)];
      numbers[3 * i + c] = Scale / 255.0f * static_cast<float>(value);
    }
  texture.tex3D(colors.data(), colors.data(), colors.size());
  OmImage result(3, image.width(), image.height());
  for (std::size_t i = 0; i < result.byteSize(); ++i)
    result.data()[i] = static_cast<OmU8>(std::lround(255.0f * std::clamp(numbers[i], 0.0f, 1.0f)));
  return result;
}

bool applyOnCard(const OmImage& image, const std::vector<Color>& table, OmImage& result)
{
  OmFBOWindow window;
  window.setWindowSize(image.width(), image.height());
  window.setOffScreenRendering(true);
  if (!window.init() || !window.setImageBuffer(image, false))
    return false;
  if (!OmGL::isSupported(OmGL::SupportShaders | OmGL::SupportNPOT | OmGL::SupportFloatTexture))
  {
    std::cerr << "colorTable: needs shaders, textures of any size and float textures\n";
    return false;
  }
  GLuint name = 0;
  glGenTextures(1, &name);
  glActiveTextureARB(GL_TEXTURE1_ARB);
  glBindTexture(GL_TEXTURE_3D, name);
  glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexImage3D(GL_TEXTURE_3D, 0, GL_RGB32F_ARB, Size, Size, Size, 0, GL_RGB, GL_FLOAT, table.data());
  glActiveTextureARB(GL_TEXTURE0_ARB);

  OmShader shader;
  if (!shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex) ||
      !shader.loadShaderFromString(Apply, OmShader::Fragment) || !shader.attach(true)) // linked and in use
    return false;
  glUniform1iARB(shader.getUniformLocation("table"), 1);
  glUniform1fARB(shader.getUniformLocation("size"), Size);
  if (!window.renderSceneAndCaptureImage(result, OmSimpleWindow::CaptureFlipped, nullptr))
    return false;
  result.copyFromOrToFlipped(true); // GL reads the bottom row first
  return true;
}

int main(int argc, char** argv)
{
  if (argc != 4)
  {
    std::cerr << "usage: colorTable PICTURE PROCESSOR.png CARD.png\n";
    return 2;
  }
  OmImage image;
  if (!OmImageReaderWriter::read(image, argv[1]))
    return 1;
  std::vector<Color> table; // red varies fastest
  for (int b = 0; b < Size; ++b)
    for (int g = 0; g < Size; ++g)
      for (int r = 0; r < Size; ++r)
        table.push_back(warmed(float(r) / (Size - 1), float(g) / (Size - 1), float(b) / (Size - 1)));

  OmImage byCard;
  const OmImage byProcessor = applyOnProcessor(image, table);
  if (!applyOnCard(image, table, byCard))
    return 1;
  int largest = 0;
  for (std::size_t i = 0; i < byCard.byteSize(); ++i)
    largest = std::max(largest, std::abs(byCard.data()[i] - byProcessor.data()[i]));
  std::cout << "largest difference: " << largest << " of 255\n";
  return OmImageReaderWriter::write(byProcessor, argv[2]) && OmImageReaderWriter::write(byCard, argv[3]) ? 0 : 1;
}
