#include "render/omSimpleWindow.h"

#include "render/omGL.h"
#include "render/omTexture.h"
#include "tests/support/capture.h"
#include "tests/support/printCapture.h"
#include "tests/support/qtEvents.h"

#include <QApplication>
#include <QPixmap>
#include <QScreen>
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xutil.h> // after the test framework and Qt, whose names its macros would replace
#include <boost/make_shared.hpp>

#include <array>
#include <cstdlib>

// What every back end has to do, on each of them, on a display that shows nothing else.
namespace
{

class omWindowBackEndTest : public testing::TestWithParam<OmWindow::ImplType>
{
protected:
  void SetUp() override
  {
    ASSERT_TRUE(m_display) << "no display";
    OmWindow::setImplType(GetParam());
  }
  void TearDown() override { XCloseDisplay(m_display); }

  /// The window with that title, however deep a window manager has put it; None when there is none.
  Window find(const OmString& title, Window parent) const
  {
    Window* children = nullptr;
    unsigned int count = 0;
    Window found = None;
    XQueryTree(m_display, parent, &found, &parent, &children, &count);
    found = None;
    for (unsigned int i = 0; i < count && !found; ++i)
      found = hasTitle(children[i], title) ? children[i] : find(title, children[i]);
    XFree(children);
    return found;
  }

  /// By either property: Qt sets WM_NAME through a connection that it flushes later.
  bool hasTitle(Window window, const OmString& title) const
  {
    bool is = false;
    for (const Atom property : {XA_WM_NAME, XInternAtom(m_display, "_NET_WM_NAME", False)})
    {
      XTextProperty text = {};
      if (XGetTextProperty(m_display, window, &text, property))
        is |= title == reinterpret_cast<const char*>(text.value);
      XFree(text.value);
    }
    return is;
  }

  /// Size and position of the window, and whether it is on the screen; empty when there is none.
  std::string look(const OmWindow& window) const
  {
    const Window id = find(window.getName(), DefaultRootWindow(m_display));
    XWindowAttributes now = {};
    if (!id || !XGetWindowAttributes(m_display, id, &now))
      return {};
    Window child = None;
    XTranslateCoordinates(m_display, id, now.root, 0, 0, &now.x, &now.y, &child);
    return std::to_string(now.width) + "x" + std::to_string(now.height) + "+" + std::to_string(now.x) + "+" +
           std::to_string(now.y) + (now.map_state == IsViewable ? " shown" : " hidden");
  }

  /// Whether the screen shows exactly the picture at the place of the window.
  bool shows(const OmWindow& window, const OmImage& picture) const
  {
    const int width = static_cast<int>(picture.width());
    const int height = static_cast<int>(picture.height());
    const Window id = find(window.getName(), DefaultRootWindow(m_display));
    const QPixmap screen = QGuiApplication::primaryScreen()->grabWindow(id);
    return screen.toImage().convertToFormat(QImage::Format_RGB888) ==
           QImage(picture.data(), width, height, 3 * width, QImage::Format_RGB888);
  }

