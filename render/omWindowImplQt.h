#ifndef OM_WINDOW_IMPL_QT_H
#define OM_WINDOW_IMPL_QT_H

// These macros of Xlib's and GL's headers would break Qt's headers. They are restored afterwards.
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

class OmQtDesktopWindow;

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
/// A resize sets the window's size and the GL viewport. A paint makes the window draw and swap. What happens to the
/// widget is also sent out as signals. It is a widget like any other: give it a parent, put it into a layout, and pass
/// it to the window's back end (OmWindow::Impl::Qt::setWidget()).
///
/// The widget keeps a plain pointer to its window, which must outlive it. Without a window it shows nothing. The window
/// swaps the buffers, not Qt. If an application's own widget is painted after its window was closed, a window that
/// opens when it draws, such as OmSimpleWindow, opens again.
class OM_EXPORT OmQGLWidget : public QGLWidget
{
  Q_OBJECT

public:
  /// A widget without a parent, with Qt's default GL format.
  explicit OmQGLWidget(OmWindow* window);
  /// A widget with Qt's default GL format that shares its GL objects with `shareWidget` unless that is null.
  OmQGLWidget(OmWindow* window, QWidget* parent, QGLWidget* shareWidget, ::Qt::WindowFlags flags);
  /// A widget with the given GL format that shares its GL objects with `shareWidget` unless that is null.
  OmQGLWidget(OmWindow* window, QGLFormat format, QWidget* parent, QGLWidget* shareWidget);
  ~OmQGLWidget() override;

Q_SIGNALS:
  /// The widget is about to close. A receiver may close the window at once. A receiver of the other signals must not,
  /// because Qt still uses the widget after them: it closes the window through a queued connection.
  void signalWindowClose();
  /// The widget has a new size, in Qt's pixels (QWidget::size()). The window's size and the viewport follow after the
  /// signal, in pixels of the screen.
  void signalWindowResize(int width, int height);
  /// The widget is being shown; `hidden` is false. Hiding the widget sends no signal.
  void signalWindowHide(bool hidden);

protected:
  void resizeEvent(QResizeEvent* event) override; ///< sends the signal, then lets Qt resize the drawing area
  void closeEvent(QCloseEvent* event) override;   ///< sends the signal, then closes
  void showEvent(QShowEvent* event) override;     ///< sends the signal, then shows
  void resizeGL(int width, int height) override;  ///< passes the size on to the window, in pixels of the screen
  void paintGL() override;                        ///< makes the window draw and swap
  void glDraw() override;                         ///< makes room for Qt's context, then draws

  OmWindow* m_pWindow; ///< the window it shows; null if it shows nothing
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
/// The application object and its event loop belong to the caller, and windows must be destroyed before that object.
/// Changing the top-most flag or the window flags hides a widget that is shown and gives it another native window,
/// because Qt does so. Show it again with setHideWindow(false).
///
/// A program without an event loop of its own calls OmWindow::pollEvents() and OmWindow::waitEvents(). Either delivers
/// the events of all of the application's widgets. Closing a widget asks to close the window, and so does closing the
/// window around it and deleting it; a widget that refuses the close event stays. A widget inside another one gets keys
/// when it has the focus: its application gives it a focus policy.
///
/// Sizes and positions are pixels of the screen, even if Qt scales (QT_SCALE_FACTOR). Under a window manager a position
/// is that of the drawing area until Qt knows the frame, and that of the frame afterwards. Qt warns on standard error
/// if buffers are swapped before the window manager has shown the widget; the warning is harmless.
class OM_EXPORT OmWindow::Impl::Qt : public OmWindow::Impl
{
public:
  /// A back end without a widget. The first one installs the built-in default format (setDefaultFormat()).
  Qt();
  ~Qt() override;

  /// Sets the title. The bytes are read as Latin-1.
  void setName(const OmString& name) override;
  void setWindowSize(OmU32 width, OmU32 height) override;
  void setWindowPos(OmU32 x, OmU32 y) override;
  void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Adds or removes the flags that keep the widget above others and past the window manager.
  void setTopMost(OmBoolean topMost) override;
  void setHideWindow(OmBoolean hide) override;
  void setFullScreen(OmBoolean fullScreen) override;
  void makeCurrent() const override;
  void swapBuffers() const override;
  /// Makes a widget unless setWidget() has set one, with a stereo format if there is one, and applies the window's
  /// settings. A top-most window gets the flag to stay on top and no other. At print level 1 or 0 a report of the
  /// format follows (print type 7). Returns false, with an error message, without a QApplication, if Qt's platform has
  /// no OpenGL, and for a size above the card's largest viewport or 32767 pixels. Resizing an open window beyond these
  /// limits stops at them, with an error message.
  OmBoolean openWindow() override;
  /// Deletes the widget, or only forgets a widget that setWidget() set without ownership.
  void closeWindow() override;

  /// Sets a widget for openWindow() to use. If `owns` is true, closeWindow() deletes it. The previous widget is
  /// forgotten, not deleted.
  virtual void setWidget(OmQGLWidget* widget, OmBoolean owns);
  /// The widget in use. Null if there is none, and after Qt has deleted it.
  virtual OmQGLWidget* getWidget() const;

  /// Sets the window flags of the widget, and of widgets that are made later.
  void setWindowFlags(::Qt::WindowFlags flags);

  /// A new Qt back end, whatever OmWindow::getImplType() is.
  static boost::shared_ptr<OmWindow::Impl> newImpl();

  /// Installs a GL format as Qt's default. A null pointer installs the built-in format the first time and does nothing
  /// afterwards. The built-in format has direct rendering, double-buffered RGBA with 8 bits of red and alpha, and a
  /// depth buffer of 32 bits.
  static void setDefaultFormat(const QGLFormat* format);

protected:
  OmBoolean m_ownsWidget;          ///< closeWindow() deletes the widget
  QPointer<OmQGLWidget> m_pWidget; ///< the widget; null if there is none
  ::Qt::WindowFlags m_windowFlags; ///< window flags for widgets made here

private:
  OM_INTERNAL void askLargestSize();
  OM_INTERNAL bool isSizeDrawn(const char* operation, OmU32 width, OmU32 height) const;
  OM_INTERNAL void makeWidget();
  OM_INTERNAL void placeHidden() const;
  OM_INTERNAL void joinShareGroup();
  OM_INTERNAL void reportFormat() const;
  OM_INTERNAL OmQtDesktopWindow& desktop() const;
  OM_INTERNAL boost::shared_ptr<Qt> sharePartner() const;

  OmU32 m_largestWidth;  ///< the largest width that the context draws, in pixels
  OmU32 m_largestHeight; ///< the largest height that the context draws, in pixels
};

#endif
