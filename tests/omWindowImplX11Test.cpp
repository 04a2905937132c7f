#include "tests/support/x11Test.h"

#include "tests/support/printCapture.h"
#include "tests/support/swapDouble.h"

#include <X11/Xutil.h>

#include <algorithm>
#include <map>
#include <set>

namespace
{

std::string s_failing;                         // the function that finds or makes nothing,
bool s_failsByError;                           // or what the server refuses
int s_errors;                                  // what reaches the program's own handler
bool s_refusesOtherThreads;                    // glXMakeCurrent
bool s_mapsBelow;                              // a window comes below the others
std::size_t s_failingVisuals;                  // how many attempts find no visual
std::vector<std::vector<int>> s_visualLists;   // what was asked for
std::map<std::string, std::set<XID>> s_living; // what the doubles made and has not been released

bool fails(const char* function, bool byError)
{
  return s_failing == function && s_failsByError == byError;
}

/// A request that no server grants.
void causeError(Display* display)
{
  OM_REAL(XMapWindow)(display, 1);
}

template <typename Handle, typename Make>
Handle make(const char* function, const char* kind, Make makeReal)
{
  const Handle handle = fails(function, false) ? Handle() : makeReal();
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

/// Finds no visual at first, and then a simple one, stereo or not.
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
  if (fails("glXCreateContext", true))
    causeError(display);
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
  if (context && fails("glXMakeCurrent", false))
    return False;
  if (context && fails("glXMakeCurrent", true))
    causeError(display);
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
  if (fails("XCreateWindow", true))
  {
    causeError(display);
    return 1; // Xlib gives every window an id, before the server sees the request
  }
  return make<Window>("XCreateWindow", "window",
                      [=]
                      {
                        return OM_REAL(XCreateWindow)(display, parent, x, y, width, height, border, depth, kind, visual,
                                                      mask, attributes);
                      });
}

/// Maps as under a window manager that puts new windows behind the one in use.
OM_EXPORT int XMapWindow(Display* display, Window window)
{
  if (s_mapsBelow)
    XLowerWindow(display, window);
  return OM_REAL(XMapWindow)(display, window);
}

/// A server that is out of memory.
OM_EXPORT int XResizeWindow(Display* display, Window window, unsigned int width, unsigned int height)
{
  return OM_REAL(XResizeWindow)(display, s_failing == "XResizeWindow" ? 1 : window, width, height);
}

OM_EXPORT int XDestroyWindow(Display* display, Window window)
{
  release("window", window);
  return OM_REAL(XDestroyWindow)(display, window);
}

namespace
{

/// Nothing that the library made is left in the end.
class omWindowImplX11Test : public X11Test
{
protected:
  void TearDown() override
  {
    for (const auto& [kind, living] : s_living)
      EXPECT_EQ(living.size(), 0u) << "a " << kind << " is left";
    X11Test::TearDown();
  }

  /// "640x480+20+30"
  std::string geometry(Window window) const
  {
    const XWindowAttributes now = attributes(window);
    std::ostringstream text;
    text << now.width << 'x' << now.height << '+' << now.x << '+' << now.y;
    return text.str();
  }

  bool isAbove(Window upper, Window lower) const
  {
    const std::vector<Window> bottomUp = children(m_root);
    return std::find(std::find(bottomUp.begin(), bottomUp.end(), lower), bottomUp.end(), upper) != bottomUp.end();
  }
};

constexpr struct
{
  const char* function;
  const char* text;
  bool byError;
} Failures[] = {
    {"XOpenDisplay", "X11::openWindow - Cannot open display.\n", false},
    {"glXQueryExtension", "X11::openWindow - Failed to get GLX extensions.\n", false},
    {"glXChooseVisual", "X11: Unable to find suitable pixel format.\n", false},
    {"glXCreateContext", "X11::openWindow - Failed to create OpenGL context.\n", false},
    {"XCreateWindow", "X11::openWindow - Failed to create Window.\n", false},
    {"glXMakeCurrent", "X11::openWindow - Failed to make the OpenGL context current.\n", false},
    {"glXCreateContext", "X11::openWindow - Failed to create OpenGL context.\n", true},
    {"XCreateWindow", "X11::openWindow - Failed to create Window.\n", true},
    {"glXMakeCurrent", "X11::openWindow - Failed to make the OpenGL context current.\n", true},
};

TEST_F(omWindowImplX11Test, FailuresAreReportedReleaseWhatWasMadeAndCanBeTriedAgain)
{
  const auto handler = [](Display*, XErrorEvent*) { return ++s_errors; };
  XSetErrorHandler(handler);
  for (const auto& failure : Failures)
  {
    SCOPED_TRACE(testing::Message() << failure.function << " by error " << failure.byError);
    s_failsByError = failure.byError;
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
      EXPECT_EQ(window.id(), None);
      EXPECT_TRUE(s_living["context"].empty() && s_living["window"].empty() && s_living["colormap"].empty());
      EXPECT_TRUE(window.x11().shareGroup() == OmShareGroup());

      if (retry)
      {
        EXPECT_TRUE(window.init());
        EXPECT_TRUE(isMapped(window.id()));
      }
    }
    EXPECT_TRUE(s_living["display"].empty() && s_living["visual"].empty());
  }

