#ifndef OM_TOOLS_PICTURE_VIEW_H
#define OM_TOOLS_PICTURE_VIEW_H

#include "foundation/core/omTypes.h"

#include <optional>

/// How a picture lies in a window: its zoom and its place. Arithmetic alone; draws nothing.
///
/// Positions are in pixels from the top left corner, of the window or of the picture. The picture's edges always lie on
/// whole pixels of the window. Where it is smaller than the window it is in the middle; where it is larger it leaves no
/// room free.
class PictureView
{
public:
  /// A size in pixels.
  struct Size
  {
    OmU32 width = 0;
    OmU32 height = 0;
    bool operator==(const Size& other) const { return width == other.width && height == other.height; }
    bool operator!=(const Size& other) const { return !(*this == other); }
  };
  /// Where the whole picture lies in the window, also beyond its edges.
  struct Rectangle
  {
    double left;
    double top;
    double width;
    double height;
  };
  /// A pixel of the picture.
  struct Pixel
  {
    OmU32 x;
    OmU32 y;
  };

  /// The largest zoom that the user can choose, unless the picture is larger yet when it fills the window.
  static constexpr double LargestZoom = 64.0;

  /// Sets the picture's size. The view stays as it is if the size does.
  void setPicture(const Size& picture);
  const Size& picture() const { return m_picture; }
  /// Sets the window's size. A picture that fits the window still does; of another the middle stays.
  void setWindow(const Size& window);
  const Size& window() const { return m_window; }

  /// Makes the picture as large as the window allows, now and whenever the window or the picture gets another size.
  void fit();
  bool isFitted() const { return m_fitted; }
  /// Sets the zoom, in pixels of the window for one of the picture. The middle of the window stays.
  void setZoom(double zoom);
  /// Zooms in by that many steps, or out by negative ones, four for a factor of 2. The point of the picture at that
  /// position of the window stays there.
  void zoomAbout(double x, double y, int steps);
  /// Moves the picture by that many pixels.
  void pan(double x, double y);

  /// The pixels of the window for one of the picture.
  double zoom() const;
  Rectangle rectangle() const;
  /// Whether each pixel is to be drawn as a square: pixel by pixel and beyond twofold. Otherwise the picture is to be
  /// drawn smoothly.
  bool isNearest() const;
  /// The pixel of the picture in that pixel of the window; nothing beside the picture.
  std::optional<Pixel> pixelAt(int x, int y) const;

private:
  double fittedZoom() const;
  void zoomTo(double zoom, double x, double y);

  Size m_picture;
  Size m_window;
  bool m_fitted = true;
  double m_zoom = 1.0;    ///< unless it is fitted
  double m_centerX = 0.0; ///< what of the picture is in the middle of the window, in pixels of the picture
  double m_centerY = 0.0;
};

#endif
