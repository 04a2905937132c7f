#include "tests/support/x11Test.h"

#include "tests/support/printCapture.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <array>
#include <map>
#include <set>

namespace
{

std::string s_failing;                         // the function that finds or makes nothing
bool s_refusesOtherThreads;                    // glXMakeCurrent
std::size_t s_failingVisuals;                  // so many attempts find no visual
std::vector<std::vector<int>> s_visualLists;   // what was asked for
std::map<std::string, std::set<XID>> s_living; // what the doubles made and has not been released

template <typename Handle, typename Make>
Handle make(const char* function, const char* kind, Make makeReal)
{
  const Handle handle = s_failing == function ? Handle() : makeReal();
  if (handle)
    s_living[kind].insert((XID)handle);
  return handle;
}

template <typename Handle>
void release(const char* kind, Handle handle)
{
  EXPECT_EQ(s_living[kind].erase((XID)handle), 1u) << "a " << kind << " that is not there";
}

} // namespace

OM_EXPORT Display* XOpenDisplay(const char* name)
{
  return make<Display*>("XOpenDisplay", "display", [=] { return OM_REAL(XOpenDisplay)(name); });
}

OM_EXPORT int XCloseDisplay(Display* display)
{
  release("display", display);
  return OM_REAL(XCloseDisplay)(display);
}

OM_EXPORT Bool glXQueryExtension(Display* display, int* errorBase, int* eventBase)
{
  return s_failing != "glXQueryExtension" && OM_REAL(glXQueryExtension)(display, errorBase, eventBase);
}

/// Finds no visual at first, as told, and then a simple one, stereo or not.
OM_EXPORT XVisualInfo* glXChooseVisual(Display* display, int screen, int* attributes)
{
  std::vector<int> list = {screen};
  for (const int* attribute = attributes; *attribute != None; ++attribute)
    list.push_back(*attribute);
  s_visualLists.push_back(list);
  if (s_visualLists.size() <= s_failingVisuals)
    return nullptr;
  int simple[] = {GLX_RGBA, GLX_DOUBLEBUFFER, GLX_RED_SIZE, 8, None};
  return make<XVisualInfo*>("glXChooseVisual", "visual",
                            [&] { return OM_REAL(glXChooseVisual)(display, screen, simple); });
}

OM_EXPORT int XFree(void* data)
{
  s_living["visual"].erase((XID)data);
  return OM_REAL(XFree)(data);
}

OM_EXPORT GLXContext glXCreateContext(Display* display, XVisualInfo* visual, GLXContext shared, Bool direct)
{
  EXPECT_TRUE(direct);
  return make<GLXContext>("glXCreateContext", "context",
                          [=] { return OM_REAL(glXCreateContext)(display, visual, shared, direct); });
}

OM_EXPORT void glXDestroyContext(Display* display, GLXContext context)
{
  release("context", context);
  OM_REAL(glXDestroyContext)(display, context);
}

/// Refuses a second thread as drivers do, by an X error.
OM_EXPORT Bool glXMakeCurrent(Display* display, GLXDrawable drawable, GLXContext context)
{
  static const std::thread::id first = std::this_thread::get_id();
  if (std::this_thread::get_id() == first)
    return OM_REAL(glXMakeCurrent)(display, drawable, context);
  if (s_refusesOtherThreads)
    XMapWindow(display, 1);
  return True;
}

OM_EXPORT Colormap XCreateColormap(Display* display, Window window, Visual* visual, int allocate)
{
  return make<Colormap>("XCreateColormap", "colormap",
                        [=] { return OM_REAL(XCreateColormap)(display, window, visual, allocate); });
}

OM_EXPORT int XFreeColormap(Display* display, Colormap colormap)
{
  release("colormap", colormap);
  return OM_REAL(XFreeColormap)(display, colormap);
}

OM_EXPORT Window XCreateWindow(Display* display, Window parent, int x, int y, unsigned int width, unsigned int height,
                               unsigned int border, int depth, unsigned int kind, Visual* visual, unsigned long mask,
                               XSetWindowAttributes* attributes)
{
  return make<Window>("XCreateWindow", "window",
                      [=]
                      {
                        return OM_REAL(XCreateWindow)(display, parent, x, y, width, height, border, depth, kind, visual,
                                                      mask, attributes);
                      });
}

OM_EXPORT int XDestroyWindow(Display* display, Window window)
{
  release("window", window);
  return OM_REAL(XDestroyWindow)(display, window);
}

