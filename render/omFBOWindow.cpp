#include "render/omFBOWindow.h"

#include "foundation/core/omPrint.h"
#include "render/omGL.h"
#include "render/omVersion.h"

namespace
{

/// Sets a bool while it lives, and restores it afterwards.
class ScopedSwitch
{
public:
  ScopedSwitch(bool& target, bool value) : m_target(target), m_before(target) { m_target = value; }
  ~ScopedSwitch() { m_target = m_before; }
  ScopedSwitch(const ScopedSwitch&) = delete;
  ScopedSwitch& operator=(const ScopedSwitch&) = delete;

private:
  bool& m_target;
  bool m_before;
};

} // namespace

OmFBOWindow::OmFBOWindow() : m_offScreen(false), m_keepBound(false) {}

OmFBOWindow::~OmFBOWindow() = default;

void OmFBOWindow::makeCurrent() const
{
  OmWindow::makeCurrent();
  if (m_initialized && m_offScreen)
    m_frameBuffer.bind();
}

void OmFBOWindow::closeWindow()
{
  // Deletes the names in their own context: in that of the next opening they would belong to nobody, or to another
  // object.
  makeCurrent();
  m_offScreenTexture.release();
  m_frameBuffer.release();
  m_bufferUsable = false;
  OmSimpleWindow::closeWindow();
  m_hideWindow = m_offScreen; // for the next opening
}

OmBoolean OmFBOWindow::init()
{
  if (m_initialized)
    makeCurrent(); // the texture and the framebuffer object belong to this window's context
  else if (!OmSimpleWindow::init())
    return false;
  m_bufferUsable = makeBuffer();
  return m_bufferUsable;
}

OmBoolean OmFBOWindow::makeBuffer()
{
  if (!OmGL::isSupported(OmGL::SupportFBO))
    return false;
  m_offScreenTexture.release(); // a size that the card refuses would leave the storage of the size before
  if (!m_offScreenTexture.loadShell(m_width, m_height, m_bufferParams))
    return false;
  m_offScreenTexture.unbind(); // it is drawn into, not from
  m_bufferWidth = m_width;
  m_bufferHeight = m_height;
  m_sizeWarned = false;
  return m_frameBuffer.init(m_offScreenTexture, OmFrameBufferObject::Color, 0);
}

OmBoolean OmFBOWindow::setWindowSize(OmU32 width, OmU32 height)
{
  const ScopedSwitch resizing(m_resizing, true); // no report yet: the caller may call init() next
  return OmSimpleWindow::setWindowSize(width, height);
}

OmBoolean OmFBOWindow::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y)
{
  const ScopedSwitch resizing(m_resizing, true);
  return OmSimpleWindow::setWindowSizeAndPos(width, height, x, y);
}

OmBoolean OmFBOWindow::renderScene(OmBoolean swap)
{
  if (m_initialized && m_offScreen)
  {
    if (!m_resizing)
      checkBuffer();
    if (!m_bufferUsable)
      return false;
  }
  if (!OmSimpleWindow::renderScene(swap))
    return false;
  if (!m_keepBound)
    OmFrameBufferObject::unbind();
  return true;
}

/// Reports an init() that has failed. Prints one warning if the window's size is no longer that of the last init().
void OmFBOWindow::checkBuffer()
{
  if (!m_bufferUsable)
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmFBOWindow::renderScene - There is no off-screen buffer: init() has failed.\n");
    return;
  }
  const bool fits = m_bufferWidth == m_width && m_bufferHeight == m_height;
  if (!fits && !m_sizeWarned)
    Om::Print::instance().write(
        Om::Print::Warning,
        "OmFBOWindow: The window is %u by %u pixels, and its off-screen buffer %u by %u; call init() first.\n", m_width,
        m_height, m_bufferWidth, m_bufferHeight);
  m_sizeWarned = !fits;
}

OmBoolean OmFBOWindow::renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block)
{
  OmBoolean captured = false;
  {
    // Keeps the framebuffer object bound from drawing to reading.
    const ScopedSwitch keepBound(m_keepBound, true);
    captured = OmSimpleWindow::renderSceneAndCaptureImage(image, flags, block);
  }
  const bool rendered = captured || (block && m_initialized && m_pTexture); // a block outside fails after the render
  if (rendered && !m_keepBound)
    OmFrameBufferObject::unbind();
  return captured;
}

OmBoolean OmFBOWindow::setOffScreenRendering(bool on)
{
  m_offScreen = on;
  if (m_initialized && on && !OmGL::isSupported(OmGL::SupportFBO))
  {
    m_offScreen = false;
    return false;
  }
  setHideWindow(m_offScreen);
  return true;
}

OmBoolean OmFBOWindow::getOffScreenRendering() const
{
  return m_offScreen;
}

void OmFBOWindow::setKeepBound(bool keep)
{
  m_keepBound = keep;
}

OmBoolean OmFBOWindow::getKeepBound() const
{
  return m_keepBound;
}

void OmFBOWindow::setBufferParams(const OmTextureParameters& params)
{
  m_bufferParams = params;
}
