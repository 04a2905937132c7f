// consumer PICTURE: a program of another project, which reads a picture.

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"

int main(int argc, char** argv)
{
  OmImage image;
  return argc == 2 && OmImageReaderWriter::read(image, argv[1]) ? 0 : 1;
}
