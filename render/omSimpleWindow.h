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
/// The window takes the size of the picture and opens when it is first used. If one image has the size and channel
/// count of the one before, it is uploaded into the same texture in place, except in padded storage. Works with any
/// OpenGL version; see OmTexture for how images are stored.
class OM_EXPORT OmSimpleWindow : public OmWindow
{
public:
  /// Flags of renderSceneAndCaptureImage().
  enum CaptureFlags : OmU32
  {
    CaptureFlipped = 0x8 ///< read into the image's flipped copy, which is bottom row first as GL reads
  };

  /// A window without a picture. Opens nothing.
  OmSimpleWindow();
  ~OmSimpleWindow() override;

  /// Like OmWindow::setWindowSize(). Then sets the GL viewport of an initialised window to the size; the picture was
  /// drawn again before that.
  OmBoolean setWindowSize(OmU32 width, OmU32 height) override;
  /// Like OmWindow::setWindowSizeAndPos(). Then sets the GL viewport like setWindowSize().
  OmBoolean setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Drops the picture, then closes the window.
  void closeWindow() override;
  /// Opens the window unless it is open. Then sets the GL state for drawing pictures (no depth test, lighting, blending
  /// or dithering, black background), clears and swaps. Returns false if the window does not open.
  OmBoolean init() override;
  /// Clears, draws the picture over the whole drawing area, and swaps if `swap` is true. Opens the window first unless
  /// it is open. Without a picture the area is black. Returns false if the window does not open and, with an error
  /// message, for a texture of another share group.
  OmBoolean renderScene(OmBoolean swap) override;
  /// Sizes the window to the image, opens it unless it is open, uploads the image into the window's texture and draws
  /// it. Swaps if `swap` is true. Returns false if the window does not open or the upload fails.
  OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) override;
  /// Draws, reads the drawing back into `image`, then swaps. The image gets the size of what is read. It keeps 4
  /// channels (RGBA) if it has 4, otherwise it gets 3 (RGB). `flags` is CaptureFlipped or 0. Rows arrive bottom row
  /// first, in GL's order. With CaptureFlipped they go into the flipped copy, which has that order. With 0 they go into
  /// the pixels, whose first row is then the bottom one.
  ///
  /// A flipped copy of the right shape is overwritten, and whether it is in use does not change. With 0, only the
  /// pixels are written, and a flipped copy of that shape that is in use stays in use.
  ///
  /// `block` names the part to read, in pixels, with its corner counted from the top left of the window. It is cut to
  /// the window. Null reads the whole window. Returns false, with the image unchanged, if renderScene() fails or
  /// nothing of the block lies inside the window. The pixels of a hidden or covered window may be undefined;
  /// OmFBOWindow reads defined ones. GL's pixel buffer binding and pack state must be at their defaults, except for the
  /// alignment, which is set here.
  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override;

  /// Clears the drawing area to black. Does nothing before init().
  virtual void clear() const;
  /// Shows a texture that may be shared with the caller and with other windows of the share group: sizes the window to
  /// it, opens the window unless it is open, and draws. Swaps if `swap` is true. Returns false for an empty pointer,
  /// which changes nothing. Also false if the window does not open, for a texture without a GL name and, with an error
  /// message, for a texture of another share group; the texture is then the window's picture all the same.
  virtual OmBoolean setImageBuffer(boost::shared_ptr<OmTexture> texture, OmBoolean swap);
  /// Loads the projection in which the drawing area spans 0 to 1 in both directions, with the origin at the bottom
  /// left, and a modelview matrix that puts z = 0 on the far plane. Leaves the modelview matrix selected. Does nothing
  /// before init().
  virtual void setGLOrtho() const;

  /// Shows an image in a new window with the title `name` at a screen position in pixels, and blocks for `seconds`, or
  /// until its user closes it. Meanwhile the window is drawn again when it is exposed or resized. Returns false if the
  /// image could not be shown; blocks in this case too. Returns false at once if `seconds` is not greater than 0.
  static OmBoolean displayImage(const OmImage& image, double seconds, const OmString& name, OmU32 x, OmU32 y);

protected:
  boost::shared_ptr<OmTexture> m_pTexture; ///< the picture; it may be shared with the caller

private:
  OM_INTERNAL void setViewport() const;
};

#endif
