#ifndef OM_FBO_WINDOW_H
#define OM_FBO_WINDOW_H

#include "render/omFrameBufferObject.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "render/omTextureParameters.h"

/// An image window that can render off screen: its scene goes into a texture, and the window itself is hidden.
///
/// \code
///   OmFBOWindow window;
///   window.setWindowSize(image.width(), image.height());
///   window.setOffScreenRendering(true);
///   if (!window.init() || !window.setImageBuffer(image, false))
///     return false;
///   OmImage result;
///   window.renderSceneAndCaptureImage(result, OmSimpleWindow::CaptureFlipped, nullptr);
/// \endcode
///
/// What is captured off screen is defined whether or not the window is hidden, covered or larger than the screen. Rests
/// on GL_EXT_framebuffer_object (OmGL::SupportFBO). The off-screen texture has the window's size as of the last init():
/// call init() again after a change of size.
class OM_EXPORT OmFBOWindow : public OmSimpleWindow
{
public:
  /// An image window that renders on screen; no GL call.
  OmFBOWindow();
  /// Deletes the GL objects as OmTexture and OmFrameBufferObject do, where a window of their share group is current,
  /// and closes the window. closeWindow() deletes them in any case.
  ~OmFBOWindow() override;

  /// As OmWindow::makeCurrent(); off screen, also binds the framebuffer object of an initialised window.
  /// Every operation that draws begins with it; only renders and captures unbind the framebuffer object again.
  void makeCurrent() const override;
  /// Deletes the off-screen texture and the framebuffer object, then closes the window. One that renders off screen
  /// stays hidden when it opens again.
  void closeWindow() override;
  /// Opens the window where needed and makes the off-screen texture, of the window's size, and the framebuffer object,
  /// switched on or not. False when the window does not open, without framebuffer objects (no message; the window stays
  /// open), and for an incomplete framebuffer (print type 4).
  OmBoolean init() override;
  /// As OmSimpleWindow::renderScene(). Afterwards the framebuffer object is bound only with keep-bound on; a render
  /// that fails leaves the binding as it is.
  OmBoolean renderScene(OmBoolean swap) override;
  /// As OmSimpleWindow::renderSceneAndCaptureImage(). Off screen, it is the off-screen texture that is read, whether
  /// keep-bound is on or off.
  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override;

  /// Chooses off-screen or on-screen rendering, and hides or shows the window to match. Before init() it is always
  /// taken; afterwards false, and on screen, for off-screen rendering without framebuffer objects.
  virtual OmBoolean setOffScreenRendering(bool on);
  /// Whether it renders off screen.
  virtual OmBoolean getOffScreenRendering() const;

  /// Leaves the framebuffer object bound after each render and capture, for the caller's own drawing and reading.
  virtual void setKeepBound(bool keep);
  /// Whether the framebuffer object stays bound.
  virtual OmBoolean getKeepBound() const;

  /// How the off-screen texture is stored and sampled, from the next init() on.
  virtual void setBufferParams(const OmTextureParameters& params);

protected:
  OmFrameBufferObject m_frameBuffer;  ///< renders into the off-screen texture
  OmTexture m_offScreenTexture;       ///< what is drawn off screen
  OmTextureParameters m_bufferParams; ///< settings for the off-screen texture's next making
  bool m_offScreen;                   ///< rendering goes off screen
  bool m_keepBound;                   ///< renders and captures leave the framebuffer object bound
};

#endif
