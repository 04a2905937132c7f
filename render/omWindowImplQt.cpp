#include "render/omWindowImplQt.h"

#include "foundation/core/omPrint.h"
#include "render/omVersion.h"
#include "render/window/omBackEnds.h"
#include "render/window/omCurrentEGL.h"
#include "render/window/omGLNames.h"
#include "render/window/omQtDesktopWindow.h"
#include "render/window/omSwapInterval.h"

#include <QApplication>
#include <QResizeEvent>
#include <QWindow>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

namespace
{

constexpr char OpenSignature[] = "virtual OmBoolean OmWindow::Impl::Qt::openWindow()";

bool s_defaultFormatSet = false;

const char* onOff(bool on)
{
  return on ? "on" : "off";
}

/// Converts pixels of the screen to pixels of the widget, which are larger if Qt scales (QT_SCALE_FACTOR). Rounds up,
/// so that a widget keeps the size that it has reported. Positions left of or above the screen arrive here as large
/// unsigned numbers.
int inWidgetPixels(const QWidget& widget, OmU32 pixels)
{
  constexpr double RoundingError = 1e-6;
  return static_cast<int>(std::ceil(static_cast<int>(pixels) / widget.devicePixelRatioF() - RoundingError));
}

} // namespace

OmQGLWidget::OmQGLWidget(OmWindow* window) : OmQGLWidget(window, nullptr, nullptr, ::Qt::WindowFlags()) {}

OmQGLWidget::OmQGLWidget(OmWindow* window, QWidget* parent, QGLWidget* shareWidget, ::Qt::WindowFlags flags)
    : QGLWidget(parent, shareWidget, flags), m_pWindow(window)
{
  setAutoBufferSwap(false);
}

OmQGLWidget::OmQGLWidget(OmWindow* window, QGLFormat format, QWidget* parent, QGLWidget* shareWidget)
    : QGLWidget(format, parent, shareWidget), m_pWindow(window)
{
  setAutoBufferSwap(false);
}

OmQGLWidget::~OmQGLWidget() = default;

void OmQGLWidget::resizeGL(int width, int height)
{
  constexpr char signature[] = "virtual void OmQGLWidget::resizeGL(int, int)";
  const Om::Print::ScopedPrint scope(signature, "");
  if (!m_pWindow)
    return;
  Om::Print::instance().ostream(Om::Print::Report, signature) << "Resizing to " << width << "x" << height << std::endl;
  m_pWindow->setWindowSize(static_cast<OmU32>(width), static_cast<OmU32>(height));
  glViewport(0, 0, width, height);
}

void OmQGLWidget::paintGL()
{
  if (m_pWindow)
    m_pWindow->renderScene(true);
}

void OmQGLWidget::closeEvent(QCloseEvent* event)
{
  const QPointer<OmQGLWidget> self(this); // a receiver may close the window
  Q_EMIT signalWindowClose();
  if (self)
    QWidget::closeEvent(event);
}

void OmQGLWidget::glDraw()
{
  OmCurrentEGL::release(); // Qt makes its context current, which GLX refuses beside one of EGL's
  QGLWidget::glDraw();
}

void OmQGLWidget::resizeEvent(QResizeEvent* event)
{
  Q_EMIT signalWindowResize(event->size().width(), event->size().height());
  OmCurrentEGL::release();
  QGLWidget::resizeEvent(event);
}

void OmQGLWidget::showEvent(QShowEvent* event)
{
  Q_EMIT signalWindowHide(!isVisible());
  QWidget::showEvent(event);
}

OmWindow::Impl::Qt::Qt()
    : m_ownsWidget(true), m_largestWidth(std::numeric_limits<OmU32>::max()),
      m_largestHeight(std::numeric_limits<OmU32>::max())
{
  m_desktop = std::make_unique<OmQtDesktopWindow>();
  setDefaultFormat(nullptr);
}

OmWindow::Impl::Qt::~Qt()
{
  Qt::closeWindow();
}

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::Qt::newImpl()
{
  return boost::make_shared<Qt>();
}

boost::shared_ptr<OmWindow::Impl> newQtBackEnd()
{
  return OmWindow::Impl::Qt::newImpl();
}

void OmWindow::Impl::Qt::setDefaultFormat(const QGLFormat* format)
{
  if (format)
  {
    QGLFormat::setDefaultFormat(*format);
    return;
  }
  if (s_defaultFormatSet)
    return;
  QGLFormat builtIn;
  builtIn.setDirectRendering(true);
  builtIn.setDoubleBuffer(true);
  builtIn.setRgba(true);
  builtIn.setRedBufferSize(8);
  builtIn.setAlphaBufferSize(8);
  builtIn.setDepth(true);
  builtIn.setDepthBufferSize(32);
  QGLFormat::setDefaultFormat(builtIn);
  s_defaultFormatSet = true;
}

void OmWindow::Impl::Qt::setName(const OmString& name)
{
  if (m_pWidget)
    m_pWidget->setWindowTitle(QString::fromLatin1(name.data(), static_cast<int>(name.size())));
}

