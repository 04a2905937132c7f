#include "render/window/omEGL.h"

#include "foundation/common/omUtils.h"
#include "render/window/omCurrentEGL.h"

#include <GL/glx.h>
#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <sstream>

namespace
{

std::atomic<const OmEGL*> s_loaded;

struct ErrorName
{
  EGLint code;
  const char* text;
};

constexpr ErrorName ErrorNames[] = {
    {EGL_NOT_INITIALIZED, "EGL_NOT_INITIALIZED"},
    {EGL_BAD_ACCESS, "EGL_BAD_ACCESS"},
    {EGL_BAD_ALLOC, "EGL_BAD_ALLOC"},
    {EGL_BAD_ATTRIBUTE, "EGL_BAD_ATTRIBUTE"},
    {EGL_BAD_CONFIG, "EGL_BAD_CONFIG"},
    {EGL_BAD_CONTEXT, "EGL_BAD_CONTEXT"},
    {EGL_BAD_DISPLAY, "EGL_BAD_DISPLAY"},
    {EGL_BAD_MATCH, "EGL_BAD_MATCH"},
    {EGL_BAD_PARAMETER, "EGL_BAD_PARAMETER"},
    {EGL_BAD_SURFACE, "EGL_BAD_SURFACE"},
    {EGL_CONTEXT_LOST, "EGL_CONTEXT_LOST"},
    {EGL_BAD_DEVICE_EXT, "EGL_BAD_DEVICE_EXT"},
};

/// Releases a thread's context when the thread ends. EGL would keep it bound to that thread for ever, and no other
/// thread could use the window, or close it properly.
struct AtThreadEnd
{
  ~AtThreadEnd() { OmCurrentEGL::release(); }
};

} // namespace

const OmEGL& OmEGL::instance()
{
  static const OmEGL& egl = *new OmEGL; // outlives windows of static storage
  if (egl.m_error.empty())
    s_loaded = &egl;
  return egl;
}

const OmEGL* OmEGL::ifLoaded()
{
  return s_loaded;
}

OmEGL::OmEGL()
{
  void* const library = dlopen("libEGL.so.1", RTLD_LAZY | RTLD_LOCAL);
  if (!library)
  {
    m_error = OmString("Cannot load libEGL; install the package libegl1 (") + dlerror() + ")";
    return;
  }
  const struct
  {
    const char* name;
    void* pointer; // the member that takes the address
    bool isRequired;
  } functions[] = {
      {"eglBindAPI", &bindAPI, true},
      {"eglChooseConfig", &chooseConfig, true},
      {"eglCreateContext", &createContext, true},
      {"eglCreatePbufferSurface", &createPbufferSurface, true},
      {"eglDestroyContext", &destroyContext, true},
      {"eglDestroySurface", &destroySurface, true},
      {"eglGetConfigAttrib", &getConfigAttrib, true},
      {"eglGetCurrentContext", &getCurrentContext, true},
      {"eglGetCurrentDisplay", &getCurrentDisplay, true},
      {"eglGetError", &m_getError, true},
      {"eglInitialize", &initialize, true},
      {"eglMakeCurrent", &m_makeCurrent, true},
      {"eglQueryString", &queryString, true},
      {"eglGetPlatformDisplayEXT", &getPlatformDisplay, true},
      {"eglGetDisplayDriverName", &getDisplayDriverName, false},
      {"eglQueryDeviceAttribEXT", &queryDeviceAttrib, false},
      {"eglQueryDeviceStringEXT", &queryDeviceString, false},
      {"eglQueryDevicesEXT", &queryDevices, false},
  };
  void* const getAddress = dlsym(library, "eglGetProcAddress");
  std::memcpy(&getProcAddress, &getAddress, sizeof getAddress);
  for (const auto& function : functions)
  {
    // EGL 1.5, and EGL_KHR_get_all_proc_addresses before it, give the addresses of EGL's own functions as well.
    const auto address = getProcAddress ? getProcAddress(function.name) : nullptr;
    std::memcpy(function.pointer, &address, sizeof address);
    if (!address && function.isRequired && m_error.empty())
      m_error = OmString("libEGL has no ") + function.name + "; install a newer one (the package libegl1)";
  }
}

bool OmEGL::isListed(const char* extensions, const OmString& name)
{
  std::istringstream words(extensions ? extensions : "");
  OmString word;
  while (words >> word)
    if (word == name)
      return true;
  return false;
}

bool OmEGL::hasExtension(const OmString& name) const
{
  return isListed(queryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), name);
}

OmString OmEGL::failure(const OmString& function) const
{
  const EGLint code = m_getError();
  for (const ErrorName& name : ErrorNames)
    if (name.code == code)
      return function + ": " + name.text;
  return function + ": error 0x" + OmINT2STRING(static_cast<OmU32>(code), 16);
}

bool OmEGL::bind(EGLDisplay display, EGLSurface surface, EGLContext context) const
{
  bindAPI(EGL_OPENGL_API); // per thread, and OpenGL ES at first
  return m_makeCurrent(display, surface, surface, context);
}

bool OmEGL::makeCurrent(EGLDisplay display, EGLSurface surface, EGLContext context) const
{
  thread_local const AtThreadEnd atThreadEnd;
  if (bind(display, surface, context))
    return true;
  // The libraries that hand GL calls on to drivers take no EGL context beside a GLX one.
  Display* const glxDisplay = glXGetCurrentDisplay();
  return glxDisplay && glXMakeCurrent(glxDisplay, None, nullptr) && bind(display, surface, context);
}

void OmEGL::releaseCurrent() const
{
  if (getCurrentContext() != EGL_NO_CONTEXT)
    m_makeCurrent(getCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

bool OmCurrentEGL::isCurrent()
{
  const OmEGL* const egl = OmEGL::ifLoaded();
  return egl && egl->getCurrentContext() != EGL_NO_CONTEXT;
}

OmCurrentEGL::Address OmCurrentEGL::resolve(const char* name)
{
  return OmEGL::instance().getProcAddress(name);
}

void OmCurrentEGL::release()
{
  if (const OmEGL* const egl = OmEGL::ifLoaded())
    egl->releaseCurrent();
}
