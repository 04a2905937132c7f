#include "render/omWindowImplQt.h"

#include "render/omGL.h"
#include "render/omWindowImplEGL.h"
#include "tests/support/capture.h"
#include "tests/support/printCapture.h"
#include "tests/support/qtEvents.h"

#include <QApplication>
#include <QVBoxLayout>
#include <QWindow>
#include <gtest/gtest.h>

#include "tests/support/swapDouble.h" // after the test framework and Qt, whose names Xlib's macros would replace

#include <algorithm>
#include <functional>
#include <optional>
#include <tuple>

namespace
{

using Impl = OmWindow::Impl::Qt;

int s_xErrors;
const QGLFormat* s_format; // what every widget says that it has; null for the truth

} // namespace

OM_EXPORT void glXSwapBuffers(Display* display, GLXDrawable drawable)
{
  note("swap");
  OM_REAL(glXSwapBuffers)(display, drawable);
}

OM_EXPORT void glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
  note("glViewport", x, y, width, height);
  OM_REAL(glViewport)(x, y, width, height);
}

OM_EXPORT QGLFormat QGLWidget::format() const
{
  return s_format ? *s_format : context()->format();
}

namespace
{

Impl& qt(const OmWindow& window)
{
  return dynamic_cast<Impl&>(*window.getImpl());
}

class QtWindow : public PlainWindow
{
public:
  QtWindow()
  {
    OmWindow::setWindowSize(40, 30);
    setImpl(OmWindow::Impl::newImpl());
  }
  OmBoolean setWindowSize(OmU32 width, OmU32 height) override
  {
    note("setWindowSize", width, height);
    return OmWindow::setWindowSize(width, height);
  }
  OmBoolean renderScene(OmBoolean swap) override
  {
    PlainWindow::renderScene(swap);
    swapBuffers();
    return true;
  }
};

struct Application : QApplication
{
  Application() : QApplication(s_argc, s_argv) {}
  static inline int s_argc = 1;
  static inline char s_name[] = "test";
  static inline char* s_argv[] = {s_name, nullptr};
};

class omWindowImplQtTest : public testing::Test
{
protected:
  omWindowImplQtTest() { OmWindow::setImplType(OmWindow::ImplQt); }

