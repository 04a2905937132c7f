#ifndef OM_EXIF_H
#define OM_EXIF_H

#include "foundation/core/omTypes.h"

#include <cstddef>

/// Reads what EXIF data say of a picture: a TIFF header and directories of tags, with or without "Exif" before it.
namespace OmExif
{

/// How a picture that stands upright is stored: the first row and the first column of the file are these sides of it.
/// The numbers are those of the tag.
enum Orientation
{
  TopLeft = 1,     ///< as it stands
  TopRight = 2,    ///< mirrored
  BottomRight = 3, ///< turned by 180 degrees
  BottomLeft = 4,  ///< upside down and mirrored
  LeftTop = 5,     ///< rows and columns exchanged
  RightTop = 6,    ///< it has to be turned by 90 degrees to the right
  RightBottom = 7, ///< rows and columns exchanged, each from the end
  LeftBottom = 8   ///< it has to be turned by 90 degrees to the left
};

/// The orientation by its number; TopLeft if there is none of that number.
Orientation orientationOf(OmU32 number);

/// The orientation in the first directory; TopLeft if the data have none, are damaged or end early.
Orientation orientation(const OmU8* data, std::size_t size);

} // namespace OmExif

#endif
