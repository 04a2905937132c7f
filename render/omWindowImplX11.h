#ifndef OM_WINDOW_IMPL_X11_H
#define OM_WINDOW_IMPL_X11_H

#include "render/omWindow.h"

#include <GL/glx.h>
#include <X11/Xlib.h>

class OmX11DesktopWindow;
class OmX11Errors;

/// The back end that opens a window directly on an X server, with a GLX context.
///
/// \code
///   OmSimpleWindow window;
///   window.setImpl(OmWindow::Impl::X11::newImpl()); // this one window, whatever OmWindow::setImplType() says
///   if (!window.init())
///     return 1; // the reason has been printed
/// \endcode
///
/// The environment names the display (DISPLAY). While a local server resets itself, opening is tried again for half a
/// second. Every back end has its own connection, opened with its first window. Drivers tie shared GL objects to the
/// connections of all contexts that share them, so connections belong to the share group too. They are closed when the
/// last window of the group is gone. A connection that a closed window has left behind is used for the next window of
/// the group.
class OM_EXPORT OmWindow::Impl::X11 : public OmWindow::Impl
{
public:
  /// A back end without a connection to a server.
  X11();
  ~X11() override;

  void setName(const OmString& name) override;
  void setWindowSize(OmU32 width, OmU32 height) override;
  void setWindowPos(OmU32 x, OmU32 y) override;
  void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) override;
  /// Raises or lowers the window. A window manager may override that.
  void setTopMost(OmBoolean topMost) override;
  void setHideWindow(OmBoolean hide) override;
  /// Removes the decorations by the property _MOTIF_WM_HINTS, or restores them. Size and position stay. Prints an error
  /// message if the server does not know the property; a window manager that uses it makes it known. Some window
  /// managers look at the property only when the window is hidden and shown again.
  void setFullScreen(OmBoolean fullScreen) override;
  void makeCurrent() const override;
  void swapBuffers() const override;
  /// Opens the window on the last screen of the display and, unless it is hidden, waits until the server has mapped it.
  /// A width or height of 0 opens 1 by 1 pixel. A size above X's limit of 32767 pixels, or above the card's largest
  /// viewport, fails. Resizing an open window beyond these limits stops at them, with an error message. If the server
  /// refuses a request during the opening, the opening fails.
  OmBoolean openWindow() override;
  /// Closes the window and its context. If the window is mapped, waits until the server has unmapped it.
  void closeWindow() override;
  /// Chooses a double-buffered RGBA visual with at least 8 bits of red and alpha on the last screen. Prefers stereo and
  /// deep depth buffers. Returns false, with an error message, if the screen has none. Returns false without a message
  /// before a display is open.
  virtual OmBoolean chooseVisual();

  /// A new X11 back end, whatever OmWindow::getImplType() is.
  static boost::shared_ptr<OmWindow::Impl> newImpl();

  /// A predicate for XIfEvent(): whether the event says that the window whose id is `arg` was mapped.
  static Bool waitForMapNotifyX(Display* display, XEvent* event, char* arg);
  /// The same for a window that was unmapped.
  static Bool waitForUnmapNotifyX(Display* display, XEvent* event, char* arg);

protected:
  Display* m_pDisplay;        ///< the connection; null before the first window
  XVisualInfo* m_pVisualInfo; ///< the visual; null before it is chosen
  GLXContext m_context;       ///< the context; null while no window is open
  Window m_xWindow;           ///< the window's id; 0 while no window is open

private:
  OM_INTERNAL bool isSizeHeld() const;
  OM_INTERNAL bool openDisplay();
  OM_INTERNAL bool openOnDisplay();
  OM_INTERNAL bool hasGLX() const;
  OM_INTERNAL bool createContext(const OmX11Errors& errors);
  OM_INTERNAL bool createWindow(const OmX11Errors& errors);
  OM_INTERNAL bool activate(const OmX11Errors& errors);
  OM_INTERNAL bool isSizeDrawn(const char* operation, OmU32 width, OmU32 height) const;
  template <class Request>
  OM_INTERNAL void resize(OmU32 width, OmU32 height, Request request);
  OM_INTERNAL void mapWindow();
  OM_INTERNAL void unmapWindow();
  OM_INTERNAL void destroyContext();
  OM_INTERNAL void destroyWindow();
  OM_INTERNAL void freeVisual();
  OM_INTERNAL void handleConfigure();
  OM_INTERNAL OmX11DesktopWindow& desktop() const;
  OM_INTERNAL boost::shared_ptr<X11> sharePartner() const;

  Colormap m_colormap;
  boost::shared_ptr<Display> m_connection; ///< what m_pDisplay points to; the share group holds it too
  OmU32 m_largestWidth;                    ///< the largest width that the context draws, in pixels
  OmU32 m_largestHeight;                   ///< the largest height that the context draws, in pixels
};

#endif
