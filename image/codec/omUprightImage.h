#ifndef OM_UPRIGHT_IMAGE_H
#define OM_UPRIGHT_IMAGE_H

#include "image/codec/omExif.h"
#include "image/omImage.h"

/// Whether a picture of this orientation has its width and height exchanged once it stands upright.
inline bool isTurned(OmExif::Orientation orientation)
{
  return orientation >= OmExif::LeftTop;
}

/// Returns the picture that stands upright, for one of 1 to 4 channels, or 2, 4, 6 or 8 bytes of
/// OmDeepImage::bytes(), that is stored in this orientation. Throws
/// std::bad_alloc if memory runs out.
OmImage uprightImage(const OmImage& stored, OmExif::Orientation orientation);

#endif
