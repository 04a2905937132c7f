// Shows a picture in a Qt application twice: in a layout beside other widgets, and in a second window.
//
//   qtApplication PICTURE [SECONDS]
//
// PICTURE is a PNG or JPEG file. The program ends when its windows are closed, or after SECONDS.

#include "render/omWindowImplQt.h" // before X11's macros

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <boost/make_shared.hpp>

#include <cstdlib>
#include <iostream>

/// Makes the window draw into the widget. The window deletes the widget only if it owns it.
void setWidget(OmWindow& window, OmQGLWidget* widget, bool owns)
{
  const auto impl = boost::make_shared<OmWindow::Impl::Qt>();
  impl->setWidget(widget, owns);
  window.setImpl(impl);
}

int main(int argc, char** argv)
{
  QApplication application(argc, argv); // destroyed last, after all windows
  if (argc < 2)
  {
    std::cerr << "usage: qtApplication PICTURE [SECONDS]\n";
    return 2;
  }
  OmImage image;
  if (!OmImageReaderWriter::read(image, argv[1]))
    return 1;

  // A widget keeps a pointer to its window, so the form, which owns the view, has to be destroyed before that window.
  OmSimpleWindow first;
  QWidget form;
  auto* const view = new OmQGLWidget(&first, &form, nullptr, Qt::WindowFlags());
  auto* const status = new QLabel(&form);
  auto* const again = new QPushButton("Show the second window", &form);
  auto* const layout = new QVBoxLayout(&form);
  layout->addWidget(view, 1);
  layout->addWidget(status);
  layout->addWidget(again);
  form.setWindowTitle("First");
  form.setGeometry(20, 40, 480, 420);
  form.show();
  setWidget(first, view, false);
  if (!first.setImageBuffer(image, true))
    return 1;

  // A window can own a widget without a parent.
  OmSimpleWindow second;
  auto* const widget = new OmQGLWidget(&second);
  setWidget(second, widget, true);
  second.setName("Second");
  second.setWindowPos(540, 40, false);
  QObject::connect(widget, &OmQGLWidget::signalWindowHide, again, &QPushButton::setVisible);
  QObject::connect(widget, &OmQGLWidget::signalWindowClose, again, &QPushButton::show);
  QObject::connect(widget, &OmQGLWidget::signalWindowResize, status,
                   [status](int width, int height)
                   { status->setText(QString("The second window has %1 x %2 pixels").arg(width).arg(height)); });
  QObject::connect(again, &QPushButton::clicked, [&second] { second.setHideWindow(false); });
  if (!second.setImageBuffer(image, true))
    return 1;

  if (argc > 2)
    QTimer::singleShot(static_cast<int>(std::atof(argv[2]) * 1000.0), &application, &QCoreApplication::quit);
  return QApplication::exec();
}