OM_EXPORT Atom XInternAtom(Display* display, const char* name, Bool onlyExisting)
{
  return s_failing == "XInternAtom" && onlyExisting ? None : OM_REAL(XInternAtom)(display, name, onlyExisting);
}

namespace
{

/// Nothing that the library made is left in the end.
class OmWindowImplX11 : public X11Test
{
protected:
  void TearDown() override
  {
    for (const auto& [kind, living] : s_living)
      EXPECT_EQ(living.size(), 0u) << "a " << kind << " is left";
    X11Test::TearDown();
  }

  std::string title(Window window) const
  {
    char* name = nullptr;
    XFetchName(m_display, window, &name);
    const std::string result = name ? name : "";
    XFree(name);
    return result;
  }

  /// "640x480+20+30", the position on the screen.
  std::string geometry(Window window) const
  {
    int x = 0;
    int y = 0;
    Window child = 0;
    XTranslateCoordinates(m_display, window, m_root, 0, 0, &x, &y, &child);
    const XWindowAttributes now = attributes(window);
    std::ostringstream text;
    text << now.width << 'x' << now.height << '+' << x << '+' << y;
    return text.str();
  }

  std::vector<long> motifHints(Window window) const
  {
    const Atom atom = OM_REAL(XInternAtom)(m_display, "_MOTIF_WM_HINTS", False);
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(m_display, window, atom, 0, 100, False, atom, &type, &format, &count, &left, &data);
    const long* values = reinterpret_cast<const long*>(data);
    const std::vector<long> result(values, values + (format == 32 ? count : 0));
    XFree(data);
    return result;
  }
};

using Colour = std::array<GLubyte, 3>;
constexpr Colour Painted = {10, 200, 90};

/// A texture of one colour in the current context.
GLuint makeTexture()
{
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, 1, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, Painted.data());
  glFinish();
  return texture;
}

/// What the window shows of the texture.
Colour draw(const OmWindow& window, GLuint texture)
{
  window.makeCurrent();
  glClear(GL_COLOR_BUFFER_BIT);
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  glBindTexture(GL_TEXTURE_2D, texture);
  glRecti(-1, -1, 1, 1);
  Colour colour = {};
  glReadPixels(2, 2, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, colour.data());
  window.swapBuffers();
  return colour;
}

struct Failure
{
  const char* function;
  const char* text;
  bool keepsDisplay;
  bool keepsVisual;
};

constexpr Failure Failures[] = {
    {"XOpenDisplay", "X11::openWindow - Cannot open display.\n", false, false},
    {"glXQueryExtension", "X11::openWindow - Failed to get GLX extensions.\n", true, false},
    {"glXChooseVisual", "X11: Unable to find suitable pixel format.\n", true, false},
    {"glXCreateContext", "X11::openWindow - Failed to create OpenGL context.\n", true, false},
    {"XCreateWindow", "X11::openWindow - Failed to create Window.\n", true, true},
};

TEST_F(OmWindowImplX11, FailuresAreReportedReleaseWhatWasMadeAndCanBeTriedAgain)
{
  for (const Failure& failure : Failures)
  {
    SCOPED_TRACE(failure.function);
    for (const bool retry : {false, true})
    {
      X11Window window;
      PrintCapture capture;
      s_failing = failure.function;
      EXPECT_FALSE(window.init());
      EXPECT_FALSE(window.init()) << "again, with what the first failure left";
      s_failing.clear();
      const Messages once = {{4, failure.text}, {4, "OmWindow::Impl::openWindow Failed\n"}};
      EXPECT_EQ(capture.messages(4), (Messages{once[0], once[1], once[0], once[1]}));

      EXPECT_EQ(window.x11().getWindow(), nullptr);
      EXPECT_EQ(window.x11().m_pDisplay != nullptr, failure.keepsDisplay);
      EXPECT_EQ(window.x11().m_pVisualInfo != nullptr, failure.keepsVisual);
      EXPECT_EQ(window.x11().m_context, nullptr);
      EXPECT_EQ(window.id(), None);
      EXPECT_TRUE(s_living["context"].empty() && s_living["window"].empty() && s_living["colormap"].empty());
      EXPECT_EQ(s_living["visual"].size(), failure.keepsVisual ? 1u : 0u);
      EXPECT_TRUE(window.x11().shareGroup().expired());

      if (retry)
      {
        EXPECT_TRUE(window.init());
        EXPECT_TRUE(isMapped(window.id()));
      }
    }
    EXPECT_TRUE(s_living["display"].empty() && s_living["visual"].empty());
  }

  X11Window current;
  ASSERT_TRUE(current.init());
  X11Window large(32768, 1); // more than X can say
  PrintCapture capture;
  EXPECT_FALSE(large.init());
  const Messages messages = {{4, "X11::openWindow - 32768 by 1 pixels are more than the 32767 of a window.\n"},
                             {4, Failures[4].text},
                             {4, "OmWindow::Impl::openWindow Failed\n"}};
  EXPECT_EQ(capture.messages(4), messages);
  EXPECT_EQ(glXGetCurrentContext(), current.x11().m_context);
}

