#include "tools/omrender/show/qtViewerWindow.h" // before X11's macros

#include "tools/omrender/show/qtViewer.h"

#include "foundation/core/omPrint.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/show/viewer.h"
#include "tools/omrender/show/windowManager.h"

#include <QApplication>

#include <cstdlib>

namespace
{

/// Passes Qt's messages on to the log as reports. Two kinds of them mean that Qt is about to end the program.
void onQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
  const OmString text = message.toStdString();
  if (type == QtFatalMsg)
  {
    printFailure("omrender", "Qt cannot open a window on " + displayName() + ": " + text);
    std::_Exit(NoCard);
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

void showInQt(const ShowOptions& options, ViewerContent& content, LibraryLog& log)
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
  QtViewerWindow window;
  Viewer(window, content, options, log).run();
}
