#include "tools/omrender/show/pictureView.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double StepsPerDoubling = 4.0;

/// A row or a column of the view.
struct Axis
{
  Axis(OmU32 ofPicture, OmU32 ofWindow, double atCenter, double zoom)
      : picture(ofPicture), window(ofWindow), center(atCenter), length(std::max(1.0, std::round(picture * zoom))),
        scale(length / picture)
  {
  }

  /// Where the picture begins.
  double begin() const
  {
    if (length <= window)
      return std::floor((window - length) / 2.0);
    return std::clamp(std::round(window / 2.0 - center * scale), window - length, 0.0);
  }
  /// The point of the picture at a position of the window.
  double pointAt(double position) const { return center + (position - window / 2.0) / scale; }
  /// The center that brings a point of the picture to a position of the window, or as near to it as it gets.
  double centerFor(double point, double position) const
  {
    if (length <= window)
      return picture / 2.0;
    const double half = window / 2.0 / scale;
    return std::clamp(point - (position - window / 2.0) / scale, half, picture - half);
  }
  /// The pixel of the picture at a pixel of the window; nothing beside the picture.
  std::optional<OmU32> pixelAt(int position) const
  {
    const double pixel = std::floor((position + 0.5 - begin()) / scale);
    return pixel >= 0.0 && pixel < picture ? std::optional<OmU32>(static_cast<OmU32>(pixel)) : std::nullopt;
  }

  double picture; ///< its length in pixels
  double window;  ///< its length in pixels
  double center;  ///< the point of the picture in the middle of the window
  double length;  ///< of the picture on the window, in whole pixels
  double scale;   ///< what one pixel of the picture takes there
};

} // namespace

void PictureView::setPicture(const Size& picture)
{
  if (picture == m_picture)
    return;
  m_picture = picture;
  m_centerX = picture.width / 2.0;
  m_centerY = picture.height / 2.0;
}

void PictureView::setWindow(const Size& window)
{
  m_window = window;
  pan(0.0, 0.0);
}

void PictureView::fit()
{
  m_fitted = true;
  pan(0.0, 0.0);
}

void PictureView::setZoom(double zoom)
{
  zoomTo(zoom, m_window.width / 2.0, m_window.height / 2.0);
}

void PictureView::zoomAbout(double x, double y, int steps)
{
  constexpr double Rounding = 1e-6;
  const double level = std::log2(zoom()) * StepsPerDoubling;
  const double from = steps > 0 ? std::floor(level + Rounding) : std::ceil(level - Rounding);
  const double fitted = fittedZoom();
  const double wanted =
      std::clamp(std::exp2((from + steps) / StepsPerDoubling), std::min(1.0, fitted), std::max(LargestZoom, fitted));
  if (wanted == fitted)
    fit();
  else
    zoomTo(wanted, x, y);
}

void PictureView::pan(double x, double y)
{
  const Axis across(m_picture.width, m_window.width, m_centerX, zoom());
  const Axis down(m_picture.height, m_window.height, m_centerY, zoom());
  m_centerX = across.centerFor(m_centerX, across.window / 2.0 + x);
  m_centerY = down.centerFor(m_centerY, down.window / 2.0 + y);
}

double PictureView::zoom() const
{
  return m_fitted ? fittedZoom() : m_zoom;
}

PictureView::Rectangle PictureView::rectangle() const
{
  const Axis across(m_picture.width, m_window.width, m_centerX, zoom());
  const Axis down(m_picture.height, m_window.height, m_centerY, zoom());
  return {across.begin(), down.begin(), across.length, down.length};
}

bool PictureView::isNearest() const
{
  return zoom() > 2.0 || zoom() == 1.0;
}

std::optional<PictureView::Pixel> PictureView::pixelAt(int x, int y) const
{
  const auto column = Axis(m_picture.width, m_window.width, m_centerX, zoom()).pixelAt(x);
  const auto row = Axis(m_picture.height, m_window.height, m_centerY, zoom()).pixelAt(y);
  return column && row ? std::optional<Pixel>({*column, *row}) : std::nullopt;
}

double PictureView::fittedZoom() const
{
  if (m_picture.width == 0 || m_picture.height == 0 || m_window.width == 0 || m_window.height == 0)
    return 1.0;
  return std::min(double(m_window.width) / m_picture.width, double(m_window.height) / m_picture.height);
}

void PictureView::zoomTo(double zoom, double x, double y)
{
  const double pointX = Axis(m_picture.width, m_window.width, m_centerX, this->zoom()).pointAt(x);
  const double pointY = Axis(m_picture.height, m_window.height, m_centerY, this->zoom()).pointAt(y);
  m_fitted = false;
  m_zoom = zoom;
  m_centerX = Axis(m_picture.width, m_window.width, m_centerX, zoom).centerFor(pointX, x);
  m_centerY = Axis(m_picture.height, m_window.height, m_centerY, zoom).centerFor(pointY, y);
}
