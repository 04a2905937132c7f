#include "render/omSimpleWindow.h"
#include "render/omWindowEvent.h"
#include "render/omWindowImplQt.h"
#include "tests/support/pictures.h"
#include "tests/support/qtEvents.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QWheelEvent>
#include <QWindow>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <unistd.h>

// On a display that shows nothing else: its pointer and its keyboard are used.
namespace
{

class UsersWindow : public OmSimpleWindow
{
public:
  explicit UsersWindow(ImplType type = ImplQt)
  {
    OmWindow::setImplType(type);
    setWindowPos(100, 100, false);
  }
  bool open() { return setImageBuffer(makePicture(3, 320, 200), true); }
  bool openAndPoll() { return open() && pollEvents(); }
  void setHideWindow(OmBoolean hide) override
  {
    m_calls += hide ? "hide " : "show ";
    OmSimpleWindow::setHideWindow(hide);
  }
  OmQGLWidget& widget() const { return *dynamic_cast<Impl::Qt&>(*getImpl()).getWidget(); }

  std::string m_calls;
};

class UsersWidget : public OmQGLWidget
{
public:
  using OmQGLWidget::OmQGLWidget;
  void closeEvent(QCloseEvent* event) override { event->ignore(); }
};

/// The event as text: "press 41 A @20,30 Shift".
std::string textOf(const OmWindowEvent& event, bool withPosition)
{
  constexpr std::array<const char*, 7> Types = {"press", "release", "down", "up", "wheel", "move", "exit"};
  constexpr std::array<const char*, 4> Modifiers = {" Shift", " Control", " Alt", " Super"};
  const std::string at = " @" + std::to_string(event.x) + "," + std::to_string(event.y);
  std::string text = Types.at(event.type);
  if (event.key)
    text += " " + QString::number(event.key, 16).toStdString() + (event.text.empty() ? "" : " " + event.text);
  if (event.button)
    text += " " + std::to_string(event.button);
  if (event.wheel)
    text += " " + std::to_string(event.wheel);
  text += withPosition && event.type != OmWindowEvent::MouseExited ? at : "";
  for (std::size_t bit = 0; bit < Modifiers.size(); ++bit)
    text += event.modifiers & (1U << bit) ? Modifiers.at(bit) : "";
  return text;
}

/// The events that come, until they are as many as expected: "press 61 a @20,30; release 61 @20,30".
std::string eventsLike(OmWindow& window, const std::string& expected)
{
  std::string all;
  OmWindowEvent event;
  while (all.size() < expected.size() && window.waitEvents(5.0) && window.pollEvents())
    while (window.takeEvent(event))
      all += (all.empty() ? "" : "; ") + textOf(event, true);
  return all;
}

/// The X id of the only window, once it is shown.
std::string idOfWindow()
{
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> search(
      popen("xdotool search --sync --onlyvisible --name '^OmWindow$'", "r"), pclose);
  char id[32] = "";
  return search && std::fgets(id, sizeof id, search.get()) ? std::to_string(std::atol(id)) : "";
}

struct Application : QApplication
{
  Application() : QApplication(s_argc, s_argv) {}
  static inline int s_argc = 1;
  static inline char s_name[] = "test";
  static inline char* s_argv[] = {s_name, nullptr};
};

class omWindowEventsQtTest : public testing::Test
{
protected:
  omWindowEventsQtTest()
  {
    alarm(110); // seconds, after which a test that waits for ever ends
    qputenv("NO_AT_BRIDGE", "1");
    begin(1.0);
  }
  void begin(double scale)
  {
    m_application.reset();
    qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    m_application.emplace();
  }