TEST_F(OmWindowImplX11, WithoutWindowNothingHappens)
{
  PrintCapture capture;
  OpenX11 x11;
  EXPECT_FALSE(x11.openWindow());
  EXPECT_EQ(capture.messages(4), (Messages{{4, "X11::openWindow - No root window specified.\n"}}));
  x11.setName("name");
  x11.setWindowSize(1, 2);
  x11.setWindowPos(1, 2);
  x11.setWindowSizeAndPos(1, 2, 3, 4);
  x11.setTopMost(true);
  x11.setHideWindow(false);
  x11.setFullScreen(true);
  x11.makeCurrent();
  x11.swapBuffers();
  x11.closeWindow();
  x11.closeWindow();
  EXPECT_EQ(x11.m_pDisplay, nullptr);
  EXPECT_EQ(capture.messages(4).size(), 1u);
}

TEST_F(OmWindowImplX11, VisualsAreTriedFromStereoDownToTheSimplest)
{
  const std::vector<int> tails[] = {{GLX_STEREO, GLX_DEPTH_SIZE, 32},
                                    {GLX_STEREO, GLX_DEPTH_SIZE, 24},
                                    {GLX_DEPTH_SIZE, 32},
                                    {GLX_DEPTH_SIZE, 24},
                                    {GLX_DEPTH_SIZE, 1},
                                    {}};
  for (s_failingVisuals = 0; s_failingVisuals < std::size(tails); ++s_failingVisuals)
  {
    SCOPED_TRACE(s_failingVisuals);
    s_visualLists.clear();
    X11Window window;
    window.setHideWindow(true);
    ASSERT_TRUE(window.init());
    EXPECT_EQ(window.getStereoSupported(), s_failingVisuals < 2);
    ASSERT_EQ(s_visualLists.size(), s_failingVisuals + 1);
    for (std::size_t attempt = 0; attempt < s_visualLists.size(); ++attempt)
    {
      std::vector<int> list = {m_screen, GLX_DOUBLEBUFFER, GLX_RGBA, GLX_RED_SIZE, 8, GLX_ALPHA_SIZE, 8};
      list.insert(list.end(), tails[attempt].begin(), tails[attempt].end());
      EXPECT_EQ(s_visualLists[attempt], list);
    }
    EXPECT_TRUE(window.x11().openWindow()) << "open already";
    EXPECT_EQ(s_living["window"].size(), 1u);
  }
  s_failingVisuals = 0;
}

TEST_F(OmWindowImplX11, TheWindowIsWhatTheSettingsSay)
{
  X11Window window(64, 48);
  window.setName("first");
  window.setWindowPos(20, 30, true);
  ASSERT_TRUE(window.init());
  const XWindowAttributes now = attributes(window.id());
  EXPECT_EQ(now.root, m_root) << "the last screen";
  EXPECT_EQ(now.map_state, IsViewable);
  EXPECT_EQ(now.all_event_masks, 0x238000);
  EXPECT_EQ(now.border_width, 0);
  EXPECT_EQ(geometry(window.id()), "64x48+20+30");
  EXPECT_TRUE(eventually([&] { return title(window.id()) == "first"; }));
  XSizeHints hints = {};
  long supplied = 0;
  EXPECT_TRUE(XGetWMNormalHints(m_display, window.id(), &hints, &supplied));
  EXPECT_EQ(hints.flags, PPosition);
  EXPECT_EQ(hints.x, 20);
  EXPECT_EQ(hints.y, 30);

  window.setName("second");
  EXPECT_TRUE(eventually([&] { return title(window.id()) == "second"; }));
  window.setWindowSize(32, 16);
  EXPECT_TRUE(eventually([&] { return geometry(window.id()) == "32x16+20+30"; }));
  window.setWindowSize(0, 16);
  EXPECT_TRUE(eventually([&] { return geometry(window.id()) == "1x1+20+30"; }));
  window.setWindowPos(1, 2, true);
  EXPECT_TRUE(eventually([&] { return geometry(window.id()) == "1x1+1+2"; }));
  window.setWindowSizeAndPos(10, 11, 12, 13);
  EXPECT_TRUE(eventually([&] { return geometry(window.id()) == "10x11+12+13"; }));
  window.setHideWindow(true);
  EXPECT_TRUE(eventually([&] { return !isMapped(window.id()); }));
  window.setHideWindow(false);
  EXPECT_TRUE(eventually([&] { return isMapped(window.id()); }));

  glXMakeCurrent(window.x11().m_pDisplay, None, nullptr); // behind the window's back
  window.makeCurrent();
  EXPECT_EQ(glXGetCurrentContext(), window.x11().m_context);

  X11Window other;
  ASSERT_TRUE(other.init());
  window.setTopMost(true);
  EXPECT_TRUE(eventually([&] { return children(m_root).back() == window.id(); }));
  window.setTopMost(false);
  EXPECT_TRUE(eventually([&] { return children(m_root).front() == window.id(); }));
}

