#include "tools/omrender/show/viewerWindow.h" // before X11's macros

#include "tools/omrender/show/qtViewer.h"

#include "foundation/core/omPrint.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/show/windowManager.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>

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

/// Leafs through the pictures on keys and after the time for each.
class Viewer : public QObject
{
public:
  Viewer(const ShowOptions& options, const std::vector<PictureFile>& pictures, LibraryLog& log)
      : m_options(options), m_pictures(pictures), m_log(log), m_show(m_window, options, log)
  {
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, this, [this] { perform(isLast() ? Action::Close : Action::Next); });
  }

  /// Returns when the window is closed. Throws the Failure that ended the show.
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

  /// Keeps a failure for run(): nothing may be thrown through Qt's event loop.
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
    if (full) // the window manager restores the size from before, perhaps that of another picture
      m_window.setWindowSize(m_pictures[m_index].width, m_pictures[m_index].height);
  }

  const ShowOptions& m_options;
  const std::vector<PictureFile>& m_pictures;
  LibraryLog& m_log;
  ViewerWindow m_window;
  PictureShow m_show;
  QTimer m_timer;
  std::size_t m_index = 0;
  std::exception_ptr m_failure;
};

/// Passes Qt's messages on to the log as reports. Two kinds of them mean that Qt is about to end the program.
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

/// The library needs a platform with GLX, and a pixel of a picture is a pixel of the screen.
void prepareQtEnvironment()
{
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
    qputenv("QT_QPA_PLATFORM", "xcb");
  for (const char* const scaling : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
    qunsetenv(scaling);
  QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
}

} // namespace

void showPicturesInQt(const ShowOptions& options, const std::vector<PictureFile>& pictures, LibraryLog& log)
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
