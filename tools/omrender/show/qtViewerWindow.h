#ifndef OM_TOOLS_QT_VIEWER_WINDOW_H
#define OM_TOOLS_QT_VIEWER_WINDOW_H

#include "render/omWindowImplQt.h"
#include "tools/omrender/show/viewerWindow.h"

/// The viewer's window by Qt.
class QtViewerWindow : public ViewerWindow
{
public:
  OmBoolean init() override;
  /// Sets the title, in the encoding of the locale, as titles and file names are.
  void setName(const OmString& name) override;
  /// Waits until the window is on the screen, and fills it if it was asked to. A window that does not fill the screen
  /// then moves, frame and all, to its position: window managers put the drawing area there, with the title bar beyond
  /// the edge of the screen.
  void settle() override;

private:
  OmQGLWidget* widget() const;
  bool isShown() const;
};

#endif
