#include "render/omWindow.h"

#include "tests/support/printCapture.h"
#include "tests/support/xDouble.h"

#include <gtest/gtest.h>

#include "render/omWindowImplX11.h" // after the test framework, whose names Xlib's macros would replace

#include <boost/make_shared.hpp>

#include <sstream>
#include <string>

namespace
{

const char* s_glxExtensions = "GLX_SGI_swap_control";

int recordSwapInterval(int interval)
{
  note("glSwapInterval", interval);
  return 0;
}

} // namespace

// In the place of GL's, GLX's and Xlib's own: none of these tests needs a display.

OM_EXPORT const GLubyte* glGetString(GLenum name)
{
  if (name == GL_VERSION)
    note("glGetString");
  return reinterpret_cast<const GLubyte*>(name == GL_VERSION ? "2.1" : "");
}

OM_EXPORT void glClear(GLbitfield mask)
{
  note("glClear", mask);
}

OM_EXPORT void glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
  note("glViewport", x, y, width, height);
}

OM_EXPORT void (*glXGetProcAddress(const GLubyte* name))()
{
  const bool known = std::string(reinterpret_cast<const char*>(name)) == "glXSwapIntervalSGI";
  return known ? reinterpret_cast<void (*)()>(recordSwapInterval) : nullptr;
}

OM_EXPORT Display* glXGetCurrentDisplay()
{
  static char display;
  return reinterpret_cast<Display*>(&display);
}

OM_EXPORT const char* glXQueryExtensionsString(Display*, int)
{
  return s_glxExtensions;
}