  EXPECT_EQ(XSetErrorHandler(nullptr), handler);
  EXPECT_EQ(s_errors, 0);
}

TEST_F(omWindowImplX11Test, VisualsAreTriedFromStereoDownToTheSimplest)
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
    std::vector<int> list = {m_screen, GLX_DOUBLEBUFFER, GLX_RGBA, GLX_RED_SIZE, 8, GLX_ALPHA_SIZE, 8};
    list.insert(list.end(), tails[s_failingVisuals].begin(), tails[s_failingVisuals].end());
    EXPECT_EQ(s_visualLists.back(), list);
    EXPECT_TRUE(window.x11().openWindow()) << "open already";
    EXPECT_EQ(s_living["window"].size(), 1u);
  }
  s_failingVisuals = 0;
}

TEST_F(omWindowImplX11Test, TheWindowIsWhatTheSettingsSay)
{
  X11Window window(64, 48);
  window.setWindowPos(20, 30, true);
  ASSERT_TRUE(window.init());
  const XWindowAttributes now = attributes(window.id());
  EXPECT_EQ(now.root, m_root) << "the last screen";
  EXPECT_EQ(now.all_event_masks, 0x238000);
  EXPECT_EQ(now.border_width, 0);
  EXPECT_EQ(geometry(window.id()), "64x48+20+30");
  XSizeHints hints = {};
  long supplied = 0;
  EXPECT_TRUE(XGetWMNormalHints(m_display, window.id(), &hints, &supplied));
  EXPECT_TRUE(hints.flags == PPosition && hints.x == 20 && hints.y == 30);

  {
    const PrintCapture capture(4);
    s_failing = "XResizeWindow";
    window.setWindowSize(30, 31);
    s_failing.clear();
    EXPECT_EQ(capture.messages(),
              (Messages{{4, "X11::setWindowSize - The X server cannot hold a window of 30 by 31 pixels.\n"}}));
  }
  window.setWindowSizeAndPos(10, 11, OmU32(-12), 40000);
  EXPECT_TRUE(eventually([&] { return geometry(window.id()) == "10x11+-12+32767"; })) << geometry(window.id());

  X11Window other;
  ASSERT_TRUE(other.init());
  X11Window above;
  above.setTopMost(true);
  s_mapsBelow = true;
  ASSERT_TRUE(above.init());
  s_mapsBelow = false;
  EXPECT_TRUE(eventually([&] { return isAbove(above.id(), other.id()); }));
  for (const bool topMost : {true, false})
  {
    window.setTopMost(topMost);
    EXPECT_TRUE(eventually([&] { return isAbove(window.id(), other.id()) == topMost; }));
  }
}

TEST_F(omWindowImplX11Test, AHiddenWindowIsNeverMapped)
{
  XSelectInput(m_display, m_root, SubstructureNotifyMask);
  XSync(m_display, False);
  for (const bool hidden : {true, false})
  {
    X11Window window(0, 0);
    window.setTopMost(true);
    window.setHideWindow(hidden);
    ASSERT_TRUE(window.init());
    EXPECT_EQ(geometry(window.id()).substr(0, 4), "1x1+");
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

TEST_F(omWindowImplX11Test, ConnectionsCloseWithTheLastWindowOfTheirGroup)
{
  X11Window windows[3];
  ASSERT_TRUE(windows[0].init());
  windows[1].share(&windows[0]);
  ASSERT_TRUE(windows[1].init());
  windows[0].closeWindow();
  EXPECT_EQ(s_living["display"].size(), 2u) << "the driver still refers to both";
  windows[2].share(&windows[1]);
  ASSERT_TRUE(windows[2].init());
  EXPECT_EQ(s_living["display"].size(), 2u) << "the one that is free is used again";
  windows[1].closeWindow();
  windows[2].closeWindow();
  EXPECT_TRUE(s_living["display"].empty());
}

TEST_F(omWindowImplX11Test, SwapsAreAskedNotToWaitByTheExtensionThatIsThere)
{
  for (const auto& [extensions, function] : {std::pair("GLX_A GLX_EXT_swap_control GLX_MESA_swap_control", "EXT"),
                                             {"GLX_MESA_swap_control GLX_EXT_swap_control_tear", "MESA"},
                                             {"GLX_EXT_swap_control_tear GLX_SGI_swap_control", ""}})
  {
    X11Window window;
    window.setHideWindow(true);
    s_glxExtensions = extensions;
    takeCalls();
    ASSERT_TRUE(window.init());
    s_glxExtensions = nullptr;
    const std::string ext = call("EXT", window.x11().m_pDisplay, window.id(), 0);
    const std::string calls = takeCalls();
    EXPECT_EQ(calls.substr(0, calls.find("; ")), *function == 'E' ? ext : *function ? "MESA 0" : "window makeCurrent");
  }
}

TEST_F(omWindowImplX11Test, ClosingDoesNotWaitForAnUnmapThatNeverComes)
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
}

TEST_F(omWindowImplX11Test, UseOnASecondThreadIsReported)
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
  EXPECT_EQ(linesOnAnotherThread(window), 2u); // each time; an X error would end the process
  s_refusesOtherThreads = false;
}

} // namespace