  std::optional<Application> m_application{std::in_place};
};

TEST_F(omWindowImplQtTest, TheBuiltInFormatIsInstalledOnce)
{
  QGLFormat callers(QGL::IndirectRendering | QGL::SingleBuffer | QGL::ColorIndex | QGL::NoDepthBuffer);
  callers.setRedBufferSize(5);
  for (const bool isFirst : {true, false}) // in this process
  {
    Impl::setDefaultFormat(&callers);
    EXPECT_EQ(QGLFormat::defaultFormat(), callers);
    const Impl backEnd;
    const QGLFormat f = QGLFormat::defaultFormat();
    EXPECT_EQ(f == callers, !isFirst);
    EXPECT_EQ(f.directRendering() && f.doubleBuffer() && f.rgba() && f.depth(), isFirst);
    EXPECT_EQ(f.redBufferSize() == 8 && f.alphaBufferSize() == 8 && f.depthBufferSize() == 32, isFirst);
  }
}

TEST_F(omWindowImplQtTest, OpeningFailsWithOneClearLine)
{
  m_application.reset();
  const auto expectFailure = [](const std::string& line)
  {
    const PrintCapture capture(4);
    QtWindow window;
    EXPECT_FALSE(window.init());
    EXPECT_EQ(qt(window).getWidget(), nullptr);
    EXPECT_EQ(capture.messages(),
              (Messages{{4, "OmWindow::Impl::Qt::openWindow - " + line}, {4, "OmWindow::Impl::openWindow Failed\n"}}));
  };
  expectFailure("There is no QApplication; make one before the first window.\n");
  qputenv("QT_QPA_PLATFORM", "minimal");
  m_application.emplace();
  expectFailure("Qt's platform \"minimal\" gives no OpenGL context.\n");
  qunsetenv("QT_QPA_PLATFORM");
}

TEST_F(omWindowImplQtTest, SizesArePixelsOfTheScreenAndStayAsTheyAre)
{
  for (const double factor : {1.25, 2.0})
  {
    m_application.reset();
    qputenv("QT_SCALE_FACTOR", QByteArray::number(factor));
    m_application.emplace();
    OmSimpleWindow window;
    const OmImage picture = makePicture(3, 60, 40, 1); // whole numbers of Qt's pixels
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    qt(window).getWidget()->resize(qt(window).getWidget()->size() + QSize(1, 1));
    settle();
    window.setWindowSize(60, 40);
    settle();
    EXPECT_EQ(differences(captured(window), picture), 0u) << factor;
    EXPECT_EQ(qt(window).getWidget()->size() * factor, QSize(60, 40));
  }
  qunsetenv("QT_SCALE_FACTOR");
}

TEST_F(omWindowImplQtTest, EventsReachTheWindowInOrderAndEveryPaintSwapsOnce)
{
  QtWindow window;
  ASSERT_TRUE(window.init());
  OmQGLWidget& widget = *qt(window).getWidget();
  settle();
  QObject::connect(&widget, &OmQGLWidget::signalWindowHide, [](bool hidden) { note("hide", hidden); });
  QObject::connect(&widget, &OmQGLWidget::signalWindowResize, [](int w, int h) { note("signal", w, h); });
  QObject::connect(&widget, &OmQGLWidget::signalWindowClose,
                   [&]
                   {
                     note("close", widget.isVisible());
                     window.closeWindow(); // and the widget with it
                   });
  const PrintCapture capture(3);
  Om::Print::instance().setSink([](int type, const std::string& text)
                                { note(std::to_string(type).c_str(), text.substr(0, text.size() - 1)); });
  const std::string paint = "renderScene 1; swap";
  const std::pair<void (*)(QtWindow&, OmQGLWidget&), std::string> steps[] = {
      {[](QtWindow&, OmQGLWidget& q) { q.resize(640, 480); },
       "signal 640 480; 3 Resizing to 640x480; setWindowSize 640 480; " + paint + "; glViewport 0 0 640 480"},
      {[](QtWindow& w, OmQGLWidget&) { w.setWindowSize(50, 60); },
       "setWindowSize 50 60; signal 50 60; 3 Resizing to 50x60; setWindowSize 50 60; glViewport 0 0 50 60; " + paint},
      {[](QtWindow&, OmQGLWidget& q) { q.hide(); }, ""},
      {[](QtWindow&, OmQGLWidget& q) { q.show(); }, "hide 0"},
      {[](QtWindow&, OmQGLWidget& q) { q.updateGL(); }, paint},
      {[](QtWindow&, OmQGLWidget& q) { q.close(); }, "close 1"},
  };
  takeCalls();
  for (const auto& [step, calls] : steps)
  {
    step(window, widget);
    EXPECT_EQ(takeCalls(), calls);
    settle();
    std::string paints;
    while (paints.size() < s_calls.size())
      paints += (paints.empty() ? "" : "; ") + paint;
    EXPECT_EQ(takeCalls(), paints) << "nothing but paints";
  }
}

TEST_F(omWindowImplQtTest, AWindowThatItsUserClosedIsDrawnAndShownAgain)
{
  OmSimpleWindow window;
  OmSimpleWindow other;
  const OmImage pictures[] = {makePicture(3, 60, 40, 1), makePicture(3, 60, 40, 2), makePicture(3, 60, 40, 3)};
  ASSERT_TRUE(window.setImageBuffer(pictures[0], true) && other.setImageBuffer(pictures[1], true));
  settle();
  qt(window).getWidget()->windowHandle()->close(); // what Qt does for the button in the title bar
  EXPECT_TRUE(eventually([&] { return !qt(window).getWidget()->windowHandle()->handle(); }));
  other.makeCurrent();
  ASSERT_TRUE(window.setImageBuffer(pictures[2], true));
  EXPECT_EQ(differences(captured(other), pictures[1]), 0u);
  EXPECT_EQ(differences(captured(window), pictures[2]), 0u);
  window.setHideWindow(false);
  settle();
  EXPECT_EQ(differences(captured(window), pictures[2]), 0u);
}

TEST_F(omWindowImplQtTest, StereoFormatsAreTakenAndFormatsReportedAtLevelOne)
{
  QGLFormat format;
  format.setStereo(true);
  format.setDepthBufferSize(24);
  s_format = &format;
  QtWindow window;
  window.setHideWindow(true);
  qt(window).setWindowFlags(::Qt::FramelessWindowHint);
  PrintCapture capture(2);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(capture.messages(3).at(0), (Messages::value_type{3, "Stereo is supported.\n"}));
  EXPECT_TRUE(window.getStereoSupported());
  const OmQGLWidget* const widget = qt(window).getWidget();
  EXPECT_TRUE(widget->windowFlags() & ::Qt::FramelessWindowHint);
  capture.clear();
  Om::Print::instance().setPrintLevel(1);
  EXPECT_TRUE(qt(window).openWindow()) << "again, with the widget that there is";
  const Messages report = capture.messages(7);
  EXPECT_EQ(std::count(report.begin(), report.end(), Messages::value_type(7, "stereo = on\n")), 1);
  EXPECT_EQ(std::count(report.begin(), report.end(), Messages::value_type(7, "Depth buffer = on, 24\n")), 1);
  EXPECT_EQ(qt(window).getWidget(), widget);
  s_format = nullptr;
}

TEST_F(omWindowImplQtTest, SwapsAreAskedNotToWait)
{
  QtWindow window;
  s_glxExtensions = "GLX_MESA_swap_control";
  takeCalls();
  ASSERT_TRUE(window.init());
  EXPECT_NE(takeCalls().find("MESA 0"), std::string::npos);
}

TEST_F(omWindowImplQtTest, TitlesAreLatin1)
{
  QtWindow window;
  ASSERT_TRUE(window.init());
  window.setName("\xfc");
  EXPECT_EQ(qt(window).getWidget()->windowTitle(), QString(QChar(0xfc)));
}

TEST_F(omWindowImplQtTest, FlagsAreReplacedAndRestored)
{
  QtWindow window;
  const auto reopen = [](QtWindow& w)
  {
    qt(w).closeWindow();
    EXPECT_TRUE(w.getImpl()->init(&w));
  };
  const std::pair<std::function<void(QtWindow&)>, const char*> steps[] = {
      {[](QtWindow& w) { qt(w).setWindowFlags(::Qt::FramelessWindowHint), w.init(); }, "frameless shown"},
      {[](QtWindow& w) { w.setTopMost(true); }, "frameless top bypass "},
      {[](QtWindow& w) { w.setTopMost(false); }, "frameless "},
      {[](QtWindow& w) { w.setHideWindow(false); }, "frameless shown"},
      {[](QtWindow& w) { qt(w).setWindowFlags(::Qt::FramelessWindowHint | ::Qt::WindowStaysOnTopHint); },
       "frameless top "},
      {reopen, "frameless top shown"},
      {[&](QtWindow& w) { w.setTopMost(true), reopen(w); }, "top shown"},
      {[](QtWindow& w) { w.setFullScreen(true); }, "top shownfull"},
      {[](QtWindow& w) { w.setFullScreen(false); }, "top shown"},
  };
  for (const auto& [step, expected] : steps)
  {
    step(window);
    const OmQGLWidget& widget = *qt(window).getWidget();
    const ::Qt::WindowFlags flags = widget.windowFlags();
    EXPECT_EQ(std::string(flags & ::Qt::FramelessWindowHint ? "frameless " : "") +
                  (flags & ::Qt::WindowStaysOnTopHint ? "top " : "") +
                  (flags & ::Qt::X11BypassWindowManagerHint ? "bypass " : "") + (widget.isVisible() ? "shown" : "") +
                  (widget.isFullScreen() ? "full" : ""),
              expected);
  }
}

TEST_F(omWindowImplQtTest, WidgetsInLayoutsBelongToTheirOwners)
{
  for (const bool owns : {true, false})
  {
    QtWindow window;
    QWidget panel;
    QVBoxLayout layout(&panel);
    layout.setContentsMargins(0, 0, 0, 0);
    const QPointer<OmQGLWidget> widget = new OmQGLWidget(&window, &panel, nullptr, {});
    layout.addWidget(widget);
    panel.resize(120, 90);
    const QPointer<OmQGLWidget> forgotten = new OmQGLWidget(&window, &panel, nullptr, {});
    qt(window).setWidget(forgotten, true);
    new OmQGLWidget(nullptr, &panel, nullptr, {}); // without a window it does nothing
    qt(window).setWidget(widget, owns);
    ASSERT_TRUE(window.init());
    EXPECT_EQ(qt(window).getWidget(), widget);
    panel.show();
    panel.resize(200, 100);
    OmU32 width = 0;
    OmU32 height = 0;
    EXPECT_TRUE(eventually([&] { return window.getWindowSize(width, height), width == 200 && height == 100; }));

    qt(window).closeWindow();
    EXPECT_EQ(widget.isNull(), owns);
    EXPECT_FALSE(forgotten.isNull());
    ASSERT_TRUE(window.getImpl()->init(&window));
    const QPointer<OmQGLWidget> made = qt(window).getWidget();
    EXPECT_NE(made, widget);
    window.closeWindow();
    EXPECT_TRUE(made.isNull());
  }
}

TEST_F(omWindowImplQtTest, AWidgetThatItsOwnerDeletedTakesNothingWithIt)
{
  const OmImage picture = makePicture(3, 40, 30);
  OmSimpleWindow other;
  {
    OmSimpleWindow window;
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    ASSERT_TRUE(other.setImageBuffer(picture, true)); // whose texture has the same name
    delete qt(window).getWidget();
    other.makeCurrent();
    window.setName("name");
    window.swapBuffers();
    window.closeWindow();
  }
  EXPECT_EQ(differences(captured(other), picture), 0u);
}

TEST_F(omWindowImplQtTest, PartnersOfAnotherTypeAreNotSharedWith)
{
  const OmImage picture = makePicture(3, 40, 30);
  for (const auto& [partners, windows, text] :
       {std::tuple(OmWindow::ImplX11, OmWindow::ImplQt, "Unable to share windows of different types.\n"),
        {OmWindow::ImplQt, OmWindow::ImplX11,
         "OmWindow::openWindow() - Unable to share windows of different types.\n"}})
  {
    OmSimpleWindow partner;
    OmWindow::setImplType(partners);
    ASSERT_TRUE(partner.setImageBuffer(picture, true));
    OmSimpleWindow window;
    OmWindow::setImplType(windows);
    window.share(&partner);
    const PrintCapture capture(4);
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    EXPECT_EQ(capture.messages(), (Messages{{4, text}}));
    EXPECT_EQ(differences(captured(window), picture), 0u);
    EXPECT_EQ(differences(captured(partner), picture), 0u);
  }
}

TEST_F(omWindowImplQtTest, TakesTurnsWithAnEGLWindow)
{
  const OmImage picture = makePicture(3, 40, 30);
  const OmImage other = makePicture(3, 20, 50);
  const auto handler = XSetErrorHandler([](Display*, XErrorEvent*) { return ++s_xErrors; });
  OmSimpleWindow window;
  OmSimpleWindow offScreen;
  offScreen.setImpl(OmWindow::Impl::EGL::newImpl());
  if (!offScreen.getImpl())
    GTEST_SKIP() << "built without the EGL back end";
  ASSERT_TRUE(window.setImageBuffer(picture, true) && offScreen.setImageBuffer(other, true));
  for (int round = 0; round < 2; ++round)
  {
    EXPECT_EQ(differences(captured(window), picture), 0u);
    EXPECT_EQ(differences(captured(offScreen), other), 0u);
    QCoreApplication::processEvents(); // Qt draws by itself, with the other's context current
    takeCalls();
    qt(window).getWidget()->repaint();
    EXPECT_NE(takeCalls().find("swap"), std::string::npos);
    offScreen.makeCurrent();
    qt(window).getWidget()->resize(41 + round, 30);
    QCoreApplication::processEvents();
    EXPECT_EQ(differences(captured(offScreen), other), 0u);
    EXPECT_TRUE(window.setImageBuffer(picture, true));
  }
  window.closeWindow();
  EXPECT_EQ(differences(captured(offScreen), other), 0u);
  EXPECT_EQ(s_xErrors, 0); // as GLX has them for a context beside one of EGL's
  XSetErrorHandler(handler);
}

} // namespace
