// Shows a picture file in a window of the picture's size.
//
//   showImage PICTURE [SECONDS]
//
// PICTURE is a PNG or JPEG file. The window stays for 5 seconds, or for SECONDS.

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv)
{
  if (argc < 2)
  {
    std::cerr << "usage: showImage PICTURE [SECONDS]\n";
    return 2;
  }
  const OmString file = argv[1];
  const double seconds = argc > 2 ? std::atof(argv[2]) : 5.0;

  // The library prints the reason of a failure to standard error.
  OmImage image;
  if (!OmImageReaderWriter::read(image, file))
    return 1;
  if (!OmSimpleWindow::displayImage(image, seconds, file, 50, 50))
    return 1;
  return 0;
}
