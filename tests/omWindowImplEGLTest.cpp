#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "tests/support/capture.h"
#include "tests/support/eglDouble.h"
#include "tests/support/printCapture.h"
#include "tests/support/xDouble.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "render/omWindowImplEGL.h"
#include "render/omWindowImplX11.h" // after the test framework, whose names Xlib's macros would replace

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <list>
#include <thread>
#include <unistd.h>

namespace
{

const char* s_library = OM_EGL_DOUBLE; // what the library finds as libEGL.so.1
bool s_mayOpenNodes = true;

EGLDouble& egl()
{
  static void* const library = OM_REAL(dlopen)(OM_EGL_DOUBLE, RTLD_LAZY);
  return *reinterpret_cast<decltype(&eglDouble)>(dlsym(library, "eglDouble"))();
}

} // namespace

OM_EXPORT void* dlopen(const char* name, int flags)
{
  return OM_REAL(dlopen)(name && std::strcmp(name, "libEGL.so.1") == 0 ? s_library : name, flags);
}

// What the system says of render nodes that are not there.
OM_EXPORT ssize_t readlink(const char* path, char* target, size_t size)
{
  if (std::strcmp(path, "/sys/class/drm/renderD777/device") != 0)
    return OM_REAL(readlink)(path, target, size);
  std::strncpy(target, "../../../0000:65:00.0", size);
  return 21;
}

OM_EXPORT int access(const char* path, int mode)
{
  if (s_mayOpenNodes || std::strcmp(path, "/dev/dri/renderD777") != 0)
    return OM_REAL(access)(path, mode);
  errno = EACCES;
  return -1;
}

namespace
{

/// The back end with what it keeps in view.
class OpenEGL : public OmWindow::Impl::EGL
{
public:
  using EGL::m_context;
  using EGL::m_surface;
};

template <typename Window>
class On : public Window
{
public:
  explicit On(boost::shared_ptr<OmWindow::Impl> impl = boost::make_shared<OpenEGL>()) { this->setImpl(impl); }
  OpenEGL& egl() const { return static_cast<OpenEGL&>(*this->m_pImpl); }
  int device() const { return egl().device().number; }
};

using EGLWindow = On<OmSimpleWindow>;

const auto GetCurrentContext = []
{
  return reinterpret_cast<decltype(&eglGetCurrentContext)>(
      dlsym(OM_REAL(dlopen)(OM_REAL_EGL, RTLD_LAZY), "eglGetCurrentContext"))();
};

/// Whether the window shows a picture, drawn now.
bool shows(OmSimpleWindow& window, const OmImage& picture)
{
  return window.setImageBuffer(picture, false) && differences(captured(window), picture) == 0;
}

/// The first error that opening a window gives; empty when it opens.
std::string errorOf(OmWindow& window)
{
  const PrintCapture capture(4);
  if (window.init())
    return "";
  const Messages messages = capture.messages(4);
  EXPECT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages.back().second, "OmWindow::Impl::openWindow Failed\n");
  return messages.front().second;
}

std::size_t openFiles()
{
  using Iterator = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(Iterator("/proc/self/fd"), Iterator()));
}

/// Without a display, which the tests about X11 windows get back.
class omWindowImplEGLTest : public testing::Test
{
protected:
  omWindowImplEGLTest()
  {
    const char* const display = std::getenv("DISPLAY");
    m_display = display ? display : "";
    unsetenv("DISPLAY");
    OmWindow::setImplType(OmWindow::ImplEGL);
  }
  ~omWindowImplEGLTest() override
  {
    egl() = EGLDouble();
    useDisplay();
  }

  /// Whether there is one.
  bool useDisplay() const
  {
    if (!m_display.empty())
      setenv("DISPLAY", m_display.c_str(), 1);
    return !m_display.empty();
  }

  const OmImage m_picture = makePicture(3, 61, 47);

private:
  std::string m_display;
};

