// What scripts/demo and the tests need besides omrender: it draws a picture to show, and compares pictures.

#include "image/omImage.h"
#include "tools/omdemo/testChart.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/pictureFile.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <vector>

namespace
{

constexpr char Usage[] = "usage: omdemo chart OUT.png | size PICTURE | compare A B [X,Y,W,H]";
constexpr int DifferStatus = 1;
constexpr int FailureStatus = 2;

int drawChart(const OmString& file, LibraryLog& log)
{
  writePicture(makeTestChart(), file, log);
  return 0;
}

int printSize(const OmString& file, LibraryLog& log)
{
  const PictureFile picture = readHeader(file, log);
  std::printf("%u %u\n", picture.width, picture.height);
  return 0;
}

/// One byte of the picture as RGB; alpha is left out.
OmU8 rgbByte(const OmImage& image, OmU32 x, OmU32 y, OmU32 channel)
{
  const std::size_t pixel = std::size_t{y} * image.width() + x;
  return image.data()[pixel * image.channels() + (image.channels() < 3 ? 0 : channel)];
}

/// Compares `b` with a block of `a`, cut to the picture.
int compare(const OmImage& a, const OmImage& b, const OmImageBlock& block)
{
  const OmU32 left = block.corner().x();
  const OmU32 top = block.corner().y();
  if (left >= a.width() || top >= a.height())
    throw Failure("the block lies outside the first picture");
  const OmU32 width = std::min(block.width(), a.width() - left);
  const OmU32 height = std::min(block.height(), a.height() - top);
  if (b.width() != width || b.height() != height)
  {
    std::printf("sizes differ: %u x %u and %u x %u\n", width, height, b.width(), b.height());
    return DifferStatus;
  }
  std::size_t differing = 0;
  OmString first;
  for (OmU32 y = 0; y < height; ++y)
    for (OmU32 x = 0; x < width; ++x)
      for (OmU32 c = 0; c < 3; ++c)
      {
        const int valueA = rgbByte(a, left + x, top + y, c);
        const int valueB = rgbByte(b, x, y, c);
        if (valueA != valueB && differing++ == 0)
          first = "; first at " + std::to_string(x) + "," + std::to_string(y) + " channel " + std::to_string(c) + ": " +
                  std::to_string(valueA) + " and " + std::to_string(valueB);
      }
  std::printf("%zu of %zu bytes differ%s\n", differing, std::size_t{3} * width * height, first.c_str());
  return differing == 0 ? 0 : DifferStatus;
}

int run(const std::vector<OmString>& arguments)
{
  LibraryLog log;
  const OmString command = arguments.empty() ? "" : arguments[0];
  const std::size_t count = arguments.size();
  if (command == "chart" && count == 2)
    return drawChart(arguments[1], log);
  if (command == "size" && count == 2)
    return printSize(arguments[1], log);
  if (command != "compare" || count < 3 || count > 4)
    throw Failure(Usage);

  const OmImage a = readPicture(arguments[1], log);
  const OmImage b = readPicture(arguments[2], log);
  const auto block = count == 4 ? readBlock(arguments[3]) : OmImageBlock(OmPixel(), a.width(), a.height());
  if (!block)
    throw Failure("a block is X,Y,W,H with W and H of at least 1, not " + quoted(arguments[3]));
  return compare(a, b, *block);
}

} // namespace

int main(int argc, char** argv)
{
  try
  {
    return run(std::vector<OmString>(argv + 1, argv + argc));
  }
  catch (const std::exception& error)
  {
    printFailure("omdemo", error.what());
    return FailureStatus;
  }
}
