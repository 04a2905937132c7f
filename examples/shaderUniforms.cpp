// Shows a picture through a shader with a uniform, which fades the picture in.
//
//   shaderUniforms PICTURE [SECONDS]
//
// PICTURE is a PNG or JPEG file. Fading in takes 3 seconds, or SECONDS.

#include "foundation/common/omUtils.h"
#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omShader.h"
#include "render/omSimpleWindow.h"

#include <cstdlib>
#include <iostream>

constexpr char Fade[] = R"(
uniform sampler2D picture; // on texture unit 0, the default
uniform float amount;

void main()
{
  gl_FragColor = amount * texture2D(picture, gl_TexCoord[0].st);
}
)";

int main(int argc, char** argv)
{
  if (argc < 2)
  {
    std::cerr << "usage: shaderUniforms PICTURE [SECONDS]\n";
    return 2;
  }
  const double seconds = argc > 2 ? std::atof(argv[2]) : 3.0;
  OmImage image;
  OmSimpleWindow window;
  if (!OmImageReaderWriter::read(image, argv[1]) || !window.setImageBuffer(image, false))
    return 1;
  if (!OmGL::isSupported(OmGL::SupportShaders | OmGL::SupportNPOT)) // any size: sampler2D fits every picture
  {
    std::cerr << "shaderUniforms: needs shaders and textures of any size\n";
    return 1;
  }

  OmShader shader;
  if (!shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex) ||
      !shader.loadShaderFromString(Fade, OmShader::Fragment) || !shader.attach(true)) // linked and in use
    return 1;
  const int amount = shader.getUniformLocation("amount");
  if (amount == -1)
    return 1;

  constexpr int Steps = 60;
  for (int step = 0; step <= Steps; ++step)
  {
    glUniform1fARB(amount, static_cast<float>(step) / Steps);
    if (!window.renderScene(true))
      return 1;
    OmSLEEPMS(static_cast<OmU32>(seconds * 1000.0 / Steps));
  }
  return 0;
}
