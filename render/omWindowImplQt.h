#ifndef OM_WINDOW_IMPL_QT_H
#define OM_WINDOW_IMPL_QT_H

// Macros of Xlib's and GL's headers would break Qt's. They are back after them.
#pragma push_macro("Bool")
#pragma push_macro("CursorShape")
#pragma push_macro("GL_GLEXT_VERSION")
#pragma push_macro("Status")
#undef Bool
#undef CursorShape
#undef GL_GLEXT_VERSION
#undef Status
#include <QGLFormat>
#include <QGLWidget>
#include <QPointer>
#pragma pop_macro("Status")
#pragma pop_macro("GL_GLEXT_VERSION")
#pragma pop_macro("CursorShape")
#pragma pop_macro("Bool")

#include "render/omWindow.h"

/// The Qt widget that shows an OmWindow.
///
/// \code
///   auto* const widget = new OmQGLWidget(&window, &form, nullptr, Qt::WindowFlags()); // the form deletes it
///   const auto impl = boost::make_shared<OmWindow::Impl::Qt>();
///   impl->setWidget(widget, false);
///   window.setImpl(impl);
///   window.setImageBuffer(image, true);
/// \endcode
///
/// A resize sets the window's size and the GL viewport, a paint has the window draw and swap, and what happens to the
/// widget goes out as signals. It is a widget like any other: give it a parent, put it into a layout, and hand it to
/// the window's back end (OmWindow::Impl::Qt::setWidget()).
///
/// The widget keeps a plain pointer to its window, which has to outlive it; without a window it shows nothing. Its
/// buffers are swapped by the window, not by Qt. A widget of the application's own that is painted after its window was
/// closed opens the window again where the window draws by itself, as OmSimpleWindow does.
class OM_EXPORT OmQGLWidget : public QGLWidget
{
  Q_OBJECT

public:
  /// A widget without a parent, with Qt's default GL format.
  explicit OmQGLWidget(OmWindow* window);
  /// A widget with Qt's default GL format that shares its GL objects with another.
  OmQGLWidget(OmWindow* window, QWidget* parent, QGLWidget* shareWidget, ::Qt::WindowFlags flags);
  /// A widget with a GL format of its own.
  OmQGLWidget(OmWindow* window, QGLFormat format, QWidget* parent, QGLWidget* shareWidget);
  ~OmQGLWidget() override;

Q_SIGNALS:
  /// The widget is about to close. A receiver may close the window; those of the other signals leave that to a queued
  /// connection, as Qt goes on with the widget after them.
  void signalWindowClose();
  /// The widget has a new size, in Qt's pixels (QWidget::size()); the window and the viewport follow after the signal,
  /// in pixels of the screen.
  void signalWindowResize(int width, int height);
  /// The widget is being shown (false); hiding it emits nothing.
  void signalWindowHide(bool hidden);

protected:
  void resizeEvent(QResizeEvent* event) override; ///< signals the size, then has Qt resize the drawing area
  void closeEvent(QCloseEvent* event) override;   ///< signals, then closes
  void showEvent(QShowEvent* event) override;     ///< signals, then shows
  void resizeGL(int width, int height) override;  ///< passes the size, in pixels of the screen, on to the window
  void paintGL() override;                        ///< has the window draw and swap

  OmWindow* m_pWindow; ///< null for a widget that shows nothing
};

/// The back end that opens a window as a Qt GL widget, on Qt's GUI thread.
///
/// \code
///   QApplication application(argc, argv);
///   OmWindow::setImplType(OmWindow::ImplQt);
///   OmSimpleWindow window;
///   window.setImageBuffer(image, true);
///   return application.exec();
/// \endcode
///
/// The application object and its event loop are the caller's; windows are destroyed before it. Top-most and other
/// flags hide a widget that is shown, as Qt does it, and give it another native window; show it again with
/// setHideWindow(false).
///
/// Sizes and positions are pixels of the screen, also where Qt scales (QT_SCALE_FACTOR). Under a window manager Qt puts
/// the drawing area to a window's position while it does not know of the frame, and the frame afterwards. It warns on
/// standard error of buffers that are swapped before the window manager has shown the widget; nothing is lost by it.
class OM_EXPORT OmWindow::Impl::Qt : public OmWindow::Impl
{
public:
  /// A back end without a widget; the first one installs the built-in default format (setDefaultFormat()).
  Qt();
  ~Qt() override;

  /// The title; the name's bytes count as Latin-1.
  void setName(const OmString& name) override;
  void setWindowSize(OmU32 width, OmU32 height) override;
  void setWindowPos(OmU32 x, OmU32 y) override;
  void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Adds, or removes, the flags that keep the widget above others, past the window manager.
  void setTopMost(OmBoolean topMost) override;
  void setHideWindow(OmBoolean hide) override;
  void setFullScreen(OmBoolean fullScreen) override;
  void makeCurrent() const override;
  void swapBuffers() const override;
  /// Makes a widget where none was handed over, with a stereo format where there is one, and applies the window's
  /// settings. A top-most window gets that flag alone. At print level 1 a report of the format follows (print type 7).
  /// False, with a line of print type 4, without a QApplication and where Qt's platform gives no OpenGL.
  OmBoolean openWindow() override;
  /// Deletes the widget, or only forgets one that was handed over without ownership.
  void closeWindow() override;

  /// Hands over a widget for openWindow() to use; with `owns`, closeWindow() deletes it. A widget held before is only
  /// forgotten.
  virtual void setWidget(OmQGLWidget* widget, OmBoolean owns);
  /// The widget in use; null while there is none, also after Qt has deleted it.
  virtual OmQGLWidget* getWidget() const;

  /// Window flags for the widget, now and when one is made.
  void setWindowFlags(::Qt::WindowFlags flags);

  /// A new back end of this kind, whatever the process's type is.
  static boost::shared_ptr<OmWindow::Impl> newImpl();

  /// Installs a GL format as Qt's default. With null, the built-in one the first time, and nothing later: direct
  /// rendering, double-buffered RGBA with 8 bits of red and alpha and a depth buffer of 32.
  static void setDefaultFormat(const QGLFormat* format);

protected:
  OmBoolean m_ownsWidget;          ///< closeWindow() deletes the widget
  QPointer<OmQGLWidget> m_pWidget; ///< null while there is none
  ::Qt::WindowFlags m_windowFlags; ///< for widgets that are made here

private:
  OM_INTERNAL void makeWidget();
  OM_INTERNAL void placeHidden() const;
  OM_INTERNAL void joinShareGroup();
  OM_INTERNAL void reportFormat() const;
  OM_INTERNAL boost::shared_ptr<Qt> sharePartner() const;
};

#endif
