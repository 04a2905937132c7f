#include "render/omSimpleWindow.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "image/omImage.h"
#include "image/omImageBlock.h"
#include "render/omGL.h"
#include "render/omTexture.h"
#include "render/omVersion.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <chrono>
#include <limits>

namespace
{

/// A rectangle in GL window coordinates, origin at the bottom left.
struct Rectangle
{
  OmU32 x;
  OmU32 y;
  OmU32 width;
  OmU32 height;
};

/// The part of a window that a block names. Empty if all of it lies outside the window.
Rectangle readRectangle(const OmImageBlock* block, OmU32 windowWidth, OmU32 windowHeight)
{
  if (!block)
    return {0, 0, windowWidth, windowHeight};
  const OmPixel corner = block->corner();
  if (corner.x() >= windowWidth || corner.y() >= windowHeight)
    return {0, 0, 0, 0};
  const OmU32 width = std::min(block->width(), windowWidth - corner.x());
  const OmU32 height = std::min(block->height(), windowHeight - corner.y());
  return {corner.x(), windowHeight - height - corner.y(), width, height};
}

/// Gives the image the shape of what is read unless it has it, and returns where the pixels go.
OmU8* captureTarget(OmImage& image, OmU32 flags, OmU32 channels, const Rectangle& rectangle)
{
  const bool otherShape =
      image.channels() != channels || image.width() != rectangle.width || image.height() != rectangle.height;
  if (flags & OmSimpleWindow::CaptureFlipped)
  {
    if (otherShape || !image.flippedData())
      image.zeroFlippedImage(channels, 0, rectangle.width, rectangle.height);
    return image.flippedData();
  }
  if (otherShape || !image.data())
    image.zeroImage(channels, 0, rectangle.width, rectangle.height);
  return image.data();
}

} // namespace

OmSimpleWindow::OmSimpleWindow() = default;

OmSimpleWindow::~OmSimpleWindow() = default;

OmBoolean OmSimpleWindow::setWindowSize(OmU32 width, OmU32 height)
{
  const OmBoolean changed = OmWindow::setWindowSize(width, height);
  setViewport();
  return changed;
}

OmBoolean OmSimpleWindow::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y)
{
  const OmBoolean changed = OmWindow::setWindowSizeAndPos(width, height, x, y);
  setViewport();
  return changed;
}

void OmSimpleWindow::setViewport() const
{
  if (!m_initialized)
    return;
  makeCurrent();
  glViewport(0, 0, static_cast<GLsizei>(m_width), static_cast<GLsizei>(m_height));
}

void OmSimpleWindow::closeWindow()
{
  makeCurrent(); // a texture is deleted in its own share group
  m_pTexture.reset();
  OmWindow::closeWindow();
}

OmBoolean OmSimpleWindow::init()
{
  if (!m_initialized && !OmWindow::init())
    return false;
  if (!m_pTexture)
    m_pTexture = boost::make_shared<OmTexture>();

  constexpr GLenum Unused[] = {GL_DEPTH_TEST,     GL_LIGHTING, GL_BLEND,        GL_FOG,      GL_ALPHA_TEST,
                               GL_COLOR_MATERIAL, GL_DITHER,   GL_STENCIL_TEST, GL_NORMALIZE};
  for (const GLenum capability : Unused)
    glDisable(capability);
  glShadeModel(GL_FLAT);
  glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_FASTEST);
  glClearColor(0.0f, 0.0f, 0.0f, 1.0f);

  clear();
  swapBuffers();
  return true;
}

void OmSimpleWindow::clear() const
{
  if (!m_initialized)
    return;
  makeCurrent();
  if (!m_pImpl || m_pImpl->hasTarget())
    glClear(GL_COLOR_BUFFER_BIT);
}

void OmSimpleWindow::setGLOrtho() const
{
  if (!m_initialized)
    return;
  makeCurrent();
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, 1.0, 0.0, 1.0, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glTranslatef(0.0f, 0.0f, -1.0f); // onto the far plane, so that the caller's own drawing is in front of the picture
}

OmBoolean OmSimpleWindow::renderScene(OmBoolean swap)
{
  if (!m_initialized && !init())
    return false;
  if (!m_pTexture)
    return false;
  clear();
  if (m_pImpl && !m_pImpl->hasTarget())
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmSimpleWindow::renderScene - This device has no pbuffers, and so the window no "
                                "pixels; use OmFBOWindow with off-screen rendering.\n");
    return false;
  }
  setGLOrtho();
  const OmBoolean drawn = m_pTexture->drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
  if (!drawn && m_pTexture->id() != 0) // without a picture the window is black
    return false;
  if (swap)
    swapBuffers();
  return true;
}

OmBoolean OmSimpleWindow::setImageBuffer(const OmImage& image, OmBoolean swap)
{
  if (image.width() != m_width || image.height() != m_height)
  {
    setWindowSize(image.width(), image.height());
    OmSLEEPMS(0); // lets an X server on the same processor resize before the picture is drawn
  }
  if (!m_initialized && !init())
    return false;
  makeCurrent();
  if (!m_pTexture)
    m_pTexture = boost::make_shared<OmTexture>();
  if (!m_pTexture->loadFromImage(image, OmTextureParameters()))
    return false;
  return renderScene(swap);
}

OmBoolean OmSimpleWindow::setImageBuffer(boost::shared_ptr<OmTexture> texture, OmBoolean swap)
{
  if (!texture)
    return false;
  if (m_pTexture)
    makeCurrent(); // the previous texture may be deleted with its last pointer
  m_pTexture = texture;
  if (texture->width() != m_width || texture->height() != m_height)
    setWindowSize(texture->width(), texture->height());
  if (!m_initialized && !init())
    return false;
  makeCurrent();
  if (!m_pTexture->bind())
    return false;
  return renderScene(swap);
}

OmBoolean OmSimpleWindow::renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block)
{
  if (!renderScene(false))
    return false;
  const Rectangle rectangle = readRectangle(block, m_width, m_height);
  if (block && (rectangle.width == 0 || rectangle.height == 0))
    return false;

  const OmU32 channels = image.channels() == 4 ? 4 : 3;
  OmU8* const target = captureTarget(image, flags, channels, rectangle);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(static_cast<GLint>(rectangle.x), static_cast<GLint>(rectangle.y), static_cast<GLsizei>(rectangle.width),
               static_cast<GLsizei>(rectangle.height), channels == 4 ? GL_RGBA : GL_RGB, GL_UNSIGNED_BYTE, target);
  swapBuffers();
  return true;
}

OmBoolean OmSimpleWindow::displayImage(const OmImage& image, double seconds, const OmString& name, OmU32 x, OmU32 y)
{
  if (!(seconds > 0.0))
    return false;
  using Clock = std::chrono::steady_clock;
  OmSimpleWindow window;
  window.setWindowPos(x, y, true);
  window.setName(name);
  const OmBoolean shown = window.setImageBuffer(image, true);
  constexpr double Longest = std::numeric_limits<OmU32>::max() / 1000.0;
  const auto end = Clock::now() + std::chrono::duration<double>(std::min(seconds, Longest));
  while (window.pollEvents() || !shown)
  {
    const std::chrono::duration<double> left = end - Clock::now();
    if (left.count() <= 0.0)
      break;
    window.waitEvents(left.count());
  }
  return shown;
}
