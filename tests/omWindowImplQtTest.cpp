#include "render/omWindowImplQt.h"

#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "tests/support/pictures.h"
#include "tests/support/printCapture.h"
#include "tests/support/xDouble.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMetaMethod>
#include <QVBoxLayout>
#include <QWindow>
#include <gtest/gtest.h>

#include <GL/glx.h> // after the test framework and Qt, whose names Xlib's macros would replace

#include <cstdio>
#include <functional>
#include <memory>

namespace
{

using Impl = OmWindow::Impl::Qt;

bool s_sharingFails;
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

OM_EXPORT bool QGLWidget::isSharing() const
{
  return !s_sharingFails && context()->isSharing();
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

/// Lets Qt deliver what is under way.
void processEvents()
{
  QElapsedTimer timer;
  for (timer.start(); timer.elapsed() < 200;)
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

/// Whether the window still draws its picture as it is.
bool draws(OmSimpleWindow& window, const OmImage& picture)
{
  OmImage image;
  const bool drawn = window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, nullptr);
  image.copyFromOrToFlipped(true);
  return drawn && differences(image, picture) == 0;
}

class OmWindowImplQt : public testing::Test
{
protected:
  OmWindowImplQt() { OmWindow::setImplType(OmWindow::ImplQt); }
  void TearDown() override { OmWindow::setImplType(OmWindow::ImplX11); }

  Application m_application;
};

TEST(OmWindowImplQtDeathTest, TheBuiltInFormatIsInstalledOnce)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process in which nothing is installed yet
  const auto say = []
  {
    const QGLFormat f = QGLFormat::defaultFormat();
    std::fprintf(stderr, "%d%d%d%d %d %d %d;", f.directRendering(), f.doubleBuffer(), f.rgba(), f.depth(),
                 f.redBufferSize(), f.alphaBufferSize(), f.depthBufferSize());
  };
  const auto installTwice = [&]
  {
    QGLFormat callers(QGL::IndirectRendering | QGL::SingleBuffer | QGL::ColorIndex | QGL::NoDepthBuffer);
    callers.setRedBufferSize(5);
    for (int round = 0; round < 2; ++round)
    {
      Impl::setDefaultFormat(&callers);
      say();
      const Impl backEnd;
      say();
    }
    std::_Exit(0);
  };
  EXPECT_EXIT(installTwice(), testing::ExitedWithCode(0), "^0000 5 -1 -1;1111 8 8 32;0000 5 -1 -1;0000 5 -1 -1;$");
}

TEST(OmWindowImplQtWithoutGL, OpeningFailsWithOneClearLine)
{
  OmWindow::setImplType(OmWindow::ImplQt);
  PrintCapture capture;
  const auto expectFailure = [&](OmQGLWidget* (*makeWidget)(OmWindow&), const std::string& line)
  {
    QtWindow window;
    const std::unique_ptr<OmQGLWidget> widget(makeWidget(window));
    qt(window).setWidget(widget.get(), !widget);
    EXPECT_FALSE(window.init());
    EXPECT_EQ(qt(window).getWidget(), nullptr);
    EXPECT_EQ(qt(window).getWindow(), nullptr);
    const Messages lines = {{4, "OmWindow::Impl::Qt::openWindow - " + line},
                            {4, "OmWindow::Impl::openWindow Failed\n"}};
    EXPECT_EQ(capture.messages(4), lines);
    capture.clear();
  };
  const auto none = [](OmWindow&) -> OmQGLWidget* { return nullptr; };
  expectFailure(none, "There is no QApplication; make one before the first window.\n");
  qputenv("QT_QPA_PLATFORM", "minimal");
  {
    const Application application;
    const char* const line = "Qt's platform \"minimal\" gives no OpenGL context.\n";
    expectFailure(none, line);
    expectFailure([](OmWindow& window) { return new OmQGLWidget(&window); }, line);
  }
  qunsetenv("QT_QPA_PLATFORM");
}

TEST(OmWindowImplQtScaled, SizesArePixelsOfTheScreenAndStayAsTheyAre)
{
  OmWindow::setImplType(OmWindow::ImplQt);
  for (const double factor : {1.25, 2.0})
  {
    qputenv("QT_SCALE_FACTOR", QByteArray::number(factor));
    const Application application;
    OmSimpleWindow window;
    const OmImage picture = makePicture(3, 60, 40, 1); // whole numbers of Qt's pixels
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    qt(window).getWidget()->resize(qt(window).getWidget()->size() + QSize(1, 1));
    processEvents();
    window.setWindowSize(60, 40);
    processEvents();
    EXPECT_TRUE(draws(window, picture)) << factor;
    EXPECT_EQ(qt(window).getWidget()->size() * factor, QSize(60, 40));
  }
  qunsetenv("QT_SCALE_FACTOR");
}

TEST_F(OmWindowImplQt, WithoutWindowOrWidgetNothingHappens)
{
  const PrintCapture capture;
  Impl impl;
  impl.setName("name");
  impl.setWindowSize(1, 2);
  impl.setWindowPos(1, 2);
  impl.setTopMost(true);
  impl.setHideWindow(false);
  impl.setFullScreen(true);
  impl.makeCurrent();
  impl.swapBuffers();
  EXPECT_FALSE(impl.openWindow());

  OmQGLWidget widget(nullptr);
  takeCalls();
  widget.resize(50, 60);
  widget.show();
  processEvents();
  EXPECT_EQ(takeCalls(), "");
  EXPECT_EQ(capture.messages(), Messages());
}

TEST_F(OmWindowImplQt, TheMetaObjectNamesTheSignals)
{
  const QMetaObject& meta = OmQGLWidget::staticMetaObject;
  EXPECT_STREQ(meta.className(), "OmQGLWidget");
  EXPECT_EQ(meta.superClass(), &QGLWidget::staticMetaObject);
  ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 3);
  const char* const signatures[] = {"signalWindowClose()", "signalWindowResize(int,int)", "signalWindowHide(bool)"};
  for (int i = 0; i < 3; ++i)
  {
    EXPECT_EQ(meta.method(meta.methodOffset() + i).methodSignature(), signatures[i]);
    EXPECT_EQ(meta.method(meta.methodOffset() + i).methodType(), QMetaMethod::Signal);
  }
}

