// Uploads a picture once and shows it in two windows, which share their textures.
//
//   shareTexture PICTURE [SECONDS]
//
// PICTURE is a PNG or JPEG file. The windows stay for 5 seconds, or for SECONDS.

#include "foundation/common/omUtils.h"
#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"

#include <boost/make_shared.hpp>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv)
{
  if (argc < 2)
  {
    std::cerr << "usage: shareTexture PICTURE [SECONDS]\n";
    return 2;
  }
  const double seconds = argc > 2 ? std::atof(argv[2]) : 5.0;
  OmImage image;
  if (!OmImageReaderWriter::read(image, argv[1]))
    return 1;

  // A texture needs a window, so the first window opens before the upload.
  OmSimpleWindow first;
  first.setName("First");
  first.setWindowSizeAndPos(image.width(), image.height(), 50, 50);
  if (!first.init())
    return 1;
  const auto texture = boost::make_shared<OmTexture>();
  if (!texture->loadFromImage(image, OmTextureParameters()) || !first.setImageBuffer(texture, true))
    return 1;

  // The second window names its partner before it opens. Then it can show the same texture.
  OmSimpleWindow second;
  second.setName("Second");
  second.setWindowPos(100, 100, true);
  if (!second.share(&first) || !second.setImageBuffer(texture, true))
    return 1;

  OmSLEEPMS(static_cast<OmU32>(seconds * 1000.0));
  return 0;
}
