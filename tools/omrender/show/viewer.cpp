#include "tools/omrender/show/viewer.h"

#include "image/omImage.h"
#include "render/omWindowEvent.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/show/viewerContent.h"
#include "tools/omrender/show/viewerIcon.h"
#include "tools/omrender/show/windowCapture.h"
#include "tools/omrender/show/windowManager.h"

#include <algorithm>
#include <cmath>
#include <iostream>

const Viewer::Key Viewer::Keys[] = {
    {'f', Action::FullScreen},   {'q', Action::Close},   {OmWindowEvent::KeyEscape, Action::Close},
    {'1', Action::PixelByPixel}, {'0', Action::Fit},     {'+', Action::ZoomIn},
    {'=', Action::ZoomIn},       {'-', Action::ZoomOut}, {'i', Action::Inform},
};

Viewer::Viewer(ViewerWindow& window, ViewerContent& content, const ShowOptions& options, LibraryLog& log)
    : m_window(window), m_content(content), m_options(options), m_log(log), m_nextFrame(Clock::now())
{
}

void Viewer::run()
{
  open();
  while (!m_closed && m_window.pollEvents())
  {
    takeEvents();
    update();
    draw();
    if (!m_closed)
      m_window.waitEvents(secondsToWait(), m_content.descriptor());
  }
  if (!m_closed && !m_window.getHideWindow()) // which the close button does
    throw Failure(windowDestroyed());
  m_window.makeCurrent();
  checkErrors("cannot show " + quoted(m_content.name()), m_log);
}

void Viewer::open()
{
  const OmImage& image = m_content.image();
  if (m_options.capture.empty())
  {
    m_window.setScale(m_options.scale);
    m_window.setLargest(usableSize());
  }
  m_window.setWindowPos(m_options.position.x(), m_options.position.y(), false);
  m_window.setName(m_content.title());
  m_window.preparePicture({image.width(), image.height()});
  openWindow(m_window, m_log);
  checkErrors("cannot show " + quoted(m_content.name()), m_log);
  m_window.setIcon(viewerIcon());
  m_log.takeReason(""); // a broken icon does not matter
  if (m_options.fullScreen)
    m_window.setFullScreen(true);
  if (m_log.hasErrors())
    failToShowFullScreen(m_log.takeReason(""));
  showContent();
  m_window.settle();
  if (!m_options.capture.empty())
    captureWindow(m_window, m_options, m_content.name(), m_log);
  if (m_options.fullScreen)
    m_window.fill(true);
  startTime();
}

void Viewer::showContent()
{
  if (!m_window.setImageBuffer(m_content.image(), true))
    throw Failure("cannot show " + quoted(m_content.name()) + ": " + m_log.takeReason("no reason was given"));
  checkErrors("cannot show " + quoted(m_content.name()), m_log);
  m_changed = false;
  m_drawn = true;
}

/// Starts the time that each picture has. A capture without a given time is for a script, which nobody answers.
void Viewer::startTime()
{
  constexpr double SecondsOfCapture = 3.0;
  std::optional<double> seconds = m_options.seconds;
  if (!seconds && !m_options.capture.empty())
    seconds = SecondsOfCapture;
  if (seconds)
    m_end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds));
}

/// Takes in what has changed without the user.
void Viewer::update()
{
  constexpr auto Frame = std::chrono::microseconds(16667);
  const Clock::time_point now = Clock::now();
  if (!m_content.isAnimated() || now >= m_nextFrame)
  {
    m_nextFrame = std::max(m_nextFrame, now) + Frame;
    m_changed |= m_content.update();
  }
  if (m_changed)
    showContent();
  if (!m_end || now < *m_end)
    return;
  m_closed = !m_content.advance();
  if (!m_closed)
    showContent();
  startTime();
}

void Viewer::takeEvents()
{
  OmWindowEvent event;
  while (!m_closed && m_window.takeEvent(event))
    act(event);
}