TEST_F(OmWindowImplQt, EventsReachTheWindowInOrderAndEveryPaintSwapsOnce)
{
  QtWindow window;
  ASSERT_TRUE(window.init());
  OmQGLWidget& widget = *qt(window).getWidget();
  processEvents();
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
    processEvents();
    std::string paints;
    while (paints.size() < s_calls.size())
      paints += (paints.empty() ? "" : "; ") + paint;
    EXPECT_EQ(takeCalls(), paints) << "nothing but paints";
  }
}

TEST_F(OmWindowImplQt, AWindowThatItsUserClosedIsDrawnAndShownAgain)
{
  OmSimpleWindow window;
  OmSimpleWindow other;
  const OmImage pictures[] = {makePicture(3, 60, 40, 1), makePicture(3, 60, 40, 2), makePicture(3, 60, 40, 3)};
  ASSERT_TRUE(window.setImageBuffer(pictures[0], true) && other.setImageBuffer(pictures[1], true));
  processEvents();
  qt(window).getWidget()->windowHandle()->close(); // what Qt does for the button in the title bar
  processEvents();
  other.makeCurrent();
  ASSERT_TRUE(window.setImageBuffer(pictures[2], true));
  EXPECT_TRUE(draws(other, pictures[1]));
  EXPECT_TRUE(draws(window, pictures[2]));
  window.setHideWindow(false);
  processEvents();
  EXPECT_TRUE(draws(window, pictures[2]));
}

TEST_F(OmWindowImplQt, StereoFormatsAreTakenAndFormatsReportedAtLevelOne)
{
  QGLFormat format;
  format.setStereo(true);
  format.setRgba(false);
  format.setRedBufferSize(8);
  format.setGreenBufferSize(7);
  format.setBlueBufferSize(6);
  format.setAlphaBufferSize(5);
  format.setDepthBufferSize(24);
  format.setStencil(false);
  const char* const lines[] = {"Window properties:\n",    "doublebuffer = on\n",    "stereo = on\n",
                               "pixel type = Index\n",    "color bits = 8/7/6/5\n", "accum bits = off, 0\n",
                               "Depth buffer = on, 24\n", "Stenc bits = off, 0\n",  "\n"};
  Messages report;
  for (const char* const line : lines)
    report.emplace_back(7, line);
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
  EXPECT_EQ(capture.messages(), report);
  EXPECT_EQ(qt(window).getWidget(), widget);
  s_format = nullptr;
}

TEST_F(OmWindowImplQt, FlagsAreReplacedAndRestored)
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

TEST_F(OmWindowImplQt, WidgetsInLayoutsBelongToTheirOwners)
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
    qt(window).setWidget(widget, owns);
    ASSERT_TRUE(window.init());
    EXPECT_EQ(qt(window).getWidget(), widget);
    panel.show();
    panel.resize(200, 100);
    processEvents();
    OmU32 width = 0;
    OmU32 height = 0;
    window.getWindowSize(width, height);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(200u, 100u));

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

TEST_F(OmWindowImplQt, AWidgetThatItsOwnerDeletedTakesNothingWithIt)
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
  EXPECT_TRUE(draws(other, picture));
}

TEST_F(OmWindowImplQt, UnsuitablePartnersAreNotSharedWith)
{
  const char* const texts[] = {"Unable to share windows of different types.\n",
                               "OmWindow::openWindow() - Unable to share windows of different types.\n",
                               "Problem sharing window.\n"};
  const OmWindow::ImplType types[][2] = {{OmWindow::ImplX11, OmWindow::ImplQt},
                                         {OmWindow::ImplQt, OmWindow::ImplX11},
                                         {OmWindow::ImplQt, OmWindow::ImplQt}};
  const OmImage picture = makePicture(3, 40, 30);
  for (const int row : {0, 1, 2})
  {
    OmSimpleWindow partner;
    OmWindow::setImplType(types[row][0]);
    ASSERT_TRUE(partner.setImageBuffer(picture, true));
    OmSimpleWindow window;
    OmWindow::setImplType(types[row][1]);
    window.setImpl(OmWindow::Impl::newImpl());
    window.share(&partner);
    PrintCapture capture(3);
    s_sharingFails = row == 2;
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    s_sharingFails = false;
    EXPECT_EQ(capture.messages(4), (Messages{{4, texts[row]}}));
    EXPECT_EQ(window.getImpl()->getShare() == nullptr, row == 2);
    EXPECT_TRUE(draws(window, picture));
    EXPECT_TRUE(draws(partner, picture));
  }
}

TEST_F(OmWindowImplQt, DetectionOnDemandOpensAHiddenWidgetAndClosesIt)
{
  OmGL::supportStatus = 0;
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportShaders));
  EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
  EXPECT_EQ(OmWindow::getWindow(), nullptr);
}

} // namespace
