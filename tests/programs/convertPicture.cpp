// What pictureFormatsTest.sh does with OmImageReaderWriter:
//   convertPicture IN OUT.SUFFIX [QUALITY]   reads a picture and writes it, with its metadata, in the
//                                            format of the name
//   convertPicture --compare A B             prints the largest and the mean square difference of two pictures, where
//                                            what is transparent counts less
#include "image/omImageReaderWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

bool read(OmImage& image, const char* file, OmImageMetadata& metadata)
{
  OmU32 width = 0, height = 0, channels = 0;
  if (!OmImageReaderWriter::readHeader(file, width, height, channels) ||
      !OmImageReaderWriter::read(image, file, 0, metadata))
    return false;
  if (width == image.width() && height == image.height() && channels == image.channels())
    return true;
  std::fprintf(stderr, "the header of %s announces another picture\n", file);
  return false;
}

bool convert(const char* from, const char* to, int quality)
{
  OmImage image;
  OmImageMetadata metadata;
  OmImageReaderWriter::WriteSettings settings;
  settings.quality = quality;
  settings.metadata = &metadata;
  return read(image, from, metadata) && OmImageReaderWriter::formatOfName(to, settings.format) &&
         OmImageReaderWriter::write(image, to, settings);
}

/// Red, green or blue over black, or alpha.
int sample(const OmImage& image, std::size_t pixel, OmU32 channel)
{
  const OmU8* const samples = image.data() + pixel * image.channels();
  const int alpha = image.channels() % 2 == 0 ? samples[image.channels() - 1] : 255;
  return channel == 3 ? alpha : samples[image.channels() < 3 ? 0 : channel] * alpha / 255;
}

bool compare(const char* first, const char* second)
{
  OmImage a, b;
  OmImageMetadata ignored;
  if (!read(a, first, ignored) || !read(b, second, ignored) || a.width() != b.width() || a.height() != b.height())
    return false;
  int largest = 0;
  double squares = 0.0;
  const std::size_t pixels = std::size_t{a.width()} * a.height();
  for (std::size_t pixel = 0; pixel < pixels; ++pixel)
    for (OmU32 channel = 0; channel < 4; ++channel)
    {
      const int difference = std::abs(sample(a, pixel, channel) - sample(b, pixel, channel));
      largest = std::max(largest, difference);
      squares += difference * difference;
    }
  std::printf("%d %.0f\n", largest, squares * 1000.0 / static_cast<double>(pixels));
  return true;
}

} // namespace

int main(int argc, char** argv)
{
  if (argc < 3)
    return 2;
  if (argv[1] == std::string("--compare") && argc == 4)
    return compare(argv[2], argv[3]) ? 0 : 1;
  return convert(argv[1], argv[2], argc > 3 ? std::atoi(argv[3]) : 0) ? 0 : 1;
}
