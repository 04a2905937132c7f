#include "tools/omrender/filter/pictureScaling.h"

#include "image/omImageScaling.h"
#include "tools/omrender/failure.h"

#include <algorithm>
#include <cmath>

namespace
{

/// At least 1; what no card can hold stays that.
OmU32 side(double pixels)
{
  return static_cast<OmU32>(std::clamp(std::floor(pixels + 0.5), 1.0, 4294967295.0));
}

} // namespace

/// What is left of a picture by --crop.
PictureFile PictureScaling::cropped(const PictureFile& picture) const
{
  if (!crop)
    return picture;
  const OmPixel corner = crop->corner();
  if (corner.x() >= picture.width || corner.y() >= picture.height)
    throw Failure("the --crop at " + std::to_string(corner.x()) + "," + std::to_string(corner.y()) + " lies outside " +
                  quoted(picture.file) + ", which is " + sizeText(picture.width, picture.height) + " pixels");
  PictureFile left = picture;
  left.width = std::min(crop->width(), picture.width - corner.x());
  left.height = std::min(crop->height(), picture.height - corner.y());
  return left;
}

PictureScaling::Size PictureScaling::resultSize(const PictureFile& picture) const
{
  const PictureFile left = cropped(picture);
  if (size)
    return *size;
  if (!fit && !percent)
    return {left.width, left.height};
  const double factor =
      fit ? std::min(static_cast<double>(fit->first) / left.width, static_cast<double>(fit->second) / left.height)
          : *percent / 100.0;
  return {side(left.width * factor), side(left.height * factor)};
}

bool PictureScaling::changes(const PictureFile& picture) const
{
  return crop || resultSize(picture) != Size(picture.width, picture.height);
}

template <typename Image>
Image PictureScaling::appliedTo(const Image& image, const PictureFile& picture, bool isOpaque) const
{
  const auto [width, height] = resultSize(picture);
  if (!crop)
    return OmImageScaling::scaled(image, width, height, isOpaque);
  Image left = OmImageScaling::cropped(image, *crop);
  return left.width() == width && left.height() == height ? left
                                                          : OmImageScaling::scaled(left, width, height, isOpaque);
}

OmImage PictureScaling::applied(const OmImage& image, const PictureFile& picture, bool isOpaque) const
{
  return appliedTo(image, picture, isOpaque);
}

OmDeepImage PictureScaling::applied(const OmDeepImage& image, const PictureFile& picture, bool isOpaque) const
{
  return appliedTo(image, picture, isOpaque);
}
