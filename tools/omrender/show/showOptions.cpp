#include "tools/omrender/show/showOptions.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/pictureFile.h"

void checkBlock(const OmImageBlock& block, OmU32 width, OmU32 height)
{
  const OmPixel corner = block.corner();
  if (corner.x() >= width || corner.y() >= height)
    throw Failure("the block at " + std::to_string(corner.x()) + "," + std::to_string(corner.y()) +
                  " lies outside the window, which is " + sizeText(width, height) + " pixels");
}
