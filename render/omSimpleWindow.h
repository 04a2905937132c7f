#ifndef OM_SIMPLE_WINDOW_H
#define OM_SIMPLE_WINDOW_H

#include "render/omWindow.h"

#include <boost/shared_ptr.hpp>

class OmTexture;

/// A window that shows one picture over its whole drawing area.
///
/// \code
///   OmSimpleWindow window;
///   window.setName("photo.jpg");
///   window.setImageBuffer(image, true); // opens at the image's size and shows it
///
///   OmImage captured;
///   window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr);
///   captured.copyFromOrToFlipped(true); // top row first again
/// \endcode
///
/// The window takes the size of the picture and opens itself on first use. Images of one size and format, one after
/// another, are uploaded into one texture in place, padded storage excepted. Runs on any OpenGL; see OmTexture for how
/// images are stored.
class OM_EXPORT OmSimpleWindow : public OmWindow
{
public:
  /// Flags of renderSceneAndCaptureImage().
  enum CaptureFlags : OmU32
  {
    CaptureFlipped = 0x8 ///< read into the image's flipped copy, whose row order is GL's own
  };

  /// A window without a picture; opens nothing.
  OmSimpleWindow();
  ~OmSimpleWindow() override;

  /// As OmWindow::setWindowSize(); an initialised window's GL viewport follows, after the picture has been drawn again.
  OmBoolean setWindowSize(OmU32 width, OmU32 height) override;
  /// As OmWindow::setWindowSizeAndPos(), with the viewport as in setWindowSize().
  OmBoolean setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Lets go of the picture, then closes the window.
  void closeWindow() override;
  /// Opens the window where needed, sets the GL state for drawing pictures (no depth test, lighting, blending or
  /// dithering, black background), clears and swaps.
  OmBoolean init() override;
  /// Clears, draws the picture over the whole drawing area and swaps when `swap` is true. False when the window does
  /// not open; without a picture the area is black, and that is true.
  OmBoolean renderScene(OmBoolean swap) override;
  /// Sizes the window to the image, opens it where needed, uploads the image into the window's texture and draws it;
  /// swaps when `swap` is true. False when the window does not open or the upload is refused.
  OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) override;
  /// Draws, reads the drawing back, then swaps. The image is made anew where its size differs from what is read or
  /// where it has not 3 (RGB) or 4 (RGBA) channels; it then has 3. Rows arrive bottom row first, GL's order: with
  /// CaptureFlipped in the flipped copy, where that order belongs, else in the image's pixels.
  ///
  /// A flipped copy of the right shape is written as it is, in use or not; without CaptureFlipped only the pixels are,
  /// and a flipped copy that is in use stays in use.
  ///
  /// `block` names the part to read, its corner counted from the top left of the window; it is cut to the window. Null
  /// reads the whole window. False, with the image as it was, when the window does not open or has no texture, and when
  /// the block lies outside. The pixels of a window that is hidden or covered may be undefined. GL's pack state, the
  /// alignment aside, and its pixel buffer binding have to be the defaults.
  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override;

  /// Clears the drawing area to black. Nothing before init().
  virtual void clear() const;
  /// Shows a texture that may be shared with the caller and with other windows of the share group: sizes the window to
  /// it, opens it where needed, draws, and swaps when `swap` is true. False for an empty pointer, which changes
  /// nothing, for a texture without a GL name, and when the window does not open.
  virtual OmBoolean setImageBuffer(boost::shared_ptr<OmTexture> texture, OmBoolean swap);
  /// Loads the projection in which the drawing area spans 0 to 1 in both directions, origin at the bottom left.
  /// Nothing before init().
  virtual void setGLOrtho() const;

  /// Shows an image for that many seconds in a window of its own at a screen position in pixels, and blocks meanwhile.
  /// False when it could not be shown, and at once when `seconds` is not greater than 0.
  static OmBoolean displayImage(const OmImage& image, double seconds, const OmString& name, OmU32 x, OmU32 y);

protected:
  boost::shared_ptr<OmTexture> m_pTexture; ///< the picture; it may be shared with the caller

private:
  OM_INTERNAL void setViewport() const;
};

#endif
