#ifndef OM_PIXEL_H
#define OM_PIXEL_H

#include "foundation/core/omTypes.h"

/// A pixel position: x counted from the left, y from the top row of an image, both from 0.
///
/// \code
///   OmPixel pixel(10, 20);
///   pixel.setX(pixel.x() + 1); // its neighbour on the right
/// \endcode
class OmPixel
{
public:
  /// The first pixel, 0, 0.
  OmPixel() = default;
  /// The pixel at x, y.
  OmPixel(OmU32 x, OmU32 y) : m_x(x), m_y(y) {}

  OmU32 x() const { return m_x; } ///< the column
  OmU32 y() const { return m_y; } ///< the row
  void setX(OmU32 x) { m_x = x; } ///< sets the column
  void setY(OmU32 y) { m_y = y; } ///< sets the row

protected:
  OmU32 m_x = 0; ///< column
  OmU32 m_y = 0; ///< row
};

#endif
