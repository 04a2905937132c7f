#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"

int main(int argc, char** argv)
{
  OmImage image;
  if (argc != 3 || !OmImageReaderWriter::read(image, argv[1]))
    return 1;

  OmSimpleWindow window;
  if (!window.setImageBuffer(image, true)) // opens the window at the picture's size
    return 1;

  OmImage captured;
  if (!window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr))
    return 1;
  captured.copyFromOrToFlipped(true); // GL reads the bottom row first, files begin with the top row
  return OmImageReaderWriter::write(captured, argv[2]) ? 0 : 1;
}
