#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omImageFilter.h"

constexpr char Negative[] = R"(
uniform sampler2D image;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4(1.0 - color.rgb, color.a);
}
)";

int main(int argc, char** argv)
{
  OmImage image;
  if (argc != 3 || !OmImageReaderWriter::read(image, argv[1]))
    return 1;
  OmImageFilter filter; // works off screen, and needs no display
  if (!filter.loadShaderFromString(Negative, OmShader::Fragment) || !filter.run(image, image))
    return 1;
  return OmImageReaderWriter::write(image, argv[2]) ? 0 : 1;
}
