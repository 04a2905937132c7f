#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"

int main(int argc, char** argv)
{
  OmImage image;
  if (argc < 2 || !OmImageReaderWriter::read(image, argv[1]))
    return 1;
  return OmSimpleWindow::displayImage(image, 3.0, argv[1], 50, 50) ? 0 : 1;
}
