#ifndef OM_WINDOW_IMPL_EGL_H
#define OM_WINDOW_IMPL_EGL_H

#include "render/omWindow.h"

#include <vector>

/// The back end for windows that never appear on a screen: EGL on a graphics device, without a window system.
///
/// \code
///   OmWindow::setImplType(OmWindow::ImplEGL); // no display is needed from here on
///   OmSimpleWindow window;
///   if (!window.setImageBuffer(image, true))
///     return false; // the reason has been printed
///   OmImage captured;
///   window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr);
/// \endcode
///
/// A window has the pixels of a pbuffer of its size, so it draws, shares and captures like one on a display, at sizes
/// up to the largest that the device draws. Title, position, top-most flag, full screen and hiding are kept in the
/// window and do nothing; there is no stereo. Swapping hands what was drawn to the device and keeps the pixels.
///
/// The device is the first that gives an OpenGL of the compatibility profile, hardware before software, unless
/// setDevice() or OM_RENDER_DEVICE in the environment names one. A window with a partner (OmWindow::share()) opens on
/// the partner's device. On a device without pbuffers (EGL_KHR_surfaceless_context) the window has no pixels of its
/// own; OmFBOWindow with off-screen rendering works there, and OmSimpleWindow says so.
///
/// libEGL is loaded when the first such window opens; programs do not link it. The devices come from
/// EGL_EXT_device_enumeration (or EGL_EXT_device_base) and EGL_EXT_platform_device, else from
/// EGL_MESA_platform_surfaceless. A device stays open until the process ends, and further windows on it need no
/// further file descriptors.
class OM_EXPORT OmWindow::Impl::EGL : public OmWindow::Impl
{
public:
  /// What is known of a device.
  struct Device
  {
    int number = -1;              ///< EGL's count, from 0; -1 for no device
    OmString renderNode;          ///< path of the render node, "/dev/dri/renderD128"; empty when it has none
    OmString pciAddress;          ///< "0000:65:00.0"; empty when it is not known
    int cudaNumber = -1;          ///< CUDA's count (EGL_NV_device_cuda); -1 when it is not known
    OmString driver;              ///< name of the driver, or else of its maker; empty while it is not known
    OmBoolean isSoftware = false; ///< draws on the processor (EGL_MESA_device_software)
    OmBoolean opens = false;      ///< it could be opened and has OpenGL
    OmString answer;              ///< why it does not open, and what may help; empty when it does
  };

  /// A back end without a device.
  EGL();
  ~EGL() override;

  /// Nothing: there is no title bar.
  void setName(const OmString& name) override;
  /// Gives the open window a pbuffer of another size; context and GL objects stay, the pixels do not. A size of 0
  /// counts as 1 by 1, and one above what the device draws stops there with an error message.
  void setWindowSize(OmU32 width, OmU32 height) override;
  /// Nothing: there is no screen.
  void setWindowPos(OmU32 x, OmU32 y) override;
  /// As setWindowSize().
  void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Nothing.
  void setTopMost(OmBoolean topMost) override;
  /// Nothing: the window is never seen.
  void setHideWindow(OmBoolean hide) override;
  /// Nothing.
  void setFullScreen(OmBoolean fullScreen) override;
  /// As the base has it; a GLX context that was current on the thread no longer is. An error of print type 4 when the
  /// context is current on another thread.
  void makeCurrent() const override;
  /// Hands what was drawn to the device (glFlush).
  void swapBuffers() const override;
  /// Opens a context and a pbuffer on the device. A size of 0 opens as 1 by 1; one above what the device draws fails.
  OmBoolean openWindow() override;
  void closeWindow() override;

  /// The device of the open window; number -1 while there is none.
  const Device& device() const;

  /// A new back end of this kind, whatever the process's type is. Empty, with a line of print type 4, where the library
  /// was built without.
  static boost::shared_ptr<OmWindow::Impl> newImpl();

  /// All devices in EGL's order, each opened to see whether it works and left open for its first window. Empty, with a
  /// line of print type 4, without libEGL and where the library was built without this back end; empty without a line
  /// when EGL lists none.
  static std::vector<Device> devices();

  /// Names the device of the windows that are opened from now on, in the place of OM_RENDER_DEVICE: its number ("1"),
  /// its render node ("/dev/dri/renderD129"), its PCI address ("0000:65:00.0" or "65:00.0"), "cuda:0" by CUDA's count,
  /// "hardware" for any but software, or "software". An empty name leaves the choice to OM_RENDER_DEVICE again, and
  /// without it to the library. A device that is not there, or does not open, is an error of the windows that want it:
  /// no other is taken.
  static void setDevice(const OmString& name);
  /// The name given last.
  static const OmString& getDevice();

protected:
  void* m_display; ///< EGLDisplay of the device, shared with the device's other windows; null while no window is open
  void* m_context; ///< EGLContext; null while no window is open
  void* m_surface; ///< EGLSurface of the pbuffer; null while no window is open, and on a device without pbuffers

private:
  struct Size
  {
    int width = 0;
    int height = 0;
  };

  OM_INTERNAL bool open();
  OM_INTERNAL OmString openBeside(const EGL& partner);
  OM_INTERNAL OmString openOnDevice();
  OM_INTERNAL OmString createContext(void* display, void* shared);
  OM_INTERNAL OmString createSurface(const Size& size);
  OM_INTERNAL Size nativeSize(OmU32 width, OmU32 height) const;
  OM_INTERNAL bool isSizeHeld() const;
  OM_INTERNAL void destroyContext();
  OM_INTERNAL boost::shared_ptr<EGL> sharePartner() const;

  void* m_config;
  Size m_size;    ///< of the pbuffer
  Size m_largest; ///< that the device draws
  Device m_device;
};

#endif
