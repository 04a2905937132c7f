#include "render/omFBOWindow.h"

#include "render/omGL.h"
#include "render/omVersion.h"

namespace
{

/// Sets a switch for as long as it lives.
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
  // The next opening has another context, in which these names would be nobody's or somebody else's.
  makeCurrent();
  m_offScreenTexture.release();
  m_frameBuffer.release();
  OmSimpleWindow::closeWindow();
  m_hideWindow = m_offScreen; // for the next opening
}

OmBoolean OmFBOWindow::init()
{
  if (m_initialized)
    makeCurrent(); // the texture and the framebuffer object belong to this window's context
  else if (!OmSimpleWindow::init())
    return false;
  if (!OmGL::isSupported(OmGL::SupportFBO))
    return false;
  if (!m_offScreenTexture.loadShell(m_width, m_height, m_bufferParams))
    return false;
  m_offScreenTexture.unbind(); // it is drawn into, not from
  return m_frameBuffer.init(m_offScreenTexture, OmFrameBufferObject::Color, 0);
}

OmBoolean OmFBOWindow::renderScene(OmBoolean swap)
{
  if (!OmSimpleWindow::renderScene(swap))
    return false;
  if (!m_keepBound)
    OmFrameBufferObject::unbind();
  return true;
}

OmBoolean OmFBOWindow::renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block)
{
  OmBoolean captured = false;
  {
    // The framebuffer object stays bound from the drawing to the reading.
    const ScopedSwitch keepBound(m_keepBound, true);
    captured = OmSimpleWindow::renderSceneAndCaptureImage(image, flags, block);
  }
  const bool rendered = captured || (block && m_initialized && m_pTexture); // a block outside is refused afterwards
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