void OmWindow::Impl::Qt::setWindowSize(OmU32 width, OmU32 height)
{
  if (!m_pWidget)
    return;
  if (!isSizeDrawn("setWindowSize", width, height))
  {
    width = std::min(width, m_largestWidth);
    height = std::min(height, m_largestHeight);
  }
  const QSize size(inWidgetPixels(*m_pWidget, width), inWidgetPixels(*m_pWidget, height));
  if (size == m_pWidget->size())
    return; // for one, if the widget has reported this size while it is being shown
  m_pWidget->resize(size);
  placeHidden();
}

void OmWindow::Impl::Qt::setWindowPos(OmU32 x, OmU32 y)
{
  if (!m_pWidget)
    return;
  m_pWidget->move(inWidgetPixels(*m_pWidget, x), inWidgetPixels(*m_pWidget, y));
  placeHidden();
}

void OmWindow::Impl::Qt::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y)
{
  setWindowPos(x, y);
  setWindowSize(width, height);
}

void OmWindow::Impl::Qt::setTopMost(OmBoolean topMost)
{
  if (!m_pWidget)
    return;
  for (const ::Qt::WindowType hint : {::Qt::WindowStaysOnTopHint, ::Qt::X11BypassWindowManagerHint})
  {
    ::Qt::WindowFlags flags = m_pWidget->windowFlags();
    flags.setFlag(hint, topMost);
    m_pWidget->setWindowFlags(flags);
  }
}

void OmWindow::Impl::Qt::setHideWindow(OmBoolean hide)
{
  if (m_pWidget)
    m_pWidget->setVisible(!hide);
}

void OmWindow::Impl::Qt::setFullScreen(OmBoolean fullScreen)
{
  if (!m_pWidget)
    return;
  if (fullScreen)
    m_pWidget->showFullScreen();
  else
    m_pWidget->showNormal();
}

void OmWindow::Impl::Qt::makeCurrent() const
{
  if (m_pWidget)
  {
    // Qt destroys the native window of a widget when its user closes it. Without a native window Qt makes no context
    // current.
    if (QWindow* const native = m_pWidget->windowHandle(); native && !native->handle())
      native->create();
    OmCurrentEGL::release();
    m_pWidget->makeCurrent();
    deleteKeptNames();
  }
  else
    dropNames(); // Qt has deleted the widget, and its context with the GL names
}

void OmWindow::Impl::Qt::swapBuffers() const
{
  if (m_pWidget)
    m_pWidget->swapBuffers();
}

void OmWindow::Impl::Qt::setWidget(OmQGLWidget* widget, OmBoolean owns)
{
  m_pWidget = widget;
  m_ownsWidget = owns;
}

OmQGLWidget* OmWindow::Impl::Qt::getWidget() const
{
  return m_pWidget;
}

void OmWindow::Impl::Qt::setWindowFlags(::Qt::WindowFlags flags)
{
  m_windowFlags = flags;
  if (m_pWidget)
    m_pWidget->setWindowFlags(flags);
}

OmBoolean OmWindow::Impl::Qt::openWindow()
{
  if (!m_pWindow)
    return false;
  if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
  {
    Om::Print::instance().ostream(Om::Print::Error, OpenSignature)
        << "OmWindow::Impl::Qt::openWindow - There is no QApplication; make one before the first window.\n";
    closeWindow();
    return false;
  }
  OmCurrentEGL::release();
  if (!m_pWidget)
    makeWidget();
  if (!m_pWidget->isValid())
  {
    Om::Print::instance().ostream(Om::Print::Error, OpenSignature)
        << "OmWindow::Impl::Qt::openWindow - Qt's platform \"" << QGuiApplication::platformName().toStdString()
        << "\" gives no OpenGL context.\n";
    closeWindow();
    return false;
  }
  joinShareGroup();

  OmU32 width = 0;
  OmU32 height = 0;
  OmU32 x = 0;
  OmU32 y = 0;
  m_pWindow->getWindowSizeAndPos(width, height, x, y);
  askLargestSize();
  if (!isSizeDrawn("openWindow", width, height))
  {
    closeWindow();
    return false;
  }
  Qt::setWindowSize(width, height);
  Qt::setWindowPos(x, y);
  Qt::setName(m_pWindow->getName());
  if (m_pWindow->getTopMost())
    m_pWidget->setWindowFlags(::Qt::WindowStaysOnTopHint);
  m_pWidget->setVisible(!m_pWindow->getHideWindow());
  m_pWidget->makeCurrent();
  desktop().open(m_pWindow, m_pWidget);
  resizeGL(); // Qt makes a new context current on another window first, whose size the viewport then has
  omSwapWithoutWaiting();
  if (Om::Print::instance().printLevel() <= Om::Print::Trace)
    reportFormat();
  return true;
}

