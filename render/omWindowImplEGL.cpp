#include "render/omWindowImplEGL.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "render/omVersion.h"
#include "render/window/omContextThreads.h"
#include "render/window/omEGL.h"
#include "render/window/omEGLDevice.h"
#include "render/window/omGLNames.h"

#include <GL/gl.h>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace
{

/// The name that setDevice() was given.
OmString& chosenDevice()
{
  static OmString& name = *new OmString; // outlives windows of static storage
  return name;
}

/// What to take, by setDevice() or else by the environment.
OmString wantedDevice()
{
  const char* const variable = std::getenv("OM_RENDER_DEVICE");
  return chosenDevice().empty() && variable ? variable : chosenDevice();
}

/// The devices to try, in this order: those of the name that is wanted, hardware first.
std::vector<OmEGLDevice> candidates(const std::vector<OmEGLDevice>& devices, const OmString& wanted)
{
  std::vector<OmEGLDevice> result;
  for (const OmEGLDevice& device : devices)
    if (wanted.empty() || device.isNamed(wanted))
      result.push_back(device);
  std::stable_partition(result.begin(), result.end(),
                        [](const OmEGLDevice& device) { return !device.description().isSoftware; });
  return result;
}

OmString reasonForNone(const std::vector<OmEGLDevice>& devices, const OmString& wanted)
{
  if (devices.empty())
    return "EGL lists no device; install a driver (for Mesa the package libegl-mesa0), which puts a file into "
           "/usr/share/glvnd/egl_vendor.d";
  OmString names;
  for (const OmEGLDevice& device : devices)
    names += (names.empty() ? "" : ", ") + device.names();
  return "There is no device \"" + wanted + "\"; there are: " + names;
}

/// A configuration with 8 bits each of red and alpha, as the other back ends ask for, and the deepest depth buffer;
/// with pbuffers or not. Null when there is none.
EGLConfig chooseConfig(const OmEGL& egl, EGLDisplay display, EGLint surfaceType)
{
  for (const EGLint depth : {32, 24, 1, 0})
  {
    const EGLint attributes[] = {EGL_SURFACE_TYPE,
                                 surfaceType,
                                 EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT,
                                 EGL_RED_SIZE,
                                 8,
                                 EGL_GREEN_SIZE,
                                 8,
                                 EGL_BLUE_SIZE,
                                 8,
                                 EGL_ALPHA_SIZE,
                                 8,
                                 EGL_DEPTH_SIZE,
                                 depth,
                                 EGL_NONE};
    EGLConfig configs[64];
    EGLint count = 0;
    if (!egl.chooseConfig(display, attributes, configs, 64, &count) || count < 1)
      continue;
    // Deeper colours come first, and would not be the bytes of a display's window.
    const auto ofBytes = std::find_if(configs, configs + count,
                                      [&](EGLConfig config)
                                      {
                                        EGLint bits = 0;
                                        egl.getConfigAttrib(display, config, EGL_BUFFER_SIZE, &bits);
                                        return bits == 32;
                                      });
    return ofBytes == configs + count ? configs[0] : *ofBytes;
  }
  return nullptr;
}

} // namespace

OmWindow::Impl::EGL::EGL() : m_display(nullptr), m_context(nullptr), m_surface(nullptr), m_config(nullptr) {}

OmWindow::Impl::EGL::~EGL()
{
  EGL::closeWindow();
}

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::EGL::newImpl()
{
  return boost::make_shared<EGL>();
}

void OmWindow::Impl::EGL::setDevice(const OmString& name)
{
  chosenDevice() = name;
}

const OmString& OmWindow::Impl::EGL::getDevice()
{
  return chosenDevice();
}

std::vector<OmWindow::Impl::EGL::Device> OmWindow::Impl::EGL::devices()
{
  const OmEGL& egl = OmEGL::instance();
  std::vector<Device> result;
  if (!egl.error().empty())
  {
    Om::Print::instance().write(Om::Print::Error, "EGL::devices - %s.\n", egl.error().c_str());
    return result;
  }
  for (OmEGLDevice& device : OmEGLDevice::all(egl))
  {
    device.open(egl);
    result.push_back(device.description());
  }
  return result;
}

const OmWindow::Impl::EGL::Device& OmWindow::Impl::EGL::device() const
{
  return m_device;
}

void OmWindow::Impl::EGL::setName(const OmString&) {}