constexpr char Enumeration[] = "EGL_EXT_client_extensions EGL_EXT_platform_base EGL_EXT_device_enumeration "
                               "EGL_EXT_device_query EGL_EXT_platform_device";

/// A card with every kind of name.
EGLDoubleDevice card(bool works = true)
{
  return {works,
          "EGL_EXT_device_drm_render_node EGL_NV_device_cuda EGL_EXT_device_persistent_id",
          {{EGL_DRM_RENDER_NODE_FILE_EXT, "/dev/dri/renderD777"}, {EGL_DRIVER_NAME_EXT, "fast"}},
          3};
}

EGLDoubleDevice processor(bool works = true)
{
  return {works, "EGL_MESA_device_software"};
}

/// From now on EGL lists these devices.
void give(const std::vector<EGLDoubleDevice>& devices, const char* failing = "", const char* extensions = Enumeration)
{
  egl() = EGLDouble();
  egl().devices = devices;
  egl().failing = failing;
  egl().clientExtensions = extensions;
}

} // namespace

TEST_F(omWindowImplEGLTest, ResizingKeepsTheContextAndWhatIsInIt)
{
  EGLWindow window;
  ASSERT_TRUE(window.setImageBuffer(m_picture, true));
  const auto texture = boost::make_shared<OmTexture>();
  ASSERT_TRUE(texture->loadFromImage(m_picture, OmTextureParameters()));
  const void* const context = window.egl().m_context;
  const void* const surface = window.egl().m_surface;
  EXPECT_TRUE(shows(window, m_picture));
  EXPECT_EQ(window.egl().m_surface, surface) << "a pbuffer of the same size stays";
  const std::size_t files = openFiles();
  for (const auto& [width, height] : {std::pair(1u, 1u), {4099u, 3u}, {2u, 5001u}, {16384u, 2u}})
    EXPECT_TRUE(shows(window, makePicture(3, width, height))) << width << "x" << height;
  EXPECT_EQ(window.egl().m_context, context);
  EXPECT_EQ(egl().calls["eglDestroySurface"], 4);
  EXPECT_EQ(openFiles(), files);
  EXPECT_TRUE(window.setImageBuffer(texture, true));
  EXPECT_EQ(differences(captured(window), m_picture), 0u);
}

TEST_F(omWindowImplEGLTest, AWindowThatIsNotCurrentResizesAndOneOfAnotherThreadIsRefused)
{
  EGLWindow window;
  EGLWindow other;
  ASSERT_TRUE(shows(window, m_picture));
  ASSERT_TRUE(shows(other, m_picture));
  window.egl().setWindowSize(33, 9); // leaves the other current
  EXPECT_EQ(GetCurrentContext(), other.egl().m_context);
  EXPECT_TRUE(shows(window, makePicture(3, 33, 9)));

  PrintCapture capture(4);
  std::thread([&] { window.makeCurrent(); }).join();
  EXPECT_EQ(capture.messages(),
            (Messages{{4, "OmWindow::Impl::EGL::makeCurrent - The window is current on another thread; open and use "
                          "each window on one thread.\n"}}));
  capture.clear();
  other.makeCurrent(); // so this thread lets go
  std::thread([&] { EXPECT_TRUE(shows(window, m_picture)); }).join();
  EXPECT_TRUE(shows(window, m_picture)); // the other thread has ended, and with it its hold on the context
  EXPECT_TRUE(capture.messages().empty());
}

TEST_F(omWindowImplEGLTest, WhatNeedsAScreenDoesNothing)
{
  PrintCapture capture(3);
  EGLWindow window;
  window.setTopMost(true);
  window.setWindowSizeAndPos(0, 9, 7, 8);
  ASSERT_TRUE(window.init());
  ASSERT_FALSE(capture.messages().empty());
  EXPECT_EQ(capture.messages().back(), Messages::value_type(3, "No support for GLX_SGI_swap_control\n"));
  EXPECT_FALSE(OmGL::isSupported(OmGL::SupportVSync));
  window.setName("title");
  window.setFullScreen(true);
  window.setWindowPos(70, 80, true);
  for (const bool hidden : {true, false})
  {
    window.setHideWindow(hidden);
    EXPECT_TRUE(shows(window, m_picture));
  }
  EXPECT_FALSE(window.getStereoSupported());
  EXPECT_TRUE(window.getImpl()->init(&window)) << "open already";
  EXPECT_EQ(egl().calls["eglCreateContext"], 1);
}