TEST_F(OmWindowImplX11, FullScreenIsAPropertyThatMustExist)
{
  X11Window window;
  window.setFullScreen(true);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(motifHints(window.id()), std::vector<long>{});

  PrintCapture capture;
  s_failing = "XInternAtom";
  window.setFullScreen(true);
  s_failing.clear();
  EXPECT_EQ(capture.messages(4), (Messages{{4, "Unable to change fullscreen property.\n"}}));
  XSync(window.x11().m_pDisplay, False);
  EXPECT_EQ(motifHints(window.id()), std::vector<long>{});

  window.setFullScreen(true);
  EXPECT_TRUE(eventually([&] { return motifHints(window.id()) == std::vector<long>{2, 0, 0, 0, 0}; }));
  window.setFullScreen(false);
  EXPECT_TRUE(eventually([&] { return motifHints(window.id()) == std::vector<long>{2, 0, 1, 0, 0}; }));
  EXPECT_EQ(capture.messages(4).size(), 1u);
}

TEST_F(OmWindowImplX11, AHiddenWindowIsNeverMapped)
{
  XSelectInput(m_display, m_root, SubstructureNotifyMask);
  XSync(m_display, False);
  for (const bool hidden : {true, false})
  {
    X11Window window(0, 0);
    window.setTopMost(true);
    window.setHideWindow(hidden);
    ASSERT_TRUE(window.init());
    const std::string size = geometry(window.id());
    EXPECT_EQ(size.substr(0, 4), "1x1+");
    OmU32 width = 1;
    OmU32 height = 1;
    window.getWindowSize(width, height);
    EXPECT_EQ(width + height, 0u) << "a window without size opens as 1 by 1 and does not say so";
    const Window id = window.id();
    window.closeWindow();
    XSync(m_display, False);
    XEvent event;
    std::multiset<int> seen; // of this window: other tests share the display
    while (XCheckMaskEvent(m_display, SubstructureNotifyMask, &event))
      if (event.xmap.window == id)
        seen.insert(event.type);
    EXPECT_EQ(seen.count(MapNotify), hidden ? 0u : 1u);
    EXPECT_EQ(seen.count(UnmapNotify), hidden ? 0u : 1u);
  }
}

TEST_F(OmWindowImplX11, SharedTexturesOutliveTheWindowsThatSharedThem)
{
  for (const bool makerClosesFirst : {true, false})
  {
    X11Window maker;
    ASSERT_TRUE(maker.init());
    const GLuint texture = makeTexture();
    const boost::weak_ptr<const void> group = OmWindow::currentShareGroup();
    X11Window stranger;
    ASSERT_TRUE(stranger.init());
    EXPECT_FALSE(glIsTexture(texture));
    EXPECT_FALSE(OmWindow::isShareGroupCurrent(group));

    PlainWindow user; // without a back end until it opens
    user.setWindowSize(8, 8);
    EXPECT_TRUE(user.share(&maker));
    ASSERT_TRUE(user.init());
    EXPECT_EQ(user.getShareWindow(), &maker);
    EXPECT_TRUE(OmWindow::isShareGroupCurrent(group));
    EXPECT_EQ(draw(user, texture), Painted);
    EXPECT_EQ(draw(maker, texture), Painted);

    OmWindow& left = makerClosesFirst ? static_cast<OmWindow&>(user) : maker;
    draw(left, texture);
    (makerClosesFirst ? static_cast<OmWindow&>(maker) : user).closeWindow();
    EXPECT_EQ(draw(left, texture), Painted);

    // A third one joins what is left, and stays when both others are gone.
    X11Window heir;
    EXPECT_TRUE(heir.share(&left));
    ASSERT_TRUE(heir.init());
    EXPECT_TRUE(OmWindow::isShareGroupCurrent(group));
    left.closeWindow();
    EXPECT_EQ(draw(heir, texture), Painted);
    glDeleteTextures(1, &texture);
    heir.closeWindow();
    stranger.closeWindow();
    EXPECT_TRUE(s_living["display"].empty());
    EXPECT_TRUE(group.expired());
  }
}

