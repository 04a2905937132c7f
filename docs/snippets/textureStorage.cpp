#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"

#include <iostream>

int main(int argc, char** argv)
{
  OmSimpleWindow window;
  window.setHideWindow(true);
  OmTexture texture;
  if (argc != 3 || !window.init() || !texture.loadFromFile(argv[1], OmTextureParameters(), OmImage::TopRowFirst))
    return 1;

  float coords[4];
  texture.textureCoords(coords);
  std::cout << (texture.textureType() == GL_TEXTURE_2D ? "2-D" : "rectangle") << " texture of " << texture.width()
            << " x " << texture.height() << " texels; left " << coords[0] << ", bottom " << coords[1] << ", right "
            << coords[2] << ", top " << coords[3] << "\n";

  OmImage storage(3, texture.width(), texture.height());
  texture.bind();
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(texture.textureType(), 0, GL_RGB, GL_UNSIGNED_BYTE, storage.data());
  return OmImageReaderWriter::write(storage, argv[2]) ? 0 : 1;
}
