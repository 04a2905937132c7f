#ifndef OM_TESTS_X11_TEST_H
#define OM_TESTS_X11_TEST_H

#include "tests/support/xDouble.h"

#include <gtest/gtest.h>

#include "render/omWindowImplX11.h" // after the test framework, whose names Xlib's macros would replace

#include <boost/make_shared.hpp>

#include <chrono>
#include <thread>
#include <unistd.h>
#include <vector>

/// The back end with its protected members public.
class OpenX11 : public OmWindow::Impl::X11
{
public:
  using X11::m_context;
  using X11::m_pDisplay;
  using X11::m_xWindow;
};

class X11Window : public PlainWindow
{
public:
  explicit X11Window(OmU32 width = 8, OmU32 height = 8)
  {
    setWindowSize(width, height);
    setImpl(boost::make_shared<OpenX11>());
  }
  OpenX11& x11() const { return static_cast<OpenX11&>(*m_pImpl); }
  Window id() const { return x11().m_xWindow; }
};

/// Tests that look at windows from outside, over another connection.
class X11Test : public testing::Test
{
protected:
  void SetUp() override
  {
    alarm(110); // seconds, after which a test program that waits for ever ends
    ASSERT_TRUE(m_display) << "no display";
    m_screen = ScreenCount(m_display) - 1;
    m_root = RootWindow(m_display, m_screen);
  }
  void TearDown() override { OM_REAL(XCloseDisplay)(m_display); }

  /// Waits until the condition holds, because the library's requests reach the server over other connections, some time
  /// later. Returns false after ten seconds.
  template <typename Condition>
  static bool eventually(Condition condition)
  {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition())
    {
      if (std::chrono::steady_clock::now() > end)
        return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
  }

  XWindowAttributes attributes(Window window) const
  {
    XWindowAttributes result = {};
    XGetWindowAttributes(m_display, window, &result);
    return result;
  }
  bool isMapped(Window window) const { return attributes(window).map_state == IsViewable; }

  std::vector<Window> children(Window window, Window* parent = nullptr) const
  {
    Window root = 0;
    Window above = 0;
    Window* list = nullptr;
    unsigned int count = 0;
    Window& over = parent ? *parent : above;
    over = None;
    XQueryTree(m_display, window, &root, &over, &list, &count);
    const std::vector<Window> result(list, list + count);
    XFree(list);
    return result;
  }

  /// The window manager's frame of the window, or the window itself if it has none.
  Window frame(Window window) const
  {
    for (Window parent = window; parent != m_root && parent != None; children(window, &parent))
      window = parent;
    return window;
  }

  Display* const m_display = OM_REAL(XOpenDisplay)(nullptr);
  int m_screen = 0;
  Window m_root = 0;
};

#endif
