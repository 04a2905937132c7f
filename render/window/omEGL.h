#ifndef OM_EGL_H
#define OM_EGL_H

#include "foundation/core/omTypes.h"

#define EGL_NO_X11 // the headers would bring in Xlib's
#include <EGL/egl.h>
#include <EGL/eglext.h>

/// The functions of libEGL, which is no dependency of this library: it is loaded when the first EGL window opens. It
/// stays loaded until the process ends, because drivers keep threads and handlers for the end of threads.
class OmEGL
{
public:
  /// The library, loaded by the first call. Its error() says whether that worked.
  static const OmEGL& instance();
  /// The library when instance() has loaded it; null otherwise. Loads nothing.
  static const OmEGL* ifLoaded();

  OmEGL(const OmEGL&) = delete;
  OmEGL& operator=(const OmEGL&) = delete;

  /// Why the library is not there and what to do; empty when it is.
  const OmString& error() const { return m_error; }

  /// Whether a list of extensions, which may be null, names one.
  static bool isListed(const char* extensions, const OmString& name);
  /// Whether the library itself has an extension (EGL_EXT_client_extensions).
  bool hasExtension(const OmString& name) const;
  /// A function's name and the error that it has just left: "eglInitialize: EGL_NOT_INITIALIZED".
  OmString failure(const OmString& function) const;

  /// Makes a context current on the calling thread, in the place of a GLX one if need be. Released when the thread
  /// ends.
  bool makeCurrent(EGLDisplay display, EGLSurface surface, EGLContext context) const;
  /// Leaves the calling thread without an EGL context.
  void releaseCurrent() const;

  // The functions themselves.
  decltype(&eglGetProcAddress) getProcAddress = nullptr;
  decltype(&eglBindAPI) bindAPI = nullptr;
  decltype(&eglChooseConfig) chooseConfig = nullptr;
  decltype(&eglCreateContext) createContext = nullptr;
  decltype(&eglCreatePbufferSurface) createPbufferSurface = nullptr;
  decltype(&eglDestroyContext) destroyContext = nullptr;
  decltype(&eglDestroySurface) destroySurface = nullptr;
  decltype(&eglGetConfigAttrib) getConfigAttrib = nullptr;
  decltype(&eglGetCurrentContext) getCurrentContext = nullptr;
  decltype(&eglGetCurrentDisplay) getCurrentDisplay = nullptr;
  decltype(&eglInitialize) initialize = nullptr;
  decltype(&eglQueryString) queryString = nullptr;
  PFNEGLGETDISPLAYDRIVERNAMEPROC getDisplayDriverName = nullptr; ///< EGL_MESA_query_driver
  PFNEGLGETPLATFORMDISPLAYEXTPROC getPlatformDisplay = nullptr;  ///< EGL_EXT_platform_base
  PFNEGLQUERYDEVICEATTRIBEXTPROC queryDeviceAttrib = nullptr;    ///< EGL_EXT_device_query
  PFNEGLQUERYDEVICESTRINGEXTPROC queryDeviceString = nullptr;    ///< EGL_EXT_device_query
  PFNEGLQUERYDEVICESEXTPROC queryDevices = nullptr;              ///< EGL_EXT_device_enumeration

private:
  OmEGL();

  bool bind(EGLDisplay display, EGLSurface surface, EGLContext context) const;

  decltype(&eglGetError) m_getError = nullptr;
  decltype(&eglMakeCurrent) m_makeCurrent = nullptr;
  OmString m_error;
};

#endif