TEST_F(omWindowImplEGLTest, WindowsOfBothKindsTakeTurns)
{
  if (!useDisplay())
    GTEST_SKIP() << "no X server";
  const OmImage other = makePicture(3, 20, 30, 2);
  for (const bool x11First : {true, false})
  {
    On<OmSimpleWindow> x11(OmWindow::Impl::X11::newImpl());
    EGLWindow window;
    EXPECT_TRUE(!x11First || shows(x11, other));
    ASSERT_TRUE(shows(window, m_picture));
    const OmShareGroup home = OmShareGroup::current();
    for (int i = 0; i < 2; ++i)
    {
      EXPECT_TRUE(shows(x11, other));
      EXPECT_TRUE(glXGetCurrentContext() && GetCurrentContext() == EGL_NO_CONTEXT && !home.isCurrent());
      EXPECT_TRUE(shows(window, m_picture));
      EXPECT_TRUE(!glXGetCurrentContext() && home.isCurrent());
    }
    // Closing one while the other is current leaves neither.
    (x11First ? static_cast<OmWindow&>(window) : x11).makeCurrent();
    (x11First ? static_cast<OmWindow&>(x11) : window).getImpl()->closeWindow();
    EXPECT_TRUE(GetCurrentContext() == EGL_NO_CONTEXT && !glXGetCurrentContext());
  }
}

TEST_F(omWindowImplEGLTest, PartnersShareOnOneDevice)
{
  give({processor(), processor()});
  OmWindow::Impl::EGL::setDevice("1");
  EGLWindow first;
  ASSERT_TRUE(first.setImageBuffer(m_picture, true));
  const auto texture = boost::make_shared<OmTexture>();
  ASSERT_TRUE(texture->loadFromImage(m_picture, OmTextureParameters()));
  OmWindow::Impl::EGL::setDevice("0"); // does not hold for a partner
  EGLWindow second;
  EXPECT_TRUE(second.share(&first));
  ASSERT_TRUE(second.init());
  EXPECT_EQ(second.device(), 1);
  EXPECT_TRUE(second.setImageBuffer(texture, true));
  OmWindow::Impl::EGL::setDevice("");
}

TEST_F(omWindowImplEGLTest, ManyWindowsAtOnceAndOneAfterAnotherLeaveNoFilesOpen)
{
  std::size_t files = 0;
  for (int round = 0; round < 3; ++round)
  {
    std::list<EGLWindow> windows;
    for (int i = 0; i < 20; ++i)
      ASSERT_TRUE(shows(windows.emplace_back(), m_picture));
    EXPECT_TRUE(shows(windows.front(), makePicture(3, 9, 9)));
    windows.clear();
    if (round == 0)
      files = openFiles(); // what the driver keeps for good is there by now
  }
  EXPECT_EQ(openFiles(), files);
}

TEST_F(omWindowImplEGLTest, AWindowOfStaticStorageClosesAtTheEnd)
{
  static EGLWindow window;
  EXPECT_TRUE(shows(window, m_picture));
}

TEST_F(omWindowImplEGLTest, SizesBeyondTheDeviceFailAndResizingStopsThere)
{
  EGLWindow window;
  window.setWindowSize(100'000, 2);
  EXPECT_EQ(errorOf(window).substr(0, 58), "EGL::openWindow - 100000 by 2 pixels are more than the 163");
  EXPECT_EQ(GetCurrentContext(), EGL_NO_CONTEXT);
  window.setWindowSize(8, 8);
  ASSERT_TRUE(window.init());
  window.setWindowSize(100'000, 2);
  EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));

  egl().failing = "eglCreatePbufferSurface";
  const PrintCapture capture(4);
  const void* const before = window.egl().m_surface;
  window.egl().setWindowSize(10, 20);
  EXPECT_EQ(window.egl().m_surface, before);
  ASSERT_EQ(capture.messages(4).size(), 1u);
  EXPECT_EQ(capture.messages(4)[0].second.substr(0, 19), "EGL::setWindowSize ");
}

