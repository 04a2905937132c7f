#include "render/omWindowImplQt.h" // before X11's macros

#include "tools/qtViewer.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "tools/displayErrors.h"
#include "tools/failure.h"
#include "tools/glInformation.h"
#include "tools/windowManager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <boost/pointer_cast.hpp>

#include <cmath>
#include <cstdlib>
#include <exception>

namespace
{

enum class Action
{
  Next,
  Previous,
  FullScreen,
  Close
};

struct Key
{
  int code;
  Action action;
};

constexpr Key Keys[] = {
    {Qt::Key_Right, Action::Next},    {Qt::Key_Down, Action::Next},   {Qt::Key_Space, Action::Next},
    {Qt::Key_Left, Action::Previous}, {Qt::Key_Up, Action::Previous}, {Qt::Key_Backspace, Action::Previous},
    {Qt::Key_F, Action::FullScreen},  {Qt::Key_Q, Action::Close},     {Qt::Key_Escape, Action::Close},
};

/// A window that has its picture's size unless the window manager gives it another: full screen and maximised windows
/// keep theirs from picture to picture.
class ViewerWindow : public OmSimpleWindow
{
public:
  /// The widget on show; null while the window is closed.
  OmQGLWidget* widget() const
  {
    const auto impl = boost::dynamic_pointer_cast<OmWindow::Impl::Qt>(getImpl());
    return impl ? impl->getWidget() : nullptr;
  }

  OmBoolean init() override
  {
    if (!OmSimpleWindow::init())
      return false;
    setName(getName());
    return true;
  }

  /// File names and titles are in the encoding of the locale, of which the back end knows only Latin-1.
  void setName(const OmString& name) override
  {
    OmSimpleWindow::setName(name);
    if (widget())
      widget()->setWindowTitle(QString::fromLocal8Bit(name.data(), static_cast<int>(name.size())));
  }

  using OmSimpleWindow::setImageBuffer;
  OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) override
  {
    if (!m_pTexture || !isManaged())
      return OmSimpleWindow::setImageBuffer(image, swap);
    makeCurrent();
    return m_pTexture->loadFromImage(image, OmTextureParameters()) && renderScene(swap);
  }

  OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) override
  {
    settle();
    return OmSimpleWindow::renderSceneAndCaptureImage(image, flags, block);
  }

  /// Waits until the window has come to the screen, and to fill it where that was asked for. Then its frame goes to the
  /// window's position, where window managers put the drawing area, with the title bar beyond the screen's edge.
  void settle()
  {
    if (m_settled)
      return;
    m_settled = true;
    constexpr qint64 Longest = 1000; // a window beyond the screen's edges never comes
    QElapsedTimer clock;
    for (clock.start(); !isShown() && clock.elapsed() < Longest; OmSLEEPMS(5))
      QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    if (!isManaged())
      widget()->move(static_cast<int>(m_x), static_cast<int>(m_y));
  }

private:
  bool isManaged() const { return widget() && (widget()->isFullScreen() || widget()->isMaximized()); }

  bool isShown() const
  {
    const QWindow* const native = widget()->windowHandle();
    return native->isExposed() && (!widget()->isFullScreen() || widget()->size() == native->screen()->size());
  }

  bool m_settled = false;
};

/// Leafs through the pictures as keys and time ask for it.
class Viewer : public QObject
{
public:
  Viewer(const ShowOptions& options, const std::vector<Picture>& pictures, LibraryLog& log)
      : m_options(options), m_pictures(pictures), m_log(log), m_show(m_window, options, log)
  {
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, this, [this] { perform(isLast() ? Action::Close : Action::Next); });
  }

  /// Returns when the window is closed; throws the Failure that ended it otherwise.
  void run()
  {
    show(0);
    m_window.widget()->installEventFilter(this);
    QCoreApplication::exec();
    if (m_failure)
      std::rethrow_exception(m_failure);
    m_window.makeCurrent();
    checkErrors("cannot show " + quoted(m_pictures[m_index].file), m_log);
  }

protected:
  bool eventFilter(QObject* widget, QEvent* event) override
  {
    if (event->type() != QEvent::KeyPress)
      return QObject::eventFilter(widget, event);
    const auto* const press = static_cast<QKeyEvent*>(event);
    if (press->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
      return false;
    for (const Key& key : Keys)
      if (key.code == press->key())
      {
        perform(key.action);
        return true;
      }
    return false;
  }

private:
  bool isLast() const { return m_index + 1 == m_pictures.size(); }

  /// Nothing is thrown through Qt's event loop.
  void perform(Action action)
  {
    try
    {
      if (action == Action::Close)
        m_window.widget()->close();
      else if (action == Action::FullScreen)
        toggleFullScreen();
      else if (action == Action::Next && !isLast())
        show(m_index + 1);
      else if (action == Action::Previous && m_index > 0)
        show(m_index - 1);
    }
    catch (...)
    {
      m_failure = std::current_exception();
      QCoreApplication::quit();
    }
  }

  void show(std::size_t index)
  {
    m_timer.stop();
    m_show.show(m_pictures[index]);
    m_index = index;
    m_window.settle();
    if (m_options.seconds)
      m_timer.start(static_cast<int>(std::ceil(*m_options.seconds * 1000.0)));
  }

  void toggleFullScreen()
  {
    const bool full = m_window.widget()->isFullScreen();
    if (!full && !windowManagerOffersFullScreen())
      return;
    m_window.setFullScreen(!full);
    if (full) // not the size from before, which may be another picture's
      m_window.setWindowSize(m_pictures[m_index].width, m_pictures[m_index].height);
  }

  const ShowOptions& m_options;
  const std::vector<Picture>& m_pictures;
  LibraryLog& m_log;
  ViewerWindow m_window;
  PictureShow m_show;
  QTimer m_timer;
  std::size_t m_index = 0;
  std::exception_ptr m_failure;
};

/// Qt's messages are traces here. Two kinds of them announce that Qt is about to end the program.
void onQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
  const OmString text = message.toStdString();
  if (type == QtFatalMsg)
  {
    printFailure("omrender", "Qt cannot open a window on " + displayName() + ": " + text);
    std::_Exit(1);
  }
  if (message.startsWith(QLatin1String("The X11 connection broke")))
    endOnLostConnection();
  Om::Print::instance().write(3, "Qt: %s\n", text.c_str());
}

/// The library's OpenGL is that of GLX, and a picture's pixels are the screen's.
void prepareQtEnvironment()
{
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
    qputenv("QT_QPA_PLATFORM", "xcb");
  for (const char* const scaling : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
    qunsetenv(scaling);
  QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
}

} // namespace

void showPicturesInQt(const ShowOptions& options, const std::vector<Picture>& pictures, LibraryLog& log)
{
  if (options.fullScreen && !windowManagerOffersFullScreen())
    failToShowFullScreen("no window manager on " + displayName() + " offers it");
  qInstallMessageHandler(onQtMessage);
  prepareQtEnvironment();
  char name[] = "omrender";
  char* arguments[] = {name, nullptr};
  int count = 1;
  QApplication application(count, arguments);
  OmWindow::setImplType(OmWindow::ImplQt);
  Viewer viewer(options, pictures, log);
  viewer.run();
}