TEST_F(OmWindowImplX11, UnsuitablePartnersAreNotSharedWith)
{
  PlainWindow other;
  other.setImpl(boost::make_shared<RecordingImpl>());
  X11Window unopened;
  const Messages differs = {{4, "OmWindow::openWindow() - Unable to share windows of different types.\n"}};
  const std::pair<const OmWindow*, Messages> partners[] = {{&other, differs}, {&unopened, {}}};
  for (const auto& [partner, messages] : partners)
  {
    X11Window window;
    PrintCapture capture;
    EXPECT_TRUE(window.share(partner));
    EXPECT_TRUE(window.init());
    EXPECT_EQ(capture.messages(4), messages);
    EXPECT_EQ(draw(window, makeTexture()), Painted);
  }
}

TEST_F(OmWindowImplX11, OpeningAndClosingAllDayUsesUpNothing)
{
  constexpr int Count = 300; // a server takes 256 clients
  X11Window lasting;
  lasting.setHideWindow(true);
  ASSERT_TRUE(lasting.init());
  for (const bool shares : {false, true})
    for (int i = 0; i < Count; ++i)
    {
      X11Window window;
      window.setHideWindow(true);
      if (shares)
      {
        window.share(&lasting);
      }
      ASSERT_TRUE(window.init()) << i;
      ASSERT_EQ(s_living["display"].size(), 2u);
    }
}

TEST_F(OmWindowImplX11, ClosingDoesNotWaitForAnUnmapThatNeverComes)
{
  void (*const preparations[])(Display*, X11Window&) = {
      [](Display* display, X11Window& window)
      {
        XUnmapWindow(display, window.id());
        XEvent event; // which takes the report away
        XFlush(display);
        XIfEvent(window.x11().m_pDisplay, &event, OmWindow::Impl::X11::waitForUnmapNotifyX,
                 reinterpret_cast<char*>(window.id()));
      },
      [](Display*, X11Window& window)
      {
        window.setHideWindow(true);
        window.setHideWindow(false);
      },
      [](Display*, X11Window& window) { window.setImpl({}); }, // closes it without being asked
  };
  for (const auto prepare : preparations)
  {
    X11Window window;
    ASSERT_TRUE(window.init());
    prepare(m_display, window);
    window.closeWindow();
    EXPECT_TRUE(s_living["window"].empty());
  }

  boost::shared_ptr<OmWindow::Impl> kept; // longer than its window lives
  {
    X11Window window;
    ASSERT_TRUE(window.init());
    kept = window.getImpl();
    window.setImpl({});
  }
  EXPECT_EQ(kept->getWindow(), nullptr);
  EXPECT_EQ(s_living["window"].size(), 1u);
}

TEST_F(OmWindowImplX11, UseOnASecondThreadIsTold)
{
  X11Window window;
  X11Window other;
  ASSERT_TRUE(window.init() && other.init());
  const PrintCapture capture;
  const auto linesOnAnotherThread = [&](const OmWindow& used)
  {
    const std::size_t before = capture.messages(4).size();
    std::thread([&] { used.makeCurrent(), used.makeCurrent(); }).join();
    return capture.messages(4).size() - before;
  };
  EXPECT_EQ(linesOnAnotherThread(window), 0u); // this thread has left it for the other one
  EXPECT_EQ(linesOnAnotherThread(other), 0u);  // this thread may have let go of it by GLX
  other.makeCurrent();
  window.makeCurrent();
  s_refusesOtherThreads = true;
  EXPECT_EQ(linesOnAnotherThread(window), 2u); // each time, without an X error that nobody handles
  s_refusesOtherThreads = false;
}

} // namespace
