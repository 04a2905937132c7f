#include "tests/support/x11Test.h"

#include "tests/support/printCapture.h"

#include <cstdlib>

namespace
{

/// Under the window manager that OM_TEST_WM names.
class omWindowImplX11ManagedTest : public X11Test
{
protected:
  void SetUp() override
  {
    X11Test::SetUp();
    const char* const name = std::getenv("OM_TEST_WM");
    m_manager = name ? name : "";
    ASSERT_NE(m_manager, "") << "no window manager";
    ASSERT_TRUE(eventually([this] { return attributes(m_root).all_event_masks & SubstructureRedirectMask; }));
    s_looking = m_display;
    s_handler = XSetErrorHandler([](Display* display, XErrorEvent* event)
                                 { return display == s_looking ? 0 : s_handler(display, event); });
  }
  void TearDown() override
  {
    XSetErrorHandler(s_handler);
    X11Test::TearDown();
  }
  bool isDecorated(Window window) const { return attributes(frame(window)).height > attributes(window).height; }

  /// Waits until the manager has seen all that happened: it frames windows in the order of events. The next
  /// connection's windows have the ids of the ones before, and a manager that is late takes them for those.
  void awaitManager() const
  {
    const Window marker = XCreateSimpleWindow(m_display, m_root, 0, 0, 20, 20, 0, 0, 0);
    XMapWindow(m_display, marker);
    EXPECT_TRUE(eventually([&] { return isMapped(marker) && frame(marker) != marker; }));
    XDestroyWindow(m_display, marker);
  }

  std::string m_manager;
  static inline Display* s_looking;      ///< may look at frames that the manager has destroyed meanwhile
  static inline XErrorHandler s_handler; ///< for all other connections
};

TEST_F(omWindowImplX11ManagedTest, FullScreenTakesTheDecorationsAway)
{
  X11Window window(100, 80);
  PrintCapture capture;
  window.setFullScreen(true); // to no effect before the window opens
  ASSERT_TRUE(window.init());
  EXPECT_TRUE(eventually([&] { return isDecorated(window.id()); }));
  for (const bool fullScreen : {true, false})
  {
    window.setFullScreen(fullScreen);
    if (m_manager == "mwm") // which reads the property when it takes charge of a window
    {
      window.setHideWindow(true);
      EXPECT_TRUE(eventually([&] { return attributes(window.id()).map_state == IsUnmapped; }));
      window.setHideWindow(false);
    }
    const bool decorated = !fullScreen || m_manager == "twm"; // which does not know the property
    EXPECT_TRUE(eventually([&] { return isMapped(window.id()) && isDecorated(window.id()) == decorated; }));
  }
  const PrintCapture::Message unknown = {4, "Unable to change fullscreen property.\n"};
  EXPECT_EQ(capture.messages(4), Messages(m_manager == "twm" ? 2 : 0, unknown));
  window.closeWindow();
  awaitManager();
}

TEST_F(omWindowImplX11ManagedTest, WindowsOpenHideAndCloseInEveryState)
{
  for (int i = 0; i < 20; ++i)
  {
    X11Window window(100, 80);
    ASSERT_TRUE(window.init());
    EXPECT_TRUE(eventually([&] { return isMapped(window.id()) && frame(window.id()) != window.id(); }));
    switch (i % 4)
    {
    case 0:
      window.setHideWindow(true);
      EXPECT_TRUE(eventually([&] { return !isMapped(window.id()); }));
      window.setHideWindow(false);
      EXPECT_TRUE(eventually([&] { return isMapped(window.id()); }));
      break;
    case 1:
      XIconifyWindow(m_display, window.id(), m_screen);
      EXPECT_TRUE(eventually([&] { return !isMapped(window.id()); }));
      break;
    case 2:
      window.setHideWindow(true);
      window.setHideWindow(false); // the manager has not mapped the window yet when it closes
      break;
    case 3:
      XIconifyWindow(m_display, window.id(), m_screen); // perhaps iconified when it closes
      XFlush(m_display);
      break;
    }
    window.closeWindow();
    awaitManager();
  }
}

} // namespace
