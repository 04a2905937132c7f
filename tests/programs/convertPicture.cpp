// Reads a picture and writes it in another format, for pictureFormatsTest.sh: convertPicture IN OUT.SUFFIX
#include "image/omImageReaderWriter.h"

#include <cstdio>

int main(int argc, char** argv)
{
  if (argc != 3)
    return 2;
  OmImage image;
  OmU32 width = 0, height = 0, channels = 0;
  if (!OmImageReaderWriter::readHeader(argv[1], width, height, channels) || !OmImageReaderWriter::read(image, argv[1]))
    return 1;
  if (width != image.width() || height != image.height() || channels != image.channels())
  {
    std::fprintf(stderr, "the header of %s announces another picture\n", argv[1]);
    return 1;
  }
  OmImageReaderWriter::WriteSettings settings;
  settings.format = OmImageReaderWriter::PAM;
  return OmImageReaderWriter::write(image, argv[2], settings) ? 0 : 1;
}
