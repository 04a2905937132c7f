#ifndef OM_QT_DESKTOP_WINDOW_H
#define OM_QT_DESKTOP_WINDOW_H

#include "render/omWindowImplQt.h"
#include "render/window/omDesktopWindow.h"

/// The desktop's side of a Qt window.
class OmQtDesktopWindow : public OmDesktopWindow
{
public:
  void poll() override;
  bool wait(double seconds, int descriptor) override;
  bool setFillScreen(bool fill) override;
  void setIcon(const OmImage& icon) override;

  /// Takes over a widget that was just opened for `window`.
  void open(OmWindow* window, OmQGLWidget* widget);
  /// Lets go of the widget.
  void close();

private:
  OmWindow* m_window = nullptr; ///< null while no widget is open
  QPointer<OmQGLWidget> m_widget;
};

#endif
