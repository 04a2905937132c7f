#include "tests/support/x11Test.h"

#include "tests/support/printCapture.h"

#include <cstdlib>

namespace
{

/// Under the window manager that OM_TEST_WM names.
class OmWindowImplX11Managed : public X11Test
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

  /// Gives the manager time to see that a window is gone. The next connection's windows have its ids, and a manager
  /// that is late takes them for the old ones.
  static void awaitManager() { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }

  std::string m_manager;
  static inline Display* s_looking;      ///< may look at frames that the manager has destroyed meanwhile
  static inline XErrorHandler s_handler; ///< for all other connections
};

TEST_F(OmWindowImplX11Managed, FullScreenTakesTheDecorationsAway)
{
  X11Window window(100, 80);
  ASSERT_TRUE(window.init());
  EXPECT_TRUE(eventually([&] { return isDecorated(window.id()); }));
  PrintCapture capture;
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
  EXPECT_EQ(capture.messages(4).size(), m_manager == "twm" ? 2u : 0u);
  window.closeWindow();
  awaitManager();
}

TEST_F(OmWindowImplX11Managed, WindowsOpenHideAndCloseInEveryState)
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
