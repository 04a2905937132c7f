#include "render/window/omQtDesktopWindow.h"

#include "image/omImage.h"
#include "render/window/omQtEvent.h"
#include "render/window/omWaitForInput.h"
#include "render/window/omX11FullScreen.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QIcon>
#include <QPixmap>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

/// Sees what Qt delivers to the widget, and the closing of the window that the widget is a part of.
class OmQtDesktopWindow::Filter : public QObject
{
public:
  Filter(OmQtDesktopWindow& desktop, QWidget& widget) : m_desktop(desktop), m_widget(widget)
  {
    widget.installEventFilter(this);
    watchTopLevel();
  }

  bool eventFilter(QObject* object, QEvent* event) override
  {
    if (object == &m_widget)
      m_desktop.see(*event);
    else if (object == m_topLevel && event->type() == QEvent::Close)
      m_desktop.m_closing = true;
    return false;
  }

  /// Watches the window that the widget is a part of by now.
  void watchTopLevel()
  {
    QWidget* const topLevel = m_widget.window();
    if (topLevel == &m_widget || topLevel == m_topLevel)
      return;
    if (m_topLevel)
      m_topLevel->removeEventFilter(this);
    m_topLevel = topLevel;
    topLevel->installEventFilter(this);
  }

private:
  OmQtDesktopWindow& m_desktop;
  QWidget& m_widget;
  QPointer<QWidget> m_topLevel; ///< null while the widget itself is the window
};

OmQtDesktopWindow::OmQtDesktopWindow() = default;

OmQtDesktopWindow::~OmQtDesktopWindow() = default;

void OmQtDesktopWindow::open(OmWindow* window, OmQGLWidget* widget)
{
  m_window = window;
  m_widget = widget;
  m_position = widget->pos();
  m_filter = std::make_unique<Filter>(*this, *widget);
  if (!m_icon.isNull())
    applyIcon();
}

void OmQtDesktopWindow::close()
{
  if (m_takesInput && m_widget)
    m_widget->setMouseTracking(m_hadMouseTracking);
  m_filter.reset();
  m_window = nullptr;
  m_widget = nullptr;
  m_takesInput = false;
  m_closing = false;
  m_wheel = 0;
  clear();
}

void OmQtDesktopWindow::see(QEvent& event)
{
  m_seen = true;
  if (event.type() == QEvent::Close)
    m_closing = true;
  else if (event.type() == QEvent::Show)
  {
    m_closing = false;
    setCloseRequested(false);
  }
  OmWindowEvent translated;
  if (m_takesInput && m_widget && omTranslateQtEvent(*m_widget, event, m_wheel, translated))
    add(translated);
}

void OmQtDesktopWindow::takeInput()
{
  if (!m_widget)
    return;
  m_filter->watchTopLevel(); // the application may have moved the widget into another window
  if (m_takesInput)
    return;
  m_takesInput = true;
  m_hadMouseTracking = m_widget->hasMouseTracking();
  m_widget->setMouseTracking(true); // moves without a button
}

void OmQtDesktopWindow::poll()
{
  if (!m_window || !QCoreApplication::instance())
    return;
  takeInput();
  QCoreApplication::processEvents();
  storePosition();
  finishClosing();
}

/// Keeps where the widget is by now as the window's position, in pixels of the screen.
void OmQtDesktopWindow::storePosition()
{
  if (!m_window || !m_widget || m_position == m_widget->pos())
    return;
  m_position = m_widget->pos();
  // Rounded down, because the back end rounds up: setting it again then leaves the widget where it is.
  const double scale = m_widget->devicePixelRatioF();
  const int x = static_cast<int>(std::floor(m_position.x() * scale));
  const int y = static_cast<int>(std::floor(m_position.y() * scale));
  m_window->setWindowPos(static_cast<OmU32>(x), static_cast<OmU32>(y), false);
}

/// Acts on a widget that was closed, or deleted by its owner.
void OmQtDesktopWindow::finishClosing()
{
  if (!m_window)
    return;
  if (!m_widget)
    setCloseRequested(true);
  else if (m_closing && !m_widget->isVisible()) // nobody has refused
  {
    setCloseRequested(true);
    if (m_widget->isHidden()) // itself, and not only a window around it
      m_window->setHideWindow(true);
  }
  m_closing = false;
}

bool OmQtDesktopWindow::wait(double seconds, int descriptor)
{
  if (!m_window || !QCoreApplication::instance())
    return omWaitForInput(seconds, {descriptor});
  if (m_closing)
    return true;
  bool over = false;
  QTimer timer;
  timer.setSingleShot(true);
  timer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer, &QTimer::timeout, &timer, [&over] { over = true; });
  if (seconds >= 0.0)
    timer.start(static_cast<int>(std::ceil(std::min(seconds * 1000.0, double(std::numeric_limits<int>::max())))));
  std::optional<QSocketNotifier> notifier;
  bool readable = false;
  if (descriptor >= 0)
  {
    notifier.emplace(descriptor, QSocketNotifier::Read);
    QObject::connect(&*notifier, &QSocketNotifier::activated, &*notifier, [&readable] { readable = true; });
  }
  m_seen = false;
  QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  return !over || readable || m_seen;
}

bool OmQtDesktopWindow::setFillScreen(bool fill)
{
  // A child fills its parent, and a window that the window manager does not manage fills nothing.
  if (!m_widget || !m_widget->isWindow() || m_widget->windowFlags() & Qt::X11BypassWindowManagerHint)
    return false;
  if (QGuiApplication::platformName() == "xcb" && !omOffersFullScreen())
    return false;
  Qt::WindowStates states = m_widget->windowState();
  states.setFlag(Qt::WindowFullScreen, fill);
  m_widget->setWindowState(states);
  return true;
}

void OmQtDesktopWindow::setIcon(const OmImage& icon)
{
  const OmU32 channels = icon.channels();
  const bool isGray = channels < 3;
  m_icon = icon.data() ? QImage(int(icon.width()), int(icon.height()), QImage::Format_RGBA8888) : QImage();
  const OmU8* pixel = icon.data();
  for (int y = 0; y < m_icon.height(); ++y)
  {
    OmU8* out = m_icon.scanLine(y);
    for (int x = 0; x < m_icon.width(); ++x, pixel += channels)
      for (const OmU8 value : {pixel[0], pixel[isGray ? 0 : 1], pixel[isGray ? 0 : 2],
                               channels % 2 == 0 ? pixel[channels - 1] : OmU8(255)})
        *out++ = value;
  }
  applyIcon();
}

void OmQtDesktopWindow::applyIcon() const
{
  if (m_widget)
    m_widget->setWindowIcon(m_icon.isNull() ? QIcon() : QIcon(QPixmap::fromImage(m_icon)));
}
