#ifndef OM_TOOLS_VIEWER_WINDOW_H
#define OM_TOOLS_VIEWER_WINDOW_H

#include "render/omSimpleWindow.h"
#include "tools/omrender/show/pictureView.h"

#include <optional>
#include <vector>

/// A window of any back end that shows a picture by a view of it, on black.
///
/// It has the size of its picture, until its user or the window manager gives it another: it keeps that from picture to
/// picture.
class ViewerWindow : public OmSimpleWindow
{
public:
  /// The zoom that each picture of another size begins with; nothing to fit it into the window.
  void setScale(const std::optional<double>& scale) { m_scale = scale; }
  /// The largest size that the window takes by itself, in pixels. Larger pictures are fitted into it. Without: that of
  /// the picture.
  void setLargest(const PictureView::Size& largest) { m_largest = largest; }

  /// Begins a new view if the picture has another size than the one before, and takes the size for it. Called before
  /// the window opens, and by setImageBuffer().
  void preparePicture(const PictureView::Size& picture);

  /// The view of the picture. Whoever changes it draws again (renderScene()).
  PictureView& view() { return m_view; }

  /// Fills the screen, or gives up doing so. Does nothing if no window manager offers it.
  void fill(bool fill);
  bool isFilling() const { return m_filling; }

  /// Waits until the window is on the screen, as far as that matters for what is captured of it.
  virtual void settle() {}

  /// The size that the back end reports.
  OmBoolean setWindowSize(OmU32 width, OmU32 height) override;
  OmBoolean renderScene(OmBoolean swap) override;
  using OmSimpleWindow::setImageBuffer;
  OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) override;

private:
  bool isOwnSize() const;
  PictureView::Size ownSize() const;
  void takeOwnSize();

  PictureView m_view;
  std::optional<double> m_scale;
  std::optional<PictureView::Size> m_largest;
  bool m_filling = false;
  bool m_ownSizeBefore = true; ///< before it filled the screen
  /// The sizes that the window asked for since it last got what it wanted; the last one is what it wants. Window
  /// managers may still report the others.
  std::vector<PictureView::Size> m_asked;
};

#endif
