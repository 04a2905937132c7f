#ifndef OM_TOOLS_VIEWER_WINDOW_H
#define OM_TOOLS_VIEWER_WINDOW_H

#include "render/omSimpleWindow.h"
#include "render/omWindowImplQt.h"

/// A Qt window of the size of its picture, unless the window manager gives it another: full screen and maximised
/// windows keep theirs from picture to picture.
class ViewerWindow : public OmSimpleWindow
{
public:
  OmBoolean init() override;
  /// Sets the title, in the encoding of the locale, as titles and file names are.
  void setName(const OmString& name) override;

  using OmSimpleWindow::setImageBuffer;
  OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) override;
  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override;

  /// The widget on show; null while the window is closed.
  OmQGLWidget* widget() const;
  /// Waits until the window is on the screen, and fills it if it was asked to. A window that does not fill the screen
  /// then moves, frame and all, to its position: window managers put the drawing area there, with the title bar beyond
  /// the edge of the screen.
  void settle();

private:
  bool isManaged() const;
  bool isShown() const;

  bool m_settled = false;
};

#endif