TEST_F(omWindowImplEGLTest, DevicesAreFoundByWhatTheDriverHas)
{
  constexpr char Surfaceless[] = "EGL_EXT_platform_base EGL_MESA_platform_surfaceless";
  const struct
  {
    const char* extensions;
    std::vector<EGLDoubleDevice> devices;
    int number; // of the device that opens
    const char* driver;
  } cases[] = {{Enumeration, {processor(), card(false), card()}, 2, "fast"}, // hardware first
               {Enumeration, {card(false), processor()}, 1, "swrast"},
               {"EGL_EXT_platform_base EGL_EXT_device_base EGL_EXT_platform_device", {card()}, 0, "fast"},
               {Surfaceless, {card()}, 0, "swrast"}};
  for (const auto& c : cases)
  {
    SCOPED_TRACE(testing::Message() << c.extensions << " " << c.devices.size());
    give(c.devices, "", c.extensions);
    EGLWindow window;
    EXPECT_TRUE(shows(window, m_picture));
    EXPECT_EQ(window.device(), c.number);
    EXPECT_EQ(window.egl().device().driver, c.driver);
    EXPECT_EQ(window.egl().device().isSoftware, std::string(c.driver) == "swrast");
  }
}

TEST_F(omWindowImplEGLTest, DevicesAreChosenByEveryName)
{
  give({processor(), card(), card(false), processor()});
  egl().devices[2].strings[EGL_DRM_RENDER_NODE_FILE_EXT] = "/dev/dri/renderD778";
  egl().devices[2].cudaNumber = 0;
  setenv("OM_RENDER_DEVICE", "3", 1);
  const std::pair<const char*, int> names[] = {{"", 3},
                                               {"0", 0},
                                               {"software", 0},
                                               {"hardware", 1},
                                               {"cuda:3", 1},
                                               {"65:00.0", 1},
                                               {"/dev/dri/renderD777", 1},
                                               {"00000000:65:00.0", 1}};
  for (const auto& [name, number] : names)
  {
    OmWindow::Impl::EGL::setDevice(name); // goes before the environment
    EGLWindow window;
    EXPECT_EQ(errorOf(window), "");
    EXPECT_EQ(window.device(), number) << name;
  }
  const std::string list = "0 (software), 1 (/dev/dri/renderD777, 0000:65:00.0, cuda:3), 2 (/dev/dri/renderD778, "
                           "cuda:0), 3 (software)";
  for (const std::string name : {"4", "cuda:30", "66:00.0", "65:00.0x"})
  {
    OmWindow::Impl::EGL::setDevice(name);
    EGLWindow window;
    EXPECT_EQ(errorOf(window), "EGL::openWindow - There is no device \"" + name + "\"; there are: " + list + ".\n");
  }
  OmWindow::Impl::EGL::setDevice("cuda:0");
  EGLWindow window;
  EXPECT_EQ(errorOf(window),
            "EGL::openWindow - No device gives OpenGL. Device 2 (/dev/dri/renderD778, cuda:0): eglInitialize: "
            "EGL_BAD_DISPLAY, No such file or directory for /dev/dri/renderD778 (give the container the device).\n")
      << "no other device is taken";
  OmWindow::Impl::EGL::setDevice("");
  unsetenv("OM_RENDER_DEVICE");
}