void OmWindow::Impl::EGL::setWindowSize(OmU32 width, OmU32 height)
{
  if (!m_surface)
    return;
  const Size size = nativeSize(width, height);
  if (width > static_cast<OmU32>(m_largest.width) || height > static_cast<OmU32>(m_largest.height))
    Om::Print::instance().write(
        Om::Print::Error, "EGL::setWindowSize - %u by %u pixels are more than the %d by %d that the device draws.\n",
        width, height, m_largest.width, m_largest.height);
  if (size.width == m_size.width && size.height == m_size.height)
    return;
  const OmEGL& egl = OmEGL::instance();
  const EGLSurface before = m_surface;
  const OmString failure = createSurface(size);
  if (!failure.empty())
  {
    Om::Print::instance().write(Om::Print::Error, "EGL::setWindowSize - %s.\n", failure.c_str());
    return;
  }
  if (egl.getCurrentContext() == m_context)
    egl.makeCurrent(m_display, m_surface, m_context);
  egl.destroySurface(m_display, before);
}

void OmWindow::Impl::EGL::setWindowPos(OmU32, OmU32) {}

void OmWindow::Impl::EGL::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32, OmU32)
{
  setWindowSize(width, height);
}

void OmWindow::Impl::EGL::setTopMost(OmBoolean) {}

void OmWindow::Impl::EGL::setHideWindow(OmBoolean) {}

void OmWindow::Impl::EGL::setFullScreen(OmBoolean) {}

void OmWindow::Impl::EGL::makeCurrent() const
{
  if (!m_context)
    return;
  const OmEGL& egl = OmEGL::instance();
  if (egl.getCurrentContext() == m_context && OmWindow::getWindow() == m_pWindow)
    return;
  OmContextThreads& threads = OmContextThreads::instance();
  if (!egl.makeCurrent(m_display, m_surface, m_context))
  {
    const OmString reason = threads.isElsewhere(m_context)
                                ? "The window is current on another thread; open and use each window on one thread"
                                : egl.failure("eglMakeCurrent");
    Om::Print::instance().write(Om::Print::Error, "OmWindow::Impl::EGL::makeCurrent - %s.\n", reason.c_str());
    return;
  }
  threads.take(m_context);
  deleteKeptNames();
}

void OmWindow::Impl::EGL::swapBuffers() const
{
  // A pbuffer has nothing in front to swap with. What was drawn goes to the device all the same, as on a display.
  if (m_context && OmEGL::instance().getCurrentContext() == m_context)
    glFlush();
}

OmBoolean OmWindow::Impl::EGL::openWindow()
{
  if (!m_pWindow)
  {
    Om::Print::instance().write(Om::Print::Error, "EGL::openWindow - No root window specified.\n");
    return false;
  }
  if (m_context)
    return true;
  if (open() && isSizeHeld())
    return true;
  closeWindow();
  // A device says only with a context what it draws. That is no reason to take the context of another window.
  if (const OmWindow* const before = OmWindow::getWindow(); before && before->getImpl())
    before->getImpl()->makeCurrent();
  return false;
}

bool OmWindow::Impl::EGL::open()
{
  const OmEGL& egl = OmEGL::instance();
  const boost::shared_ptr<EGL> partner = sharePartner();
  const bool shares = partner && partner->m_context;
  if (!partner && getShare())
    Om::Print::instance().write(Om::Print::Error,
                                "OmWindow::openWindow() - Unable to share windows of different types.\n");

  const OmString failure = !egl.error().empty() ? egl.error() : shares ? openBeside(*partner) : openOnDevice();
  if (!failure.empty())
  {
    Om::Print::instance().write(Om::Print::Error, "EGL::openWindow - %s.\n", failure.c_str());
    return false;
  }
  holdNames(shares ? partner->m_groupNames : boost::make_shared<OmShareGroup::Names>());
  OmContextThreads::instance().take(m_context);
  return true;
}

OmString OmWindow::Impl::EGL::openBeside(const EGL& partner)
{
  m_device = partner.m_device;
  return createContext(partner.m_display, partner.m_context);
}

OmString OmWindow::Impl::EGL::openOnDevice()
{
  const OmEGL& egl = OmEGL::instance();
  const OmString wanted = wantedDevice();
  const std::vector<OmEGLDevice> devices = OmEGLDevice::all(egl);
  std::vector<OmEGLDevice> toTry = candidates(devices, wanted);
  if (toTry.empty())
    return reasonForNone(devices, wanted);

  OmString answers;
  for (OmEGLDevice& device : toTry)
  {
    const EGLDisplay display = device.open(egl);
    const OmString failure = display ? createContext(display, nullptr) : device.description().answer;
    m_device = device.description();
    if (failure.empty())
      return "";
    destroyContext();
    answers += (answers.empty() ? "" : "; ") + device.names() + ": " + failure;
  }
  return "No device gives OpenGL. Device " + answers;
}

