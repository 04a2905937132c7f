#include "tools/omrender/show/viewerWindow.h"

#include "render/omTexture.h"

#include <algorithm>
#include <cmath>

void ViewerWindow::preparePicture(const PictureView::Size& picture)
{
  if (picture == m_view.picture())
    return;
  m_view.setPicture(picture);
  if (m_scale)
    m_view.setZoom(*m_scale);
  else
    m_view.fit();
  if (!m_filling && isOwnSize())
    takeOwnSize();
}

OmBoolean ViewerWindow::setWindowSize(OmU32 width, OmU32 height)
{
  if (!m_asked.empty() && m_asked.back() == PictureView::Size{width, height})
    m_asked.erase(m_asked.begin(), m_asked.end() - 1);
  return OmSimpleWindow::setWindowSize(width, height);
}

OmBoolean ViewerWindow::renderScene(OmBoolean swap)
{
  if (!m_initialized && !init())
    return false;
  m_view.setWindow({m_width, m_height});
  clear();
  glViewport(0, 0, static_cast<GLsizei>(m_width), static_cast<GLsizei>(m_height));
  setGLOrtho();
  if (m_pTexture && m_pTexture->id() != 0)
  {
    if (!m_pTexture->bind())
      return false;
    const GLint filter = m_view.isNearest() ? GL_NEAREST : GL_LINEAR;
    glTexParameteri(m_pTexture->textureType(), GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(m_pTexture->textureType(), GL_TEXTURE_MAG_FILTER, filter);
    const PictureView::Rectangle place = m_view.rectangle();
    const auto across = [this](double x) { return static_cast<float>(x / m_width); };
    const auto up = [this](double y) { return static_cast<float>(1.0 - y / m_height); };
    if (!m_pTexture->drawScreenAlignedQuad(across(place.left), up(place.top + place.height),
                                           across(place.left + place.width), up(place.top)))
      return false;
  }
  if (swap)
    swapBuffers();
  return true;
}

OmBoolean ViewerWindow::setImageBuffer(const OmImage& image, OmBoolean swap)
{
  const PictureView::Size size = {image.width(), image.height()};
  if (!m_initialized)
    preparePicture(size);
  if (!m_initialized && !init())
    return false;
  OmTextureParameters parameters;
  parameters.setWrapType(GL_CLAMP_TO_EDGE); // otherwise its opposite edge shows at each edge of a smooth picture
  makeCurrent();
  if (!m_pTexture->loadFromImage(image, parameters))
    return false;
  preparePicture(size);
  return renderScene(swap);
}

void ViewerWindow::fill(bool fill)
{
  const bool ownSize = isOwnSize();
  if (!setFillScreen(fill))
    return;
  m_filling = fill;
  if (fill)
    m_ownSizeBefore = ownSize;
  else if (m_ownSizeBefore) // the window manager gives back the size from before, perhaps that for another picture
    takeOwnSize();
}

/// Whether the window has a size that it asked for itself.
bool ViewerWindow::isOwnSize() const
{
  return m_asked.empty() || std::count(m_asked.begin(), m_asked.end(), PictureView::Size{m_width, m_height}) != 0;
}

/// The size that shows all of the picture, if it may be as large.
PictureView::Size ViewerWindow::ownSize() const
{
  const PictureView::Size picture = m_view.picture();
  const PictureView::Size largest = m_largest.value_or(picture);
  const double fitting =
      std::min({1.0, double(largest.width) / picture.width, double(largest.height) / picture.height});
  const double scale = m_scale.value_or(fitting);
  const auto length = [scale](OmU32 ofPicture, OmU32 most)
  { return static_cast<OmU32>(std::clamp(std::round(ofPicture * scale), 1.0, double(most))); };
  return {length(picture.width, largest.width), length(picture.height, largest.height)};
}

void ViewerWindow::takeOwnSize()
{
  const PictureView::Size size = ownSize();
  m_asked.push_back(size);
  OmSimpleWindow::setWindowSize(size.width, size.height);
}