TEST_F(omWindowImplEGLTest, TheListOfDevicesSaysWhatEachAnswered)
{
  give({card(false), processor()});
  s_mayOpenNodes = false;
  const std::vector<OmWindow::Impl::EGL::Device> devices = OmWindow::Impl::EGL::devices();
  s_mayOpenNodes = true;
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_TRUE(devices[0].number == 0 && devices[0].renderNode == "/dev/dri/renderD777" && !devices[0].isSoftware);
  EXPECT_TRUE(devices[0].pciAddress == "0000:65:00.0" && devices[0].cudaNumber == 3 && devices[0].driver == "fast");
  EXPECT_FALSE(devices[0].opens);
  EXPECT_EQ(devices[0].answer, "eglInitialize: EGL_BAD_DISPLAY, no permission on /dev/dri/renderD777 (add the user to "
                               "the group render)");
  EXPECT_TRUE(devices[1].number == 1 && devices[1].isSoftware && devices[1].opens && devices[1].answer.empty());
  EXPECT_TRUE(devices[1].pciAddress.empty() && devices[1].cudaNumber == -1 && devices[1].driver == "swrast");
}

TEST_F(omWindowImplEGLTest, FailuresSayWhatEachDeviceAnswered)
{
  const struct
  {
    std::vector<EGLDoubleDevice> devices;
    const char* failing;
    const char* message;
  } cases[] = {
      {{},
       "eglQueryDevicesEXT",
       "EGL lists no device; install a driver (for Mesa the package libegl-mesa0), which puts a file into "
       "/usr/share/glvnd/egl_vendor.d"},
      {{card(false), processor(false)},
       "",
       "No device gives OpenGL. Device 0 (/dev/dri/renderD777, 0000:65:00.0, cuda:3): eglInitialize: EGL_BAD_DISPLAY, "
       "No such file or directory for /dev/dri/renderD777 (give the container the device); 1 (software): "
       "eglInitialize: EGL_BAD_DISPLAY"},
      {{processor()},
       "eglCreateContext",
       "No device gives OpenGL. Device 0 (software): eglCreateContext: error 0x3000, no OpenGL of the compatibility "
       "profile"},
      {{processor()},
       "eglCreatePbufferSurface",
       "No device gives OpenGL. Device 0 (software): eglCreatePbufferSurface: error 0x3000 for 1 by 1 pixels"}};
  EGLWindow window;
  for (const auto& c : cases)
  {
    give(c.devices, c.failing);
    EXPECT_EQ(errorOf(window), std::string("EGL::openWindow - ") + c.message + ".\n");
    EXPECT_EQ(window.device(), -1);
  }
  EXPECT_EQ(egl().calls["eglDestroyContext"], 1) << "nothing is left of the last attempt";
  egl() = EGLDouble();
  EXPECT_TRUE(shows(window, m_picture)) << "tries again";
}

TEST_F(omWindowImplEGLTest, WithoutPbuffersFramebufferObjectsWorkAndImageWindowsSayWhatToUse)
{
  egl().hasPbuffers = false;
  EGLWindow window;
  PrintCapture capture(4);
  EXPECT_FALSE(window.setImageBuffer(m_picture, true));
  EXPECT_EQ(capture.messages(),
            (Messages{{4, "OmSimpleWindow::renderScene - This device has no pbuffers, and so the window no pixels; use "
                          "OmFBOWindow with off-screen rendering.\n"}}));
  capture.clear();
  On<OmFBOWindow> offScreen;
  offScreen.setOffScreenRendering(true);
  EXPECT_TRUE(shows(offScreen, m_picture));
  EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__));
  EXPECT_TRUE(capture.messages().empty());
}

TEST_F(omWindowImplEGLTest, WithoutLibEGLALineNamesThePackage)
{
  s_library = "libEGL-that-is-not-there.so.1";
  EGLWindow window;
  EXPECT_EQ(errorOf(window), "EGL::openWindow - Cannot load libEGL; install the package libegl1 (libEGL-that-is-not-"
                             "there.so.1: cannot open shared object file: No such file or directory).\n");
  PrintCapture capture(4);
  EXPECT_TRUE(OmWindow::Impl::EGL::devices().empty());
  EXPECT_EQ(capture.messages(4).size(), 1u);
}