/// Makes a context, which shares its objects with another one or with null, and a pbuffer, and makes them current. The
/// reason when one of these fails.
OmString OmWindow::Impl::EGL::createContext(void* display, void* shared)
{
  const OmEGL& egl = OmEGL::instance();
  m_display = display;
  m_config = chooseConfig(egl, display, EGL_PBUFFER_BIT);
  m_hasPixels = m_config;
  if (!m_hasPixels && OmEGL::isListed(egl.queryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context"))
    m_config = chooseConfig(egl, display, 0);
  if (!m_config)
    return "it has no configuration with OpenGL and 8 bits of red and alpha";

  egl.bindAPI(EGL_OPENGL_API);
  // Without attributes a driver gives the highest version that has everything since 1.0: the compatibility profile.
  m_context = egl.createContext(display, m_config, shared, nullptr);
  if (!m_context)
    return egl.failure("eglCreateContext") + ", no OpenGL of the compatibility profile";

  OmU32 width = 0;
  OmU32 height = 0;
  m_pWindow->getWindowSize(width, height);
  m_largest = {INT_MAX, INT_MAX}; // unknown before a context is current
  m_size = nativeSize(width, height);
  OmString failure = m_hasPixels ? createSurface(m_size) : "";
  if (!failure.empty())
    return failure;
  if (!egl.makeCurrent(display, m_surface, m_context))
    return egl.failure("eglMakeCurrent");
  glViewport(0, 0, m_size.width, m_size.height); // which EGL does only for a surface
  GLint largest[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, largest);
  m_largest = {largest[0], largest[1]};
  return "";
}

OmString OmWindow::Impl::EGL::createSurface(const Size& size)
{
  const OmEGL& egl = OmEGL::instance();
  const EGLint attributes[] = {EGL_WIDTH, size.width, EGL_HEIGHT, size.height, EGL_NONE};
  const EGLSurface surface = egl.createPbufferSurface(m_display, m_config, attributes);
  if (!surface)
    return egl.failure("eglCreatePbufferSurface") + " for " + OmINT2STRING(size.width, 10) + " by " +
           OmINT2STRING(size.height, 10) + " pixels";
  m_surface = surface;
  m_size = size;
  return "";
}

/// The size to ask EGL for, which knows no empty surfaces.
OmWindow::Impl::EGL::Size OmWindow::Impl::EGL::nativeSize(OmU32 width, OmU32 height) const
{
  if (width == 0 || height == 0)
    return {1, 1};
  return {static_cast<int>(std::min(width, static_cast<OmU32>(m_largest.width))),
          static_cast<int>(std::min(height, static_cast<OmU32>(m_largest.height)))};
}

/// Whether the device draws windows of the size that is asked for.
bool OmWindow::Impl::EGL::isSizeHeld() const
{
  if (m_size.width <= m_largest.width && m_size.height <= m_largest.height)
    return true;
  Om::Print::instance().write(
      Om::Print::Error, "EGL::openWindow - %d by %d pixels are more than the %d by %d of device %d (%s).\n",
      m_size.width, m_size.height, m_largest.width, m_largest.height, m_device.number, m_device.driver.c_str());
  return false;
}

void OmWindow::Impl::EGL::closeWindow()
{
  deleteLastNames();
  destroyContext();
  dropNames();
  m_device = Device();
  m_pWindow = nullptr;
}

void OmWindow::Impl::EGL::destroyContext()
{
  if (m_context)
  {
    const OmEGL& egl = OmEGL::instance();
    OmContextThreads& threads = OmContextThreads::instance();
    egl.makeCurrent(m_display, m_surface, m_context); // in the place of any other, so that none is left afterwards
    egl.releaseCurrent();
    threads.forget(m_context);
    threads.take(nullptr);
    if (m_surface)
      egl.destroySurface(m_display, m_surface);
    egl.destroyContext(m_display, m_context);
  }
  m_context = nullptr;
  m_surface = nullptr;
  m_display = nullptr;
  m_hasPixels = true;
}

boost::shared_ptr<OmWindow::Impl::EGL> OmWindow::Impl::EGL::sharePartner() const
{
  return boost::dynamic_pointer_cast<EGL>(getShare());
}
