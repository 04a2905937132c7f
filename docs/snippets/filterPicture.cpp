#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "render/omShader.h"

#include <iostream>

constexpr char Negative[] = R"(
uniform sampler2D picture; // on texture unit 0, the default

void main()
{
  vec4 color = texture2D(picture, gl_TexCoord[0].st);
  gl_FragColor = vec4(1.0 - color.rgb, color.a);
}
)";

int main(int argc, char** argv)
{
  OmImage image;
  if (argc != 3 || !OmImageReaderWriter::read(image, argv[1]))
    return 1;

  OmFBOWindow window; // draws into a texture; nothing appears on the screen
  window.setWindowSize(image.width(), image.height());
  window.setOffScreenRendering(true);
  if (!window.init() || !window.setImageBuffer(image, false))
    return 1;
  if (!OmGL::isSupported(OmGL::SupportShaders | OmGL::SupportNPOT)) // any size: sampler2D fits every picture
  {
    std::cerr << "filterPicture: needs shaders and textures of any size\n";
    return 1;
  }

  OmShader shader;
  if (!shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex) ||
      !shader.loadShaderFromString(Negative, OmShader::Fragment) || !shader.attach(true)) // linked and in use
    return 1;

  OmImage result;
  if (!window.renderSceneAndCaptureImage(result, OmSimpleWindow::CaptureFlipped, nullptr))
    return 1;
  result.copyFromOrToFlipped(true);
  return OmImageReaderWriter::write(result, argv[2]) ? 0 : 1;
}
