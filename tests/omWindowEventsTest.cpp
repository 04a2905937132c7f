#include "tests/support/x11Test.h"

#include "image/omImage.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowEvent.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>

#include <cstdlib>
#include <fstream>

#include <sys/socket.h>

/// Notes what the library asks for; what the user does goes to the real one.
OM_EXPORT int XResizeWindow(Display* display, Window window, unsigned int width, unsigned int height)
{
  note("XResizeWindow", width, height);
  return OM_REAL(XResizeWindow)(display, window, width, height);
}

namespace
{

/// On a display of its own, with the window manager that OM_TEST_WM names or none.
class omWindowEventsTest : public X11Test
{
protected:
  Atom atom(const char* name) const { return XInternAtom(m_display, name, False); }

  void sendProtocol(Window window, const char* protocol, long value = 0) const
  {
    XEvent event = {};
    event.xclient = {ClientMessage, 0, True, m_display, window, atom("WM_PROTOCOLS"), 32, {}};
    event.xclient.data.l[0] = static_cast<long>(atom(protocol));
    event.xclient.data.l[1] = value;
    XSendEvent(m_display, window, False, NoEventMask, &event);
    XSync(m_display, False);
  }

  /// The bytes of a property of format 8, or its numbers as text.
  std::string property(Window window, const char* name) const
  {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(m_display, window, atom(name), 0, 100, False, AnyPropertyType, &type, &format, &count, &rest,
                       &data);
    std::ostringstream text;
    for (unsigned long i = 0; i < count; ++i)
      if (format == 8)
        text << data[i];
      else
        text << std::hex << (i ? " " : "") << reinterpret_cast<unsigned long*>(data)[i];
    XFree(data);
    return text.str();
  }

  /// The color in the middle of the window, as the screen shows it; -1 while it cannot be read.
  long pixel(Window window) const
  {
    const XWindowAttributes now = attributes(window);
    if (now.map_state != IsViewable)
      return -1;
    XImage* const image = XGetImage(m_display, window, now.width / 2, now.height / 2, 1, 1, AllPlanes, ZPixmap);
    const long result = image ? static_cast<long>(XGetPixel(image, 0, 0) & 0xffffff) : -1;
    if (image)
      XDestroyImage(image);
    return result;
  }

  /// Polls until the condition holds.
  template <typename Condition>
  static bool polled(OmWindow& window, Condition condition)
  {
    return eventually([&] { return window.pollEvents(), condition(); });
  }

