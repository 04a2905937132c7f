#ifndef OM_FBO_WINDOW_H
#define OM_FBO_WINDOW_H

#include "render/omFrameBufferObject.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "render/omTextureParameters.h"

/// An image window that can render off screen: its scene then goes into a texture, and the window is hidden.
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
/// Pixels captured off screen are always defined, even if the window is hidden, covered or larger than the screen.
/// Needs GL_EXT_framebuffer_object (OmGL::SupportFBO). The off-screen texture gets the window's size in init(): call
/// init() again after a change of size.
class OM_EXPORT OmFBOWindow : public OmSimpleWindow
{
public:
  /// An image window that renders on screen. Makes no GL call.
  OmFBOWindow();
  /// Releases the off-screen texture and the framebuffer object (OmTexture::release(), OmFrameBufferObject::release()),
  /// and closes the window.
  ~OmFBOWindow() override;

  /// Like OmWindow::makeCurrent(). An initialised window that renders off screen also binds its framebuffer object.
  /// Every operation that draws calls it; only renderScene() and renderSceneAndCaptureImage() unbind the framebuffer
  /// object afterwards.
  void makeCurrent() const override;
  /// Like OmSimpleWindow::setWindowSize(). The off-screen texture keeps its size until the next init().
  OmBoolean setWindowSize(OmU32 width, OmU32 height) override;
  /// Like OmSimpleWindow::setWindowSizeAndPos(). The off-screen texture keeps its size until the next init().
  OmBoolean setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Deletes the off-screen texture and the framebuffer object, then closes the window. If the window renders off
  /// screen, it is hidden when it opens again.
  void closeWindow() override;
  /// Opens the window unless it is open, then makes the framebuffer object and the off-screen texture, of the window's
  /// size in pixels. It makes both even if the window renders on screen. Returns false if the window does not open.
  /// Also false without framebuffer objects: no message is printed, and the window stays open. Also false, with an
  /// error message, if the texture cannot be made or the framebuffer is incomplete.
  OmBoolean init() override;
  /// Like OmSimpleWindow::renderScene(). Unbinds the framebuffer object afterwards unless keep-bound is on; a render
  /// that fails leaves the binding unchanged. Off screen, returns false with an error message if the last init()
  /// failed. If the window's size is no longer that of the off-screen texture, draws nevertheless and prints one
  /// warning.
  OmBoolean renderScene(OmBoolean swap) override;
  /// Like OmSimpleWindow::renderSceneAndCaptureImage(). Off screen, reads the off-screen texture, whether keep-bound is
  /// on or off.
  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override;

  /// Chooses off-screen (true) or on-screen rendering, and hides or shows the window to match. Always succeeds before
  /// init(). Afterwards, off-screen rendering without framebuffer objects returns false and prints nothing; the window
  /// then renders on screen and is neither hidden nor shown.
  virtual OmBoolean setOffScreenRendering(bool on);
  /// Whether the window renders off screen.
  virtual OmBoolean getOffScreenRendering() const;

  /// With true, renders and captures leave the framebuffer object bound, so that the caller can draw and read there.
  virtual void setKeepBound(bool keep);
  /// Whether renders and captures leave the framebuffer object bound.
  virtual OmBoolean getKeepBound() const;

  /// Sets how the off-screen texture is stored and sampled. Takes effect at the next init().
  virtual void setBufferParams(const OmTextureParameters& params);

protected:
  OmFrameBufferObject m_frameBuffer;  ///< has the off-screen texture as colour buffer
  OmTexture m_offScreenTexture;       ///< what is drawn off screen
  OmTextureParameters m_bufferParams; ///< settings for the off-screen texture, used by init()
  bool m_offScreen;                   ///< the window renders off screen
  bool m_keepBound;                   ///< renders and captures leave the framebuffer object bound

private:
  OM_INTERNAL OmBoolean makeBuffer();
  OM_INTERNAL void checkBuffer();

  bool m_bufferUsable = false; ///< the last init() made the off-screen texture and a complete framebuffer
  OmU32 m_bufferWidth = 0;     ///< the window's width in that init(), in pixels
  OmU32 m_bufferHeight = 0;    ///< the window's height in that init(), in pixels
  bool m_resizing = false;     ///< the window's size is being set; a drawing meanwhile reports nothing
  bool m_sizeWarned = false;   ///< the warning that the sizes differ has been printed
};

#endif
