// The snippet of the Qt back end. The lines between the markers stand in its header, word for word.

#include "render/omWindowImplQt.h" // before X11's macros

#include "docs/snippets/snippet.h"
#include "render/omSimpleWindow.h"

#include <QApplication>
#include <QTimer>

namespace
{

const OmImage picture = makePicture(320, 240);

/// When the event loop runs, looks at the window and ends the loop, as the user would.
void lookAtWindow()
{
  QTimer::singleShot(
      200,
      []
      {
        OmImage captured;
        CHECK(OmWindow::getWindow()->renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
        captured.copyFromOrToFlipped(true);
        CHECK(isSame(captured, picture));
        QApplication::exit(42);
      });
}
Q_COREAPP_STARTUP_FUNCTION(lookAtWindow)

int showInQt(int argc, char** argv, const OmImage& image)
{
  // [omWindowImplQt.h
  QApplication application(argc, argv);
  OmWindow::setImplType(OmWindow::ImplQt);
  OmSimpleWindow window;
  window.setImageBuffer(image, true);
  return application.exec();
  // omWindowImplQt.h]
}

} // namespace

int main(int argc, char** argv)
{
  CHECK(showInQt(argc, argv, picture) == 42); // the status that lookAtWindow() ended the loop with
  return 0;
}
