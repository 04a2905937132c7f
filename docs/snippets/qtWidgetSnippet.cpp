// The snippet of the Qt widget. The lines between the markers stand in its header, word for word.

#include "render/omWindowImplQt.h" // before X11's macros

#include "docs/snippets/snippet.h"
#include "render/omSimpleWindow.h"

#include <QApplication>
#include <QVBoxLayout>
#include <boost/make_shared.hpp>

int main(int argc, char** argv)
{
  QApplication application(argc, argv);
  const OmImage image = makePicture(320, 240);
  OmSimpleWindow window;
  QWidget form;
  // [omWindowImplQt.h
  auto* const widget = new OmQGLWidget(&window, &form, nullptr, Qt::WindowFlags()); // the form deletes it
  const auto impl = boost::make_shared<OmWindow::Impl::Qt>();
  impl->setWidget(widget, false);
  window.setImpl(impl);
  window.setImageBuffer(image, true);
  // omWindowImplQt.h]
  form.resize(320, 240);
  form.show();
  OmImage captured;
  CHECK(window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
  captured.copyFromOrToFlipped(true);
  CHECK(isSame(captured, image));
  CHECK(widget->parent() == &form);
  return 0;
}
