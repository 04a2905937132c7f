#ifndef OM_QT_DESKTOP_WINDOW_H
#define OM_QT_DESKTOP_WINDOW_H

#include "render/omWindowImplQt.h"
#include "render/window/omDesktopWindow.h"

#include <QImage>

#include <memory>

/// The desktop's side of a Qt window. It watches the widget's events from its opening on, and never takes one away.
/// Nothing of it calls the window while Qt delivers an event: poll() does so afterwards, because the window's methods
/// are virtual and may close it.
class OmQtDesktopWindow : public OmDesktopWindow
{
public:
  OmQtDesktopWindow();
  ~OmQtDesktopWindow() override;

  void poll() override;
  /// Unlike with X11, the events are delivered here already.
  bool wait(double seconds, int descriptor) override;
  bool setFillScreen(bool fill) override;
  void setIcon(const OmImage& icon) override;

  /// Takes over a widget that was just opened for `window`.
  void open(OmWindow* window, OmQGLWidget* widget);
  /// Lets go of the widget.
  void close();

private:
  class Filter;

  void see(QEvent& event);
  void takeInput();
  void storePosition();
  void finishClosing();
  void applyIcon() const;

  OmWindow* m_window = nullptr; ///< null while no widget is open
  QPointer<QWidget> m_widget;   ///< not as OmQGLWidget, which it is no more while it is being destroyed
  std::unique_ptr<Filter> m_filter;
  QPoint m_position;               ///< where poll() saw the widget last, in Qt's pixels
  bool m_takesInput = false;       ///< poll() was called
  bool m_hadMouseTracking = false; ///< before poll() was called
  bool m_closing = false;          ///< the widget was closed, and poll() has not acted on it yet
  bool m_seen = false;             ///< an event has come
  int m_wheel = 0;                 ///< turned, but less than a step, in eighths of a degree
  QImage m_icon;
};

#endif
