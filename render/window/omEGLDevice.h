#ifndef OM_EGL_DEVICE_H
#define OM_EGL_DEVICE_H

#include "render/omWindowImplEGL.h"
#include "render/window/omEGL.h"

#include <vector>

/// A device as EGL lists it, and its display.
class OmEGLDevice
{
public:
  using Description = OmWindow::Impl::EGL::Device;

  /// All devices in EGL's order, none of them open. Where EGL lists none, the one that EGL_MESA_platform_surfaceless
  /// chooses; without that, nothing.
  static std::vector<OmEGLDevice> all(const OmEGL& egl);

  /// What is known; open() adds to it.
  const Description& description() const { return m_description; }
  /// Number and other names, for messages: "1 (/dev/dri/renderD129, 0000:65:00.0, cuda:0)".
  OmString names() const;
  /// Whether a name as OmWindow::Impl::EGL::setDevice() takes it is one of them.
  bool isNamed(const OmString& name) const;

  /// The device's display, opened and with OpenGL; EGL_NO_DISPLAY when it does not open, and the description says why.
  ///
  /// EGL gives the same display for the same device every time, to other libraries in the process as well. It is never
  /// terminated: that would take their contexts, and with Mesa 22 a window would cost 33 ms in the place of 9. Memory
  /// and file descriptors stay flat: 92 MB and 5 of them over 10,000 windows one after another, by Mesa's software
  /// renderer (OM_TEST_WINDOWS=10000 with omWindowImplEGLTest).
  EGLDisplay open(const OmEGL& egl);

private:
  OmEGLDevice(EGLDeviceEXT handle, int number);

  void describe(const OmEGL& egl);
  void findPciAddress(const OmString& file);
  OmString reasonOfNode() const;

  EGLDeviceEXT m_handle; ///< EGL_NO_DEVICE_EXT: whichever EGL_MESA_platform_surfaceless takes
  Description m_description;
};

#endif