namespace
{

/// The settings as the getters give them: title, size and position, then the flags that are set.
std::string settings(const OmWindow& window)
{
  OmU32 width = 0;
  OmU32 height = 0;
  OmU32 x = 0;
  OmU32 y = 0;
  window.getWindowSizeAndPos(width, height, x, y);
  std::ostringstream text;
  text << window.getName() << ' ' << width << 'x' << height << '+' << x << '+' << y;
  if (window.getTopMost())
    text << " top";
  if (window.getHideWindow())
    text << " hidden";
  if (window.getStereoSupported())
    text << " stereo";
  return text.str();
}

boost::shared_ptr<RecordingImpl> giveImpl(OmWindow& window, OmBoolean opens = true)
{
  const boost::shared_ptr<RecordingImpl> impl = boost::make_shared<RecordingImpl>(opens);
  window.setImpl(impl);
  return impl;
}

boost::shared_ptr<RecordingImpl> open(OmWindow& window)
{
  const boost::shared_ptr<RecordingImpl> impl = giveImpl(window);
  EXPECT_TRUE(window.init());
  takeCalls();
  return impl;
}

enum When
{
  Never,
  OnChange, // an open window, when a value changes; the window is then drawn again
  AtOnce    // a back end that is not open yet as well
};

struct Setter
{
  OmBoolean (*set)(OmWindow& window);
  const char* settings;
  OmBoolean reports; // the setter says whether a value changed
  const char* call;  // what reaches the back end,
  When when;         // and when
};

// clang-format off
constexpr Setter Setters[] = {
    {[](OmWindow& w) { return w.setWindowSize(3, 0); }, "OmWindow 3x0+0+0", true, "setWindowSize 3 0", AtOnce},
    {[](OmWindow& w) { return w.setWindowSize(0, 4); }, "OmWindow 0x4+0+0", true, "setWindowSize 0 4", AtOnce},
    {[](OmWindow& w) { return w.setWindowPos(5, 0, true); }, "OmWindow 0x0+5+0", true, "setWindowPos 5 0", OnChange},
    {[](OmWindow& w) { return w.setWindowPos(0, 6, true); }, "OmWindow 0x0+0+6", true, "setWindowPos 0 6", OnChange},
    {[](OmWindow& w) { return w.setWindowPos(5, 6, false); }, "OmWindow 0x0+5+6", true, "", Never},
    {[](OmWindow& w) { return w.setWindowSizeAndPos(3, 4, 5, 6); }, "OmWindow 3x4+5+6", true,
     "setWindowSizeAndPos 3 4 5 6", OnChange},
    {[](OmWindow& w) { return w.setWindowSizeAndPos(0, 0, 0, 6); }, "OmWindow 0x0+0+6", true,
     "setWindowSizeAndPos 0 0 0 6", OnChange},
    {[](OmWindow& w) { return w.setName("a b"), false; }, "a b 0x0+0+0", false, "setName a b", AtOnce},
    {[](OmWindow& w) { return w.setTopMost(true), false; }, "OmWindow 0x0+0+0 top", false, "setTopMost 1", AtOnce},
    {[](OmWindow& w) { return w.setHideWindow(true), false; }, "OmWindow 0x0+0+0 hidden", false, "setHideWindow 1",
     AtOnce},
    {[](OmWindow& w) { return w.setFullScreen(true), false; }, "OmWindow 0x0+0+0", false, "setFullScreen 1", AtOnce},
};
// clang-format on

TEST(omWindowTest, SettersStoreForwardAndRedraw)
{
  for (const Setter& setter : Setters)
  {
    SCOPED_TRACE(std::string(setter.settings) + ", " + setter.call);
    const std::string atOnce = setter.when == AtOnce ? setter.call : "";
    const bool redraws = setter.reports && setter.when != Never;

    PlainWindow bare;
    EXPECT_EQ(setter.set(bare), setter.reports);
    EXPECT_EQ(settings(bare), setter.settings);
    EXPECT_FALSE(setter.set(bare));

    PlainWindow unopened;
    giveImpl(unopened);
    takeCalls();
    EXPECT_EQ(setter.set(unopened), setter.reports);
    EXPECT_EQ(takeCalls(), atOnce);

    PlainWindow opened;
    open(opened);
    EXPECT_EQ(setter.set(opened), setter.reports);
    EXPECT_EQ(takeCalls(), setter.call + std::string(redraws ? "; renderScene 1" : ""));
    EXPECT_EQ(settings(opened), setter.settings + std::string(" stereo"));
    EXPECT_FALSE(setter.set(opened));
    EXPECT_EQ(takeCalls(), atOnce) << "nothing changes";
  }
}

TEST(omWindowTest, InitOpensOnceClearsAndSwaps)
{
  for (const bool swapControl : {true, false})
  {
    s_glxExtensions = swapControl ? "GLX_SGI_swap_control" : "";
    PlainWindow window;
    const boost::shared_ptr<RecordingImpl> impl = giveImpl(window);
    takeCalls();
    EXPECT_TRUE(window.init());
    EXPECT_EQ(takeCalls(), std::string("openWindow; window makeCurrent; makeCurrent; glGetString; ") +
                               (swapControl ? "glSwapInterval 0; " : "") + "glClear 16384; swapBuffers");
    EXPECT_EQ(impl->getWindow(), &window);
    EXPECT_EQ(OmWindow::getWindow(), &window);
    EXPECT_TRUE(window.init());
    EXPECT_EQ(takeCalls(), "") << "open already";

    window.setWindowSize(640, 480);
    takeCalls();
    impl->resizeGL();
    EXPECT_EQ(takeCalls(), "glViewport 0 0 640 480");
  }
}

TEST(omWindowTest, FailedInitKeepsTheBackEndForAnotherTry)
{
  PrintCapture capture;
  PlainWindow window;
  const boost::shared_ptr<RecordingImpl> impl = giveImpl(window, false);
  takeCalls();
  EXPECT_FALSE(window.init());
  EXPECT_EQ(takeCalls(), "openWindow");
  EXPECT_EQ(capture.messages(4), (Messages{{4, "OmWindow::Impl::openWindow Failed\n"}}));
  EXPECT_EQ(window.getImpl(), impl);
  EXPECT_FALSE(window.setWindowPos(0, 0, true));

  impl->m_opens = true;
  EXPECT_TRUE(window.init());
}

TEST(omWindowTest, AnExceptionWhileOpeningClosesTheBackEnd)
{
  struct ThrowingImpl : RecordingImpl
  {
    OmBoolean openWindow() override { return m_opens ? RecordingImpl::openWindow() : throw std::bad_alloc(); }
  };
  PlainWindow window;
  const auto impl = boost::make_shared<ThrowingImpl>();
  impl->m_opens = false;
  window.setImpl(impl);
  EXPECT_THROW(window.init(), std::bad_alloc);
  EXPECT_EQ(takeCalls(), "closeWindow");
  EXPECT_EQ(impl->getWindow(), nullptr);
  impl->m_opens = true;
  EXPECT_TRUE(window.init());
}

TEST(omWindowTest, CloseKeepsTheSettingsButTheHiddenFlag)
{
  PlainWindow window;
  PlainWindow other;
  window.setName("kept");
  window.setWindowSizeAndPos(3, 4, 5, 6);
  window.setTopMost(true);
  window.setHideWindow(true);
  const boost::shared_ptr<RecordingImpl> impl = open(window);
  EXPECT_EQ(settings(window), "kept 3x4+5+6 top hidden stereo");
  other.makeCurrent();
  EXPECT_EQ(OmWindow::getWindow(), &other) << "a window is current without a back end too";

  takeCalls();
  window.closeWindow();
  EXPECT_EQ(takeCalls(), "closeWindow");
  EXPECT_EQ(settings(window), "kept 3x4+5+6 top");
  EXPECT_FALSE(window.getImpl());
  EXPECT_EQ(OmWindow::getWindow(), nullptr) << "closing any window leaves none current";
  EXPECT_TRUE(window.setWindowPos(0, 0, true));
  EXPECT_EQ(takeCalls(), "") << "a closed window does not redraw";

  open(window);
  EXPECT_NE(window.getImpl(), impl);
}

TEST(omWindowTest, SharesWithThePartnerNamedBeforeOpening)
{
  PlainWindow partner;
  PlainWindow window;
  const boost::shared_ptr<RecordingImpl> partnerImpl = open(partner);
  const boost::shared_ptr<RecordingImpl> impl = giveImpl(window);
  EXPECT_FALSE(window.share(nullptr));
  EXPECT_TRUE(window.share(&partner));
  EXPECT_EQ(impl->getShare(), partnerImpl);
  EXPECT_FALSE(window.getShare()) << "not before the window is open";
  ASSERT_TRUE(window.init());
  EXPECT_EQ(window.getShare(), partnerImpl);
  EXPECT_EQ(window.getShareWindow(), &partner);

  // Too late: the window remembers the new partner, the back end keeps the one it shares with.
  PlainWindow late;
  const boost::shared_ptr<RecordingImpl> lateImpl = open(late);
  PrintCapture capture;
  EXPECT_FALSE(window.share(&late));
  EXPECT_EQ(capture.messages(4), (Messages{{5, "Calling share() after initialization.\n"}}));
  EXPECT_EQ(impl->getShare(), partnerImpl);
  EXPECT_EQ(window.getShare(), lateImpl);

  late.closeWindow();
  EXPECT_EQ(window.getShare(), lateImpl);
  EXPECT_EQ(window.getShareWindow(), nullptr) << "a partner that serves no window";
}

TEST(omWindowTest, ImplTypeChoosesTheBackEnd)
{
  for (const auto& [type, stored] : {std::pair(3u, 3u), {4u, 3u}, {99u, 99u}})
  {
    OmWindow::setImplType(static_cast<OmWindow::ImplType>(type));
    EXPECT_EQ(OmWindow::getImplType(), stored);
    EXPECT_TRUE(boost::dynamic_pointer_cast<OmWindow::Impl::X11>(OmWindow::Impl::newImpl())) << type;
  }
}

} // namespace