/// Asks the widget's context for the largest window that it draws, in pixels. X has no window beyond 32767 pixels.
void OmWindow::Impl::Qt::askLargestSize()
{
  constexpr GLint LargestCoordinate = 32767;
  GLint largest[2] = {};
  m_pWidget->makeCurrent();
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, largest);
  m_largestWidth = static_cast<OmU32>(std::clamp(largest[0], 1, LargestCoordinate));
  m_largestHeight = static_cast<OmU32>(std::clamp(largest[1], 1, LargestCoordinate));
}

/// Whether the card draws windows of that size, in pixels; prints an error message if not.
bool OmWindow::Impl::Qt::isSizeDrawn(const char* operation, OmU32 width, OmU32 height) const
{
  if (width <= m_largestWidth && height <= m_largestHeight)
    return true;
  Om::Print::instance().write(
      Om::Print::Error, "OmWindow::Impl::Qt::%s - %u by %u pixels are more than the %u by %u that the card draws.\n",
      operation, width, height, m_largestWidth, m_largestHeight);
  return false;
}

void OmWindow::Impl::Qt::makeWidget()
{
  dropNames();
  const boost::shared_ptr<Qt> partner = sharePartner();
  if (!partner && getShare())
    Om::Print::instance().ostream(Om::Print::Error, OpenSignature) << "Unable to share windows of different types.\n";
  QGLWidget* const shareWidget = partner ? partner->getWidget() : nullptr;

  m_pWidget = new OmQGLWidget(m_pWindow, QGLFormat(QGL::StereoBuffers), nullptr, shareWidget);
  if (m_pWidget->format().testOption(QGL::StereoBuffers))
  {
    Om::Print::instance().ostream(Om::Print::Report, OpenSignature) << "Stereo is supported.\n";
    m_pWindow->setStereoSupported();
    m_pWidget->setWindowFlags(m_windowFlags);
  }
  else
  {
    delete m_pWidget;
    m_pWidget = new OmQGLWidget(m_pWindow, nullptr, shareWidget, m_windowFlags);
  }
  if (shareWidget && !m_pWidget->isSharing())
  {
    Om::Print::instance().ostream(Om::Print::Error, OpenSignature) << "Problem sharing window.\n";
    m_share.reset();
  }
}

void OmWindow::Impl::Qt::placeHidden() const
{
  // Qt passes a hidden widget's position and size to its native window only when the widget is shown. The native
  // window's first event then reports the size with which it was made, and Qt resizes the widget to that. So both are
  // passed here.
  QWindow* const native = m_pWidget->windowHandle();
  if (!native || m_pWidget->isVisible())
    return;
  if (m_pWidget->isWindow())
    native->setGeometry(m_pWidget->geometry());
  else
    native->resize(m_pWidget->size());
}

void OmWindow::Impl::Qt::joinShareGroup()
{
  if (m_groupNames)
    return; // still the widget of the previous opening
  const boost::shared_ptr<Qt> partner = sharePartner();
  const QGLWidget* const shared = partner ? partner->getWidget() : nullptr;
  const bool sharing = shared && QGLContext::areSharing(m_pWidget->context(), shared->context());
  holdNames(sharing ? partner->m_groupNames : boost::make_shared<OmShareGroup::Names>());
}

void OmWindow::Impl::Qt::reportFormat() const
{
  const QGLFormat format = m_pWidget->format(); // a size of -1 means that there is no such buffer
  Om::Print::instance().ostream(Om::Print::WindowFormat, OpenSignature)
      << "Window properties:\n"
      << "doublebuffer = " << onOff(format.testOption(QGL::DoubleBuffer)) << std::endl
      << "stereo = " << onOff(format.testOption(QGL::StereoBuffers)) << std::endl
      << "pixel type = " << (format.testOption(QGL::Rgba) ? "RGBA" : "Index") << std::endl
      << "color bits = " << format.redBufferSize() << "/" << format.greenBufferSize() << "/" << format.blueBufferSize()
      << "/" << format.alphaBufferSize() << std::endl
      << "accum bits = " << onOff(format.testOption(QGL::AccumBuffer)) << ", " << std::max(0, format.accumBufferSize())
      << std::endl
      << "Depth buffer = " << onOff(format.testOption(QGL::DepthBuffer)) << ", "
      << std::max(0, format.depthBufferSize()) << std::endl
      << "Stenc bits = " << onOff(format.testOption(QGL::StencilBuffer)) << ", "
      << std::max(0, format.stencilBufferSize()) << std::endl
      << std::endl;
}

void OmWindow::Impl::Qt::closeWindow()
{
  desktop().close();
  deleteLastNames();
  if (m_ownsWidget)
    delete m_pWidget;
  m_pWidget = nullptr;
  m_ownsWidget = true;
  dropNames();
  m_pWindow = nullptr;
}

OmQtDesktopWindow& OmWindow::Impl::Qt::desktop() const
{
  return static_cast<OmQtDesktopWindow&>(*m_desktop);
}

boost::shared_ptr<OmWindow::Impl::Qt> OmWindow::Impl::Qt::sharePartner() const
{
  return boost::dynamic_pointer_cast<Qt>(getShare());
}
