#ifndef OM_IMAGE_BLOCK_H
#define OM_IMAGE_BLOCK_H

#include "image/omPixel.h"

/// A rectangle of an image, in pixels: its top-left corner, rows counted from the top, and its size.
class OmImageBlock
{
public:
  OmImageBlock(const OmPixel& corner, OmU32 width, OmU32 height) : m_corner(corner), m_width(width), m_height(height) {}

  const OmPixel& corner() const { return m_corner; }
  OmU32 width() const { return m_width; }
  OmU32 height() const { return m_height; }

protected:
  OmPixel m_corner;
  OmU32 m_width;
  OmU32 m_height;
};

#endif