  const std::string m_manager = std::getenv("OM_TEST_WM") ? std::getenv("OM_TEST_WM") : "";
  const bool m_openbox = m_manager == "openbox";
};

std::string geometry(const OmWindow& window)
{
  OmU32 width = 0;
  OmU32 height = 0;
  OmU32 x = 0;
  OmU32 y = 0;
  window.getWindowSizeAndPos(width, height, x, y);
  return std::to_string(width) + "x" + std::to_string(height) + "+" + std::to_string(int(x)) + "+" +
         std::to_string(int(y));
}

OmImage colored(OmU32 width, OmU32 height)
{
  OmImage image(3, width, height);
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    image.data()[i] = static_cast<OmU8>(0x30 + i % 3 * 0x40);
  return image;
}

constexpr long Color = 0x3070b0;

/// "press 41 'A' +1; move 10,20"
std::string takeAll(OmWindow& window)
{
  constexpr const char* Names[] = {"press", "release", "down", "up", "wheel", "move", "exit"};
  std::ostringstream text;
  for (OmWindowEvent event; window.takeEvent(event);)
  {
    text << (text.tellp() ? "; " : "") << Names[event.type];
    if (event.type <= OmWindowEvent::KeyReleased)
      text << ' ' << std::hex << event.key << std::dec << (event.text.empty() ? "" : " '" + event.text + "'");
    else if (event.type == OmWindowEvent::WheelTurned)
      text << ' ' << event.wheel;
    else if (event.type == OmWindowEvent::MouseMoved)
      text << ' ' << event.x << ',' << event.y;
    else if (event.type != OmWindowEvent::MouseExited)
      text << ' ' << event.button << " at " << event.x << ',' << event.y;
    text << (event.modifiers ? " +" + std::to_string(event.modifiers) : "");
  }
  return text.str();
}

TEST_F(omWindowEventsTest, KeysAndTheMouseArriveAsTheUserUsesThem)
{
  X11Window window(100, 80);
  window.setWindowPos(20, 30, true);
  ASSERT_TRUE(window.init());
  XWarpPointer(m_display, None, m_root, 0, 0, 0, 0, 40, 50);
  XSync(m_display, False);
  window.pollEvents();
  constexpr const char* Steps[][2] = {
      {"mousemove 30 50", "move 10,20"},
      {"key a", "press 61 'a'; release 61"},
      {"key shift+a", "press ffe1; press 41 'A' +1; release ffe1 +1; release 61"},
      {"key ctrl+alt+c", "press ffe3; press ffe9 +2; press 63 +6; release ffe3 +6; release ffe9 +4; release 63"},
      {"key Escape Return F1", "press ff1b; release ff1b; press ff0d; release ff0d; press ffbe; release ffbe"},
      {"key shift+Tab", "press ffe1; press fe20 +1; release ffe1 +1; release ff09"},
      {"key eacute", "press e9 '\xc3\xa9'; release e9"},
      {"key EuroSign", "press 20ac '\xe2\x82\xac'; release 20ac"},
      {"click 4 click 5 click 6 click 7 click 3", "wheel 1; wheel -1; down 3 at 10,20; up 3 at 10,20"},
      {"keydown super click 1 keyup super", "press ffeb; down 1 at 10,20 +8; up 1 at 10,20 +8; release ffeb +8"},
      {"mousemove 31 51 mousemove 32 52 mousemove 33 53 click 2", "move 13,23; down 2 at 13,23; up 2 at 13,23"},
      {"mousemove 700 500", "exit"},
  };
  for (const auto& step : Steps)
  {
    const std::string command = step[0];
    const std::string expected = step[1];
    if (command == "key eacute") // which comes while the window is open
    {
      int first = 0;
      int last = 0;
      XDisplayKeycodes(m_display, &first, &last);
      KeySym added[] = {XStringToKeysym("eacute"), XStringToKeysym("EuroSign")};
      XChangeKeyboardMapping(m_display, last - 1, 1, added, 2);
      XSync(m_display, False);
    }
    ASSERT_EQ(std::system(("xdotool " + command).c_str()), 0);
    std::string seen;
    EXPECT_TRUE(polled(window,
                       [&]
                       {
                         const std::string more = takeAll(window);
                         seen += (seen.empty() || more.empty() ? "" : "; ") + more;
                         return seen.size() >= expected.size();
                       }));
    EXPECT_EQ(seen, expected) << command;
  }
}

TEST_F(omWindowEventsTest, AHeldKeyIsPressedAgainAndReleasedOnce)
{
  X11Window window(100, 80);
  ASSERT_TRUE(window.init());
  XWarpPointer(m_display, None, m_root, 0, 0, 0, 0, 40, 50);
  XkbSetAutoRepeatRate(m_display, XkbUseCoreKbd, 20, 10); // milliseconds
  XSync(m_display, False);
  window.pollEvents();
  std::string seen;
  ASSERT_EQ(std::system("xdotool keydown x"), 0);
  EXPECT_TRUE(polled(window, [&] { return (seen += takeAll(window) + ' ').find("78", 40) != std::string::npos; }));
  EXPECT_EQ(seen.find("release"), std::string::npos) << seen;
  ASSERT_EQ(std::system("xdotool keyup x"), 0);
  EXPECT_TRUE(polled(window, [&] { return takeAll(window).find("release 78") != std::string::npos; }));
}

TEST_F(omWindowEventsTest, TheUsersSizeAndPlaceAreTakenOver)
{
  X11Window window(100, 80);
  ASSERT_TRUE(window.init());
  EXPECT_TRUE(eventually([&] { return m_manager.empty() || frame(window.id()) != window.id(); }));
  window.pollEvents();
  takeCalls();
  OM_REAL(XResizeWindow)(m_display, window.id(), 150, 90);
  OM_REAL(XResizeWindow)(m_display, window.id(), 160, 120);
  XSync(m_display, False);
  EXPECT_TRUE(polled(window, [&] { return geometry(window).substr(0, 7) == "160x120"; })) << geometry(window);
  GLint viewport[4] = {};
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_TRUE(viewport[2] == 160 && viewport[3] == 120);
  const std::string calls = takeCalls();
  EXPECT_NE(calls.find("renderScene 1"), std::string::npos);
  EXPECT_EQ(calls.find("XResizeWindow"), std::string::npos) << "which would fight with the user";

  XMoveWindow(m_display, window.id(), 120, 140);
  XSync(m_display, False);
  window.setHideWindow(false); // which takes a report from the queue
  OmU32 x = 0;
  OmU32 y = 0;
  EXPECT_TRUE(polled(window, [&] { return window.getWindowPos(x, y), x > 110 && x < 130 && y > 110; })) << x;
  const XWindowAttributes before = attributes(frame(window.id()));
  window.x11().setWindowPos(x, y); // where it is
  window.setWindowSize(170, 120);  // which happens afterwards
  EXPECT_TRUE(eventually([&] { return attributes(window.id()).width == 170; }));
  const XWindowAttributes after = attributes(frame(window.id()));
  EXPECT_EQ(before.x, after.x);
  EXPECT_EQ(before.y, after.y);
}

TEST_F(omWindowEventsTest, WhatWasCoveredIsDrawnAgain)
{
  OmSimpleWindow window;
  const boost::shared_ptr<OpenX11> impl = boost::make_shared<OpenX11>();
  window.setImpl(impl);
  ASSERT_TRUE(window.setImageBuffer(colored(100, 80), true));
  const Window id = impl->m_xWindow;
  EXPECT_TRUE(polled(window, [&] { return pixel(id) == Color; }));
  const Window cover = XCreateSimpleWindow(m_display, m_root, 0, 0, 300, 300, 0, 0, 0xff0000);
  XMapRaised(m_display, cover);
  EXPECT_TRUE(eventually([&] { return pixel(cover) == 0xff0000; }));
  XDestroyWindow(m_display, cover);
  EXPECT_NE(pixel(id), Color) << "the server keeps what is covered: nothing is tested";
  EXPECT_TRUE(polled(window, [&] { return pixel(id) == Color; }));

  OM_REAL(XResizeWindow)(m_display, id, 400, 300);
  EXPECT_TRUE(polled(window, [&] { return attributes(id).width == 400 && pixel(id) == Color; }));
  XImage* const corner = XGetImage(m_display, id, 398, 1, 1, 1, AllPlanes, ZPixmap);
  EXPECT_EQ(XGetPixel(corner, 0, 0) & 0xffffff, static_cast<unsigned long>(Color)) << "the picture fills the window";
  XDestroyImage(corner);
}

TEST_F(omWindowEventsTest, TheCloseButtonHidesTheWindow)
{
  for (const bool polls : {false, true})
  {
    X11Window window(100, 80);
    ASSERT_TRUE(window.init());
    const auto look = [&] { return polls ? void(window.pollEvents()) : window.swapBuffers(); };
    for (int i = 0; i < 2; ++i)
    {
      look();
      EXPECT_FALSE(window.isCloseRequested());
      sendProtocol(window.id(), "WM_DELETE_WINDOW");
      EXPECT_TRUE(eventually([&] { return look(), window.isCloseRequested(); }));
      EXPECT_TRUE(window.getHideWindow());
      EXPECT_TRUE(eventually([&] { return !isMapped(window.id()); }));
      look();
      EXPECT_TRUE(window.isCloseRequested()) << "until it is shown";
      EXPECT_FALSE(window.pollEvents());
      window.setHideWindow(false);
      EXPECT_TRUE(window.pollEvents());
      EXPECT_TRUE(eventually([&] { return isMapped(window.id()); }));
    }
  }
}

TEST_F(omWindowEventsTest, TheProgramMayCloseTheWindowWhilePolling)
{
  struct ClosingWindow : X11Window
  {
    OmBoolean renderScene(OmBoolean) override { return closeWindow(), false; }
    void setHideWindow(OmBoolean) override { closeWindow(); }
  };
  for (const bool whenHidden : {false, true})
  {
    ClosingWindow window;
    ASSERT_TRUE(window.init());
    OM_REAL(XResizeWindow)(m_display, window.id(), 30, 40);
    XClearArea(m_display, window.id(), 0, 0, 0, 0, True);
    sendProtocol(window.id(), whenHidden ? "WM_DELETE_WINDOW" : "none");
    EXPECT_TRUE(polled(window, [&] { return !window.getImpl(); }));
    EXPECT_FALSE(window.pollEvents());
  }
}

TEST_F(omWindowEventsTest, AWindowThatAnotherProgramDestroysIsClosed)
{
  X11Window window(100, 80);
  for (int opening = 0; opening < 2; ++opening)
  {
    ASSERT_TRUE(window.init());
    ASSERT_TRUE(window.pollEvents());
    XDestroyWindow(m_display, window.id());
    XSync(m_display, False);
    EXPECT_TRUE(polled(window, [&] { return window.isCloseRequested(); }));
    EXPECT_FALSE(window.getHideWindow()) << "as by the close button";
    EXPECT_FALSE(window.pollEvents());
    EXPECT_FALSE(window.waitEvents(0.0));
    window.setName("gone");
    window.setWindowSizeAndPos(50, 60, 70, 80);
    window.setIcon(colored(32, 32));
    EXPECT_FALSE(window.setFillScreen(true));
    window.setHideWindow(false);
    window.swapBuffers();
    EXPECT_TRUE(window.isCloseRequested());
    window.closeWindow(); // an X error would end the process
    window.setImpl(boost::make_shared<OpenX11>());
  }
}

TEST_F(omWindowEventsTest, PingsAreAnsweredOnceTheProgramPolls)
{
  X11Window window;
  ASSERT_TRUE(window.init());
  const auto announced = [&] { return property(window.id(), "WM_PROTOCOLS"); };
  std::ostringstream both;
  both << std::hex << atom("WM_DELETE_WINDOW") << ' ' << atom("_NET_WM_PING");
  EXPECT_EQ(announced(), both.str().substr(0, both.str().find(' ')));
  window.pollEvents();
  EXPECT_TRUE(eventually([&] { return announced() == both.str(); })) << announced();

  XSelectInput(m_display, m_root, SubstructureNotifyMask);
  sendProtocol(window.id(), "_NET_WM_PING", 1234);
  XEvent answer = {};
  const auto isAnswered = [&]
  {
    window.swapBuffers(); // a program that draws and does not poll lives too
    return XCheckTypedWindowEvent(m_display, m_root, ClientMessage, &answer);
  };
  EXPECT_TRUE(eventually(isAnswered));
  EXPECT_EQ(answer.xclient.data.l[0], static_cast<long>(atom("_NET_WM_PING")));
  EXPECT_EQ(answer.xclient.data.l[1], 1234);
}

TEST_F(omWindowEventsTest, DesktopsLearnWhoseWindowItIs)
{
  setenv("RESOURCE_NAME", "instance", 1);
  X11Window window;
  OmImage icon(2, 512, 1);
  for (std::size_t i = 0; i < icon.byteSize(); ++i)
    icon.data()[i] = i < 8 ? OmU8(10 * i) : 0;
  window.setIcon(icon);
  ASSERT_TRUE(window.init());
  unsetenv("RESOURCE_NAME");
  EXPECT_EQ(property(window.id(), "WM_CLASS"), std::string("instance\0OmWindowEventsTest\0", 28));
  std::ostringstream id;
  id << std::hex << getpid();
  EXPECT_EQ(property(window.id(), "_NET_WM_PID"), id.str());
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  EXPECT_EQ(property(window.id(), "WM_CLIENT_MACHINE"), host);
  EXPECT_EQ(property(window.id(), "_NET_WM_ICON").substr(0, 23), "100 1 140a0a0a 3c323232")
      << "the mean of 0, 20 and 10, 30";
  window.setIcon(OmImage());

  constexpr const char* Titles[][2] = {{"plain", "plain"},
                                       {"\xc3\xa9t\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", nullptr},
                                       {"\xe9t\xe9", "\xc3\xa9t\xc3\xa9"},
                                       {"\xc0\xaf", "\xc3\x80\xc2\xaf"},                         // an overlong form
                                       {"\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80"},             // a surrogate
                                       {"\xe2\x82", "\xc3\xa2\xc2\x82"},                         // cut short
                                       {"\xf4\x90\x80\x80", "\xc3\xb4\xc2\x90\xc2\x80\xc2\x80"}, // too large
                                       {"", ""}};
  for (const auto& names : Titles)
  {
    const std::string title = names[0];
    const std::string utf8 = names[1] ? names[1] : title;
    window.setName(title);
    EXPECT_TRUE(eventually([&] { return property(window.id(), "_NET_WM_NAME") == utf8; })) << title;
    EXPECT_EQ(property(window.id(), "WM_NAME"), title);
  }
  EXPECT_EQ(property(window.id(), "_NET_WM_ICON"), "");
}

TEST_F(omWindowEventsTest, TheScreenIsFilledWhereAManagerOffersIt)
{
  X11Window window(100, 80);
  EXPECT_FALSE(window.setFillScreen(true)) << "not open";
  window.setHideWindow(m_openbox); // first by the property, then by messages
  ASSERT_TRUE(window.init());
  EXPECT_EQ(window.setFillScreen(true), m_openbox);
  if (!m_openbox)
    return;
  window.setHideWindow(false);
  for (const bool fill : {true, false, true})
  {
    const std::string size = fill ? "800x600+0+0" : "100x80+";
    EXPECT_TRUE(polled(window, [&] { return geometry(window).compare(0, size.size(), size) == 0; }))
        << geometry(window);
    EXPECT_TRUE(window.setFillScreen(!fill));
  }
}

TEST_F(omWindowEventsTest, WaitingEndsWhenThereIsSomethingToDo)
{
  X11Window window;
  ASSERT_TRUE(window.init());
  const auto drain = [&] { return polled(window, [&] { return !window.waitEvents(0.05); }); };
  EXPECT_TRUE(drain());
  int ends[2] = {};
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_FALSE(window.waitEvents(0.01, ends[0]));
  EXPECT_EQ(write(ends[1], "", 1), 1);
  EXPECT_TRUE(window.waitEvents(-1.0, ends[0]));

  XClearArea(m_display, window.id(), 0, 0, 0, 0, True);
  XSync(m_display, False);
  EXPECT_TRUE(window.waitEvents(-1.0)) << "from the server";
  EXPECT_TRUE(window.waitEvents(-1.0)) << "still there";
  window.swapBuffers();
  EXPECT_TRUE(window.waitEvents(5.0)) << "the swap has taken it, and poll has not seen it";
  EXPECT_TRUE(drain());
}

TEST_F(omWindowEventsTest, ALostServerEndsTheLoop)
{
  const auto ignore = [](Display*, void*) {};
  for (const bool survives : {false, true})
  {
    const auto run = [&]
    {
      X11Window window;
      window.init();
      Display* const display = window.x11().m_pDisplay;
      if (survives)
      {
        XSetIOErrorHandler([](Display*) { return 0; });
        XSetIOErrorExitHandler(display, ignore, nullptr);
      }
      shutdown(ConnectionNumber(display), SHUT_RDWR);
      while (window.pollEvents())
        window.waitEvents(60.0);
      const bool waits = !window.waitEvents(0.01) && !window.waitEvents(0.01);
      window.closeWindow();
      _exit(waits ? 0 : 2);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(survives ? 0 : 1), "");
  }
}

TEST_F(omWindowEventsTest, AnImageIsShownUntilItsUserClosesIt)
{
  const OmImage image = colored(100, 80);
  std::thread user(
      [this]
      {
        Window shown = None;
        const auto isShown = [&]
        {
          for (const Window window : children(m_root))
            if (property(window, "WM_NAME") == "closing" && pixel(window) == Color)
              shown = window;
          return shown != None;
        };
        EXPECT_TRUE(eventually(isShown));
        sendProtocol(shown, "WM_DELETE_WINDOW");
      });
  EXPECT_TRUE(OmSimpleWindow::displayImage(image, 1e9, "closing", 40, 50)); // the alarm comes first
  user.join();
}

long residentKiB()
{
  std::ifstream memory("/proc/self/statm");
  long total = 0;
  long resident = 0;
  memory >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// OM_TEST_EVENTS: how many.
TEST_F(omWindowEventsTest, MemoryDoesNotGrowWithTheEvents)
{
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer keeps what was freed";
#endif
  const char* const given = std::getenv("OM_TEST_EVENTS");
  const int count = given ? std::atoi(given) : 100000;
  constexpr int Types[] = {KeyPress, MotionNotify, ButtonPress, FocusIn, ClientMessage, VisibilityNotify, 100};
  for (const bool polls : {false, true})
  {
    X11Window window(64, 64);
    ASSERT_TRUE(window.init());
    const Window id = window.id();
    long before = 0;
    for (int i = 0; i < count; ++i)
    {
      XEvent event = {};
      event.xclient = {Types[i % 7], 0, True, m_display, id, None, 32, {}};
      if (i % 10 < 7)
        XSendEvent(m_display, id, False, NoEventMask, &event);
      else if (i % 10 < 9)
        XMoveResizeWindow(m_display, id, i % 50, 60, 60 + static_cast<unsigned int>(i) % 9, 60);
      else
        XClearArea(m_display, id, 0, 0, 0, 0, True);
      if (i % 500 == 0)
      {
        XSync(m_display, False);
        takeCalls();
        polls ? void(window.pollEvents()) : window.swapBuffers();
      }
      if (i == count / 5)
        before = residentKiB();
    }
    XSync(m_display, False);
    EXPECT_LT(residentKiB() - before, count / 100) << "KiB; an event takes a fifth of one";
  }
}

} // namespace
