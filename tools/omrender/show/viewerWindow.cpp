#include "tools/omrender/show/viewerWindow.h"

#include "foundation/common/omUtils.h"
#include "render/omTexture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QWindow>
#include <boost/pointer_cast.hpp>

OmBoolean ViewerWindow::init()
{
  if (!OmSimpleWindow::init())
    return false;
  setName(getName());
  return true;
}

void ViewerWindow::setName(const OmString& name)
{
  OmSimpleWindow::setName(name);
  if (widget()) // the back end reads every title as Latin-1
    widget()->setWindowTitle(QString::fromLocal8Bit(name.data(), static_cast<int>(name.size())));
}

OmBoolean ViewerWindow::setImageBuffer(const OmImage& image, OmBoolean swap)
{
  if (!m_pTexture || !isManaged())
    return OmSimpleWindow::setImageBuffer(image, swap);
  makeCurrent();
  return m_pTexture->loadFromImage(image, OmTextureParameters()) && renderScene(swap);
}

OmBoolean ViewerWindow::renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block)
{
  settle();
  return OmSimpleWindow::renderSceneAndCaptureImage(image, flags, block);
}

OmQGLWidget* ViewerWindow::widget() const
{
  const auto impl = boost::dynamic_pointer_cast<OmWindow::Impl::Qt>(getImpl());
  return impl ? impl->getWidget() : nullptr;
}

void ViewerWindow::settle()
{
  if (m_settled)
    return;
  m_settled = true;
  constexpr qint64 Longest = 1000; // in ms; a window beyond the edges of the screen is never exposed
  QElapsedTimer clock;
  for (clock.start(); !isShown() && clock.elapsed() < Longest; OmSLEEPMS(5))
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  if (!isManaged())
    widget()->move(static_cast<int>(m_x), static_cast<int>(m_y));
}

/// Whether the window manager decides its size.
bool ViewerWindow::isManaged() const
{
  return widget() && (widget()->isFullScreen() || widget()->isMaximized());
}

bool ViewerWindow::isShown() const
{
  const QWindow* const native = widget()->windowHandle();
  return native->isExposed() && (!widget()->isFullScreen() || widget()->size() == native->screen()->size());
}
