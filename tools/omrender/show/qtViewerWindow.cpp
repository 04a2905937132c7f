#include "tools/omrender/show/qtViewerWindow.h"

#include "foundation/common/omUtils.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QWindow>
#include <boost/pointer_cast.hpp>

#include <GL/glx.h>

OmBoolean QtViewerWindow::init()
{
  if (!ViewerWindow::init())
    return false;
  setName(getName());
  return true;
}

void QtViewerWindow::setName(const OmString& name)
{
  ViewerWindow::setName(name);
  if (!widget())
    return;
  // The back end reads every title as Latin-1.
  widget()->setWindowTitle(QString::fromLocal8Bit(name.data(), static_cast<int>(name.size())));
  makeCurrent();
  if (Display* const display = glXGetCurrentDisplay()) // Qt leaves WM_NAME in Xlib's buffer until the next request
    XFlush(display);
}

void QtViewerWindow::settle()
{
  constexpr qint64 Longest = 1000; // in ms; a window beyond the edges of the screen is never exposed
  QElapsedTimer clock;
  for (clock.start(); !isShown() && clock.elapsed() < Longest; OmSLEEPMS(5))
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  if (!widget()->isFullScreen() && !widget()->isMaximized())
    widget()->move(static_cast<int>(m_x), static_cast<int>(m_y));
}

/// The widget on show; null while the window is closed.
OmQGLWidget* QtViewerWindow::widget() const
{
  const auto impl = boost::dynamic_pointer_cast<OmWindow::Impl::Qt>(getImpl());
  return impl ? impl->getWidget() : nullptr;
}

bool QtViewerWindow::isShown() const
{
  const QWindow* const native = widget()->windowHandle();
  return native->isExposed() && (!widget()->isFullScreen() || widget()->size() == native->screen()->size());
}