  int m_argc = 1;
  char m_name[5] = "test";
  char* m_argv[2] = {m_name, nullptr};
  QApplication m_application{m_argc, m_argv};
  Display* m_display = XOpenDisplay(nullptr);
};

TEST_P(omWindowBackEndTest, WindowsFollowTheirSettings)
{
  OmSimpleWindow window;
  window.setName("first");
  window.setWindowSizeAndPos(64, 48, 20, 30);
  const std::pair<const char*, void (*)(OmWindow&)> steps[] = {
      {"64x48+20+30 shown", [](OmWindow& w) { EXPECT_TRUE(w.init() && w.init()); }},
      {"32x16+20+30 shown", [](OmWindow& w) { w.setWindowSize(32, 16); }},
      {"32x16+1+2 shown", [](OmWindow& w) { w.setWindowPos(1, 2, true); }},
      {"10x11+12+13 shown", [](OmWindow& w) { w.setWindowSizeAndPos(10, 11, 12, 13); }},
      {"10x11+12+13 shown", [](OmWindow& w) { w.setName("second"); }},
      {"10x11+12+13 hidden", [](OmWindow& w) { w.setHideWindow(true); }},
      {"10x11+12+13 shown", [](OmWindow& w) { w.setHideWindow(false); }},
      {"", [](OmWindow& w) { w.closeWindow(), w.closeWindow(); }},
      {"10x11+12+13 hidden", [](OmWindow& w) { w.setHideWindow(true), w.init(); }},
      {"70x80+12+13 hidden", [](OmWindow& w) { w.setWindowSize(70, 80); }},
      {"70x80+12+13 shown", [](OmWindow& w) { w.setHideWindow(false); }},
      {"70x80+-5+-6 shown", [](OmWindow& w) { w.setWindowPos(OmU32(-5), OmU32(-6), true); }},
  };
  // Under a window manager Qt moves the drawing area while it does not know of the frame yet, and the frame afterwards.
  const char* const manager = std::getenv("OM_TEST_WM");
  const auto comparable = [isManaged = manager && *manager](std::string state)
  {
    const std::size_t position = state.find('+');
    return isManaged && position != std::string::npos ? state.erase(position, state.find(' ') - position) : state;
  };
  for (const auto& [expected, step] : steps)
  {
    step(window);
    EXPECT_TRUE(eventually([&, wanted = expected] { return comparable(look(window)) == comparable(wanted); }))
        << look(window) << " instead of " << expected;
    settle();
  }
}

TEST_P(omWindowBackEndTest, AWindowThatFilledTheScreenComesBackToItsPlace)
{
  OmSimpleWindow window;
  window.setWindowSizeAndPos(160, 140, 100, 120);
  ASSERT_TRUE(window.init());
  const std::string before = "160x140+100+120 shown";
  EXPECT_TRUE(eventually([&] { return look(window) == before; })) << look(window);
  for (const auto step : {+[](OmWindow& w) { w.setFullScreen(true); }, +[](OmWindow& w) { w.setHideWindow(true); },
                          +[](OmWindow& w) { w.setHideWindow(false); }, +[](OmWindow& w) { w.setFullScreen(false); }})
  {
    step(window);
    settle();
  }
  EXPECT_EQ(look(window), before);
}

TEST_P(omWindowBackEndTest, HiddenWindowsDrawOverTheirWholeArea)
{
  OmSimpleWindow window;
  window.setHideWindow(true);
  for (const auto& [width, height] : {std::pair(61u, 47u), {200u, 150u}})
  {
    ASSERT_TRUE(window.setImageBuffer(makePicture(3, width, height, 1), true));
    std::array<GLint, 4> viewport = {};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_EQ(viewport, (std::array<GLint, 4>{0, 0, GLint(width), GLint(height)}));
    window.closeWindow(); // and open again
  }
}

TEST_P(omWindowBackEndTest, PicturesComeBackAndReachTheScreenByteForByte)
{
  OmSimpleWindow window;
  OmU32 seed = 0;
  for (const auto& [width, height] : {std::pair(61u, 47u), {64u, 32u}, {200u, 100u}, {200u, 100u}, {61u, 47u}})
  {
    const OmImage picture = makePicture(3, width, height, ++seed);
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    EXPECT_TRUE(eventually([&] { return shows(window, picture); }));
    EXPECT_EQ(differences(captured(window), picture), 0u);
    const OmImage other = makePicture(3, width, height, ++seed);
    ASSERT_TRUE(window.setImageBuffer(other, false));
    EXPECT_TRUE(shows(window, picture)) << "not swapped yet";
    if (seed == 4)
      window.closeWindow(); // and open again
  }
}

TEST_P(omWindowBackEndTest, TopMostWindowsComeAboveTheOthersAndKeepTheirPicture)
{
  OmSimpleWindow windows[2];
  const OmImage pictures[] = {makePicture(3, 60, 50, 1), makePicture(3, 60, 50, 2)};
  for (const int i : {0, 1})
  {
    windows[i].setName("window" + std::to_string(i));
    windows[i].setWindowPos(100, 100, true);
    ASSERT_TRUE(windows[i].setImageBuffer(pictures[i], true));
    EXPECT_TRUE(eventually([&] { return shows(windows[i], pictures[i]); }));
  }
  for (const int i : {0, 1})
  {
    windows[i].setTopMost(true);
    windows[i].setHideWindow(false);
    EXPECT_EQ(differences(captured(windows[i]), pictures[i]), 0u);
    EXPECT_TRUE(eventually([&] { return shows(windows[i], pictures[i]); })) << i;
  }
}

TEST_P(omWindowBackEndTest, SharedTexturesAreSeenByBothWindowsWhicheverClosesFirst)
{
  const OmImage picture = makePicture(3, 32, 16);
  for (const bool makerClosesFirst : {true, false})
  {
    OmSimpleWindow maker;
    OmSimpleWindow unopened;
    maker.share(&unopened); // to no effect
    ASSERT_TRUE(maker.setImageBuffer(makePicture(3, 32, 16, 8), true));
    const auto texture = boost::make_shared<OmTexture>();
    ASSERT_TRUE(texture->loadFromImage(picture, OmTextureParameters()));
    OmSimpleWindow user;
    EXPECT_TRUE(user.share(&maker));
    ASSERT_TRUE(user.setImageBuffer(texture, true));
    EXPECT_EQ(differences(captured(user), picture), 0u);
    ASSERT_TRUE(maker.setImageBuffer(texture, true));
    (makerClosesFirst ? maker : user).closeWindow();
    EXPECT_EQ(differences(captured(makerClosesFirst ? user : maker), picture), 0u);
  }
}

TEST_P(omWindowBackEndTest, SizesEndAtWhatTheCardDraws)
{
  OmSimpleWindow window;
  window.setHideWindow(true);
  const OmImage picture = makePicture(3, 20, 15);
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  GLint largest[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, largest);
  const auto bySides = [](int width, const char* by, int height)
  { return std::to_string(width) + by + std::to_string(height); };
  const std::string limit = bySides(largest[0], " by ", largest[1]) + " that the card draws.\n";
  for (const auto& [width, height] : {std::pair(largest[0] + 1, 1), {1, largest[1] + 1}, {32768, 1}, {1, 40000}})
  {
    const std::string refused = bySides(width, " by ", height) + " pixels are more than the ";
    PrintCapture capture(4);
    window.setWindowSize(OmU32(width), OmU32(height));
    ASSERT_EQ(capture.messages().size(), 1u);
    EXPECT_NE(capture.messages()[0].second.find("::setWindowSize - " + refused + limit), std::string::npos);
    const std::string stopped = bySides(std::min(width, largest[0]), "x", std::min(height, largest[1]));
    EXPECT_TRUE(eventually([&] { return look(window).find(stopped + "+") == 0; })) << look(window);

    capture.clear();
    OmSimpleWindow other;
    other.setHideWindow(true);
    other.setWindowSize(OmU32(width), OmU32(height));
    EXPECT_FALSE(other.init());
    const bool beyondX = GetParam() == OmWindow::ImplX11 && std::max(width, height) > 32767;
    EXPECT_NE(
        capture.messages()[0].second.find("::openWindow - " + refused + (beyondX ? "32767 of a window.\n" : limit)),
        std::string::npos);
    EXPECT_EQ(capture.messages().size(), beyondX ? 3u : 2u);
  }
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  EXPECT_EQ(differences(captured(window), picture), 0u);
}

TEST_P(omWindowBackEndTest, DetectionOnDemandOpensAHiddenWindowAndClosesIt)
{
  OmGL::supportStatus = 0;
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportShaders));
  EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
  EXPECT_EQ(OmWindow::getWindow(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(, omWindowBackEndTest, testing::Values(OmWindow::ImplX11, OmWindow::ImplQt),
                         [](const auto& type) { return type.param == OmWindow::ImplQt ? "Qt" : "X11"; });

} // namespace
