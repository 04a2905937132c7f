#ifndef OM_PIXEL_H
#define OM_PIXEL_H

#include "foundation/core/omTypes.h"

/// A pixel position: x counted from the left, y from the top row of an image, both from 0.
class OmPixel
{
public:
  OmPixel() = default;
  OmPixel(OmU32 x, OmU32 y) : m_x(x), m_y(y) {}

  OmU32 x() const { return m_x; }
  OmU32 y() const { return m_y; }
  void setX(OmU32 x) { m_x = x; }
  void setY(OmU32 y) { m_y = y; }

protected:
  OmU32 m_x = 0;
  OmU32 m_y = 0;
};

#endif