  const bool m_isManaged = qgetenv("OM_TEST_WM") == "openbox";
  std::optional<Application> m_application;
};

TEST_F(omWindowEventsQtTest, WhatTheUserDoesComesAsXNamesIt)
{
  const std::pair<std::string, std::string> steps[] = {
      {"mousemove --window ID 23 30", "move @23,30"},
      {"mousemove --window ID 21 30", "move @21,30"},
      {"key a", "press 61 a @21,30; release 61 @21,30"},
      {"key shift+a", "press ffe1 @21,30; press 41 A @21,30 Shift; release ffe1 @21,30 Shift; release 61 @21,30"},
      {"key ctrl+i", "press ffe3 @21,30; press 69 @21,30 Control; release ffe3 @21,30 Control; release 69 @21,30"},
      {"keydown alt keydown super key x", "press ffe9 @21,30; press ffeb @21,30 Alt; press 78 x @21,30 Alt Super; "
                                          "release 78 @21,30 Alt Super"},
      {"keyup super keyup alt", "release ffeb @21,30 Alt Super; release ffe9 @21,30 Alt"},
      {"keydown shift key Tab", "press ffe1 @21,30; press fe20 @21,30 Shift; release fe20 @21,30 Shift"},
      {"keyup shift key F5", "release ffe1 @21,30 Shift; press ffc2 @21,30; release ffc2 @21,30"},
      {"click --repeat 2 --delay 10 1", "down 1 @21,30; up 1 @21,30; down 1 @21,30; up 1 @21,30"},
      {"click 2 click 3", "down 2 @21,30; up 2 @21,30; down 3 @21,30; up 3 @21,30"},
      {"click 8 click 9", "down 8 @21,30; up 8 @21,30; down 9 @21,30; up 9 @21,30"},
      {"click 4 click 5", "wheel 1 @21,30; wheel -1 @21,30"},
      {"keydown ctrl click 4", "press ffe3 @21,30; wheel 1 @21,30 Control"},
      {"keyup ctrl keydown shift", "release ffe3 @21,30 Control; press ffe1 @21,30"},
      {"mousemove --window ID 31 41", "move @31,41 Shift"},
      {"keyup shift", "release ffe1 @31,41 Shift"},
      {"mousemove --window ID 400 300", "exit"},
  };
  for (const auto& [type, scale] :
       {std::pair(OmWindow::ImplQt, 1.0), {OmWindow::ImplQt, 1.25}, {OmWindow::ImplX11, 1.0}})
  {
    begin(scale);
    UsersWindow window(type);
    ASSERT_TRUE(window.openAndPoll());
    const std::string id = idOfWindow();
    ASSERT_EQ(std::system(("xdotool mousemove 700 500 windowfocus --sync " + id).c_str()), 0);
    settle();
    EXPECT_TRUE(window.pollEvents());
    for (OmWindowEvent event; window.takeEvent(event);)
      continue;
    for (auto [command, expected] : steps)
    {
      if (const std::size_t at = command.find("ID"); at != std::string::npos)
        command.replace(at, 2, id);
      ASSERT_EQ(std::system(("xdotool " + command).c_str()), 0);
      EXPECT_EQ(eventsLike(window, expected), expected) << command;
    }
  }
}

TEST_F(omWindowEventsQtTest, EventsOfOtherPlatformsHaveXNames)
{
  UsersWindow window;
  ASSERT_TRUE(window.openAndPoll());
  const auto sent = [&](QEvent&& event)
  {
    QCoreApplication::sendEvent(&window.widget(), &event);
    OmWindowEvent taken;
    return window.takeEvent(taken) ? textOf(taken, false) : "";
  };
  const std::tuple<int, Qt::KeyboardModifiers, const char*, std::string> keys[] = {
      {Qt::Key_A, Qt::NoModifier, "a", "press 61 a"},
      {Qt::Key_A, Qt::ShiftModifier, "A", "press 41 A Shift"},
      {Qt::Key_A, Qt::ControlModifier, "\x01", "press 61 Control"},
      {Qt::Key_Eacute, Qt::NoModifier, "\u00e9", "press e9 \u00e9"},
      {Qt::Key_Eacute, Qt::ControlModifier, "", "press e9 Control"},
      {Qt::Key_Delete, Qt::NoModifier, "\x7f", "press ffff"},
      {Qt::Key_F12, Qt::NoModifier, "", "press ffc9"},
      {Qt::Key_unknown, Qt::NoModifier, "", "press"},
      {0x20ac, Qt::NoModifier, "\u20ac", "press 10020ac \u20ac"},
  };
  for (const auto& [key, modifiers, text, expected] : keys)
  {
    EXPECT_EQ(sent(QKeyEvent(QEvent::KeyPress, key, modifiers, text)), expected);
    EXPECT_EQ(sent(QKeyEvent(QEvent::KeyPress, key, modifiers, text, true)), expected) << "repeated";
    EXPECT_EQ(sent(QKeyEvent(QEvent::KeyRelease, key, modifiers, text, true)), "");
  }
  for (const auto& [turned, steps] : {std::pair(60, 0), {90, 1}, {-60, 0}, {-60, -1}, {360, 3}}) // parts add up
    EXPECT_EQ(sent(QWheelEvent({}, {}, {}, QPoint(0, turned), {}, {}, Qt::ScrollUpdate, false)),
              steps ? "wheel " + std::to_string(steps) : "");
}

TEST_F(omWindowEventsQtTest, ClosingHidesAndAsks)
{
  const std::tuple<const char*, std::function<void(UsersWindow&)>, bool, const char*> cases[] = {
      {"the close button", [](UsersWindow& w) { w.widget().windowHandle()->close(); }, true, "hide "},
      {"closed by the program", [](UsersWindow& w) { w.widget().close(); }, true, "hide "},
      {"shown again", [](UsersWindow& w) { w.widget().close(), w.widget().show(); }, false, ""},
      {"shown again and hidden", [](UsersWindow& w) { w.widget().close(), w.widget().show(), w.widget().hide(); },
       false, ""},
      {"deleted", [](UsersWindow& w) { delete &w.widget(); }, true, ""},
      {"closing deletes it", [](UsersWindow& w) { w.widget().setAttribute(Qt::WA_DeleteOnClose), w.widget().close(); },
       true, "hide "},
  };
  for (const auto& [name, close, asked, calls] : cases)
  {
    UsersWindow window;
    ASSERT_TRUE(window.openAndPoll());
    close(window);
    EXPECT_FALSE(window.isCloseRequested()) << name;
    EXPECT_EQ(window.pollEvents(), !asked) << name;
    EXPECT_EQ(window.isCloseRequested(), asked) << name;
    EXPECT_EQ(window.m_calls, calls) << name;
    EXPECT_EQ(window.getHideWindow(), *calls != 0) << name;
    window.setHideWindow(false);
    EXPECT_EQ(window.isCloseRequested(), std::string(name).find("deleted") == 0) << name;
  }
}

TEST_F(omWindowEventsQtTest, AProgramThatNeverPollsSeesNothingOfIt)
{
  UsersWindow window;
  ASSERT_TRUE(window.open());
  QCoreApplication::postEvent(&window.widget(), new QKeyEvent(QEvent::KeyPress, Qt::Key_A, {}, "a"));
  QCoreApplication::processEvents();
  window.widget().windowHandle()->close();
  settle();
  EXPECT_FALSE(window.widget().isVisible() || window.widget().hasMouseTracking());
  EXPECT_FALSE(window.isCloseRequested() || window.getHideWindow());
  EXPECT_EQ(window.m_calls, "");
  OmWindowEvent event;
  EXPECT_FALSE(window.takeEvent(event));
}

TEST_F(omWindowEventsQtTest, WidgetsOfTheApplicationArePolledToo)
{
  UsersWindow window;
  QWidget panel;
  const auto impl = boost::make_shared<OmWindow::Impl::Qt>();
  UsersWidget widget(&window, nullptr, nullptr, {});
  impl->setWidget(&widget, false);
  window.setImpl(impl);
  ASSERT_TRUE(window.openAndPoll());
  widget.close();
  EXPECT_TRUE(window.pollEvents()) << "the widget has refused";
  widget.setParent(&panel);
  widget.show();
  panel.show();
  EXPECT_TRUE(window.pollEvents());
  panel.close();
  EXPECT_FALSE(window.pollEvents());
  EXPECT_FALSE(window.getHideWindow()) << "it is shown again with the panel";
  panel.show();
  EXPECT_TRUE(window.pollEvents());
  EXPECT_TRUE(widget.hasMouseTracking());
  window.closeWindow();
  EXPECT_FALSE(widget.hasMouseTracking()) << "as the application had it";
  panel.close();
  EXPECT_FALSE(window.pollEvents());
}

TEST_F(omWindowEventsQtTest, TheWindowMayBeClosedWhileItIsPolled)
{
  for (const bool closed : {true, false})
  {
    UsersWindow window;
    ASSERT_TRUE(window.openAndPoll());
    const auto impl = window.getImpl();
    QObject::connect(&window.widget(), &OmQGLWidget::signalWindowClose,
                     [&] { closed ? window.closeWindow() : window.setHideWindow(false); });
    QMetaObject::invokeMethod(&window.widget(), &QWidget::close, Qt::QueuedConnection);
    EXPECT_FALSE(window.pollEvents());
    EXPECT_EQ(window.getImpl() == nullptr, closed);
    window.closeWindow();
    window.setImpl(impl);
    EXPECT_TRUE(window.openAndPoll()) << "the next opening knows nothing of it";
  }
}

TEST_F(omWindowEventsQtTest, WaitingEndsWithTheTimeOrAnEvent)
{
  UsersWindow window;
  EXPECT_FALSE(window.waitEvents(0.0)) << "not open";
  ASSERT_TRUE(window.open());
  int pipes[2] = {};
  ASSERT_EQ(pipe(pipes), 0);
  for (const bool lastWindowClosed : {false, true})
  {
    if (lastWindowClosed)
      QCoreApplication::exit(); // as Qt does when an application's last window closes
    EXPECT_TRUE(eventually([&] { return !window.waitEvents(0.2, pipes[0]); })) << "it does not spin";
    QCoreApplication::postEvent(&window.widget(), new QEvent(QEvent::User));
    EXPECT_TRUE(window.waitEvents(-1.0));
    EXPECT_EQ(write(pipes[1], "x", 1), 1);
    EXPECT_TRUE(window.waitEvents(-1.0, pipes[0]));
    EXPECT_TRUE(window.waitEvents(0.0, pipes[0]));
    char byte = 0;
    EXPECT_EQ(read(pipes[0], &byte, 1), 1);
  }
  window.widget().close();
  settle();
  EXPECT_TRUE(window.waitEvents(-1.0)) << "there is a close to act on";
  EXPECT_FALSE(window.pollEvents());
}

TEST_F(omWindowEventsQtTest, AStoredPositionLeavesTheWidgetWhereItIs)
{
  for (const double scale : {1.0, 1.25})
  {
    begin(scale);
    UsersWindow window;
    ASSERT_TRUE(window.open());
    ASSERT_TRUE(eventually([&] { return window.pollEvents() && window.widget().windowHandle()->isExposed(); }));
    window.widget().windowHandle()->setPosition(167, 133); // as what happens outside of the widget
    ASSERT_TRUE(eventually([&] { return window.pollEvents() && window.widget().geometry().x() == 167; }));
    const QPoint position = window.widget().pos();
    OmU32 x = 0;
    OmU32 y = 0;
    window.getWindowPos(x, y);
    EXPECT_EQ(QPoint(int(x), int(y)), QPoint(int(position.x() * scale), int(position.y() * scale)));
    window.setWindowPos(0, 0, false);
    window.pollEvents();
    window.setWindowPos(x, y, true);
    EXPECT_EQ(window.widget().pos(), position);
    window.setWindowPos(0, 0, false);
    window.pollEvents();
    window.getWindowPos(x, y);
    EXPECT_EQ(x + y, 0U) << "kept for the next opening";
  }
}

TEST_F(omWindowEventsQtTest, TheScreenIsFilledWhereTheManagerOffersIt)
{
  UsersWindow window;
  EXPECT_FALSE(window.setFillScreen(true));
  ASSERT_TRUE(window.open());
  const auto hasSize = [&](const QSize& size)
  {
    OmU32 width = 0;
    OmU32 height = 0;
    window.getWindowSize(width, height);
    return window.pollEvents() && size == QSize(int(width), int(height));
  };
  ASSERT_TRUE(eventually([&] { return window.widget().windowHandle()->isExposed(); }));
  for (const bool fill : {true, false})
  {
    EXPECT_EQ(window.setFillScreen(fill), m_isManaged);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    EXPECT_TRUE(eventually([&] { return hasSize(m_isManaged && fill ? screen : QSize(320, 200)); }));
  }
}

TEST_F(omWindowEventsQtTest, IconsOfAllFormatsStayForTheNextOpening)
{
  UsersWindow window;
  window.setImpl(boost::make_shared<OmWindow::Impl::Qt>());
  for (const OmU32 channels : {1U, 2U, 3U, 4U})
  {
    OmImage image(channels, 32, 32);
    for (OmU32 c = 0; c < channels; ++c)
      image.data()[33 * channels + c] = static_cast<OmU8>(250 - 40 * c);
    window.setIcon(image);
    ASSERT_TRUE(window.open());
    const QColor pixel = window.widget().windowIcon().pixmap(32).toImage().pixelColor(1, 1);
    const int alpha = channels % 2 ? 255 : 290 - 40 * static_cast<int>(channels);
    EXPECT_EQ(pixel.alpha(), alpha);
    EXPECT_NEAR(pixel.green(), channels < 3 ? 250 : 210, 2) << "pixmaps keep colours multiplied by alpha";
  }
  window.setIcon(OmImage());
  EXPECT_TRUE(window.widget().windowIcon().isNull());
}

TEST_F(omWindowEventsQtTest, WithoutAnApplicationNothingHappens)
{
  m_application.reset();
  UsersWindow window;
  window.setImpl(boost::make_shared<OmWindow::Impl::Qt>());
  window.setIcon(OmImage(1, 32, 32));
  EXPECT_FALSE(window.pollEvents() || window.waitEvents(0.0) || window.setFillScreen(true));
}

} // namespace