void Viewer::act(const OmWindowEvent& event)
{
  const Point pointer = {event.x, event.y};
  switch (event.type)
  {
  case OmWindowEvent::KeyPressed:
    press(event);
    return;
  case OmWindowEvent::KeyReleased:
    return;
  case OmWindowEvent::MouseExited:
    m_pointer.reset();
    return;
  case OmWindowEvent::MouseMoved:
    drag(pointer);
    break;
  case OmWindowEvent::WheelTurned:
    zoomAbout(pointer, event.wheel);
    break;
  case OmWindowEvent::ButtonPressed:
    if (event.button == OmWindowEvent::LeftButton)
      m_dragged = pointer;
    break;
  case OmWindowEvent::ButtonReleased:
    if (event.button == OmWindowEvent::LeftButton)
      m_dragged.reset();
    break;
  }
  m_pointer = pointer;
}

/// The content's keys come before the viewer's. Those with a modifier are the desktop's.
void Viewer::press(const OmWindowEvent& key)
{
  if (key.modifiers & (OmWindowEvent::Control | OmWindowEvent::Alt | OmWindowEvent::Super))
    return;
  if (m_content.act(key))
  {
    m_changed = true;
    startTime();
    return;
  }
  const OmU32 symbol = key.key >= 'A' && key.key <= 'Z' ? key.key - 'A' + 'a' : key.key;
  for (const Key& known : Keys)
    if (known.symbol == symbol)
      perform(known.action);
}

void Viewer::perform(Action action)
{
  if (m_changed)
    showContent(); // the action is for the picture that the user has asked for
  PictureView& view = m_window.view();
  m_drawn = false;
  switch (action)
  {
  case Action::FullScreen:
    m_window.fill(!m_window.isFilling());
    break;
  case Action::Close:
    m_closed = true;
    break;
  case Action::PixelByPixel:
    view.setZoom(1.0);
    break;
  case Action::Fit:
    view.fit();
    break;
  case Action::ZoomIn:
    view.zoomAbout(view.window().width / 2.0, view.window().height / 2.0, 1);
    break;
  case Action::ZoomOut:
    view.zoomAbout(view.window().width / 2.0, view.window().height / 2.0, -1);
    break;
  case Action::Inform:
    std::cout << m_content.information() << std::endl;
    break;
  }
}

void Viewer::draw()
{
  if (!m_drawn && !m_window.renderScene(true))
    throw Failure("cannot show " + quoted(m_content.name()) + ": " + m_log.takeReason("no reason was given"));
  m_drawn = true;
  const OmString name = title();
  if (name != m_window.getName())
    m_window.setName(name);
}

void Viewer::zoomAbout(const Point& pointer, int steps)
{
  if (m_changed)
    showContent();
  m_window.view().zoomAbout(pointer.x, pointer.y, steps);
  m_drawn = false;
}

void Viewer::drag(const Point& pointer)
{
  if (!m_dragged)
    return;
  m_window.view().pan(pointer.x - m_dragged->x, pointer.y - m_dragged->y);
  m_dragged = pointer;
  m_drawn = false;
}

/// The content's title, the zoom, and the pixel under the pointer with its values.
OmString Viewer::title()
{
  const PictureView& view = m_window.view();
  OmString text = m_content.title() + " - " + std::to_string(std::lround(view.zoom() * 100.0)) + " %";
  const auto pixel = m_pointer ? view.pixelAt(m_pointer->x, m_pointer->y) : std::nullopt;
  if (!pixel)
    return text;
  const OmImage& image = m_content.image();
  text += " - " + std::to_string(pixel->x) + "," + std::to_string(pixel->y) + ":";
  const OmU8* const values = image.data() + (std::size_t{pixel->y} * image.width() + pixel->x) * image.channels();
  for (OmU32 channel = 0; channel < image.channels(); ++channel)
    text += " " + std::to_string(values[channel]);
  return text;
}

/// Until something changes by itself; negative when nothing will.
double Viewer::secondsToWait() const
{
  std::optional<Clock::time_point> next = m_end;
  if (m_content.isAnimated())
    next = std::min(next.value_or(m_nextFrame), m_nextFrame);
  return next ? std::max(0.0, std::chrono::duration<double>(*next - Clock::now()).count()) : -1.0;
}

void failToShowFullScreen(const OmString& reason)
{
  throw Failure("cannot show full screen: " + reason +
                "; start a window manager on this display, or leave out --fullscreen");
}
