#ifndef OM_IMAGE_BLOCK_H
#define OM_IMAGE_BLOCK_H

#include "image/omPixel.h"

/// A rectangle of an image, in pixels: its top-left corner, rows counted from the top, and its size.
///
/// \code
///   const OmImageBlock block(OmPixel(10, 20), 300, 200); // columns 10 to 309 of rows 20 to 219
///   OmImage part;
///   window.renderSceneAndCaptureImage(part, OmSimpleWindow::CaptureFlipped, &block);
/// \endcode
class OmImageBlock
{
public:
  /// The rectangle of that size whose first pixel is `corner`.
  OmImageBlock(const OmPixel& corner, OmU32 width, OmU32 height) : m_corner(corner), m_width(width), m_height(height) {}

  const OmPixel& corner() const { return m_corner; } ///< the top-left pixel
  OmU32 width() const { return m_width; }            ///< in pixels
  OmU32 height() const { return m_height; }          ///< in pixels

protected:
  OmPixel m_corner; ///< the top-left pixel
  OmU32 m_width;    ///< in pixels
  OmU32 m_height;   ///< in pixels
};

#endif
