#ifndef OM_WINDOW_IMPL_X11_H
#define OM_WINDOW_IMPL_X11_H

#include "render/omWindow.h"

#include <GL/glx.h>
#include <X11/Xlib.h>

/// The back end that opens a window directly on an X server, with a GLX context.
///
/// \code
///   OmSimpleWindow window;
///   window.setImpl(OmWindow::Impl::X11::newImpl()); // this one window, whatever OmWindow::setImplType() says
///   if (!window.init())
///     return 1; // the reason has been printed
/// \endcode
///
/// The display is the one that the environment names (DISPLAY); a server that takes no client is tried for half a
/// second. Every back end has a connection of its own, opened with its first window. Drivers tie shared GL objects to
/// the connections of all contexts that share them, so connections belong to the share group as well: they are closed
/// when the last window of the group is gone, and a connection that a closed window left behind serves the group's next
/// one.
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
  /// Raises or lowers the window; the window manager may think otherwise.
  void setTopMost(OmBoolean topMost) override;
  void setHideWindow(OmBoolean hide) override;
  /// Takes the decorations away by the property _MOTIF_WM_HINTS and gives them back; size and position stay. A line of
  /// print type 4 when no window manager knows the property. Some window managers look at it only when the window is
  /// hidden and shown again.
  void setFullScreen(OmBoolean fullScreen) override;
  void makeCurrent() const override;
  void swapBuffers() const override;
  /// Opens the window on the last screen of the display and, unless it is hidden, waits until the server has mapped
  /// it. A size of 0 opens as 1 by 1; one above X's 32767 fails, where resizing an open window stops at it.
  OmBoolean openWindow() override;
  /// Closes window and context; waits for the unmap where one will come.
  void closeWindow() override;
  /// Chooses a double-buffered RGBA visual: stereo and deep depth buffers first, then simpler ones. False, with a line
  /// of print type 4, when the display has none, and before a display is open.
  virtual OmBoolean chooseVisual();

  /// A new back end of this kind, whatever the process's type is.
  static boost::shared_ptr<OmWindow::Impl> newImpl();

  /// A predicate for XIfEvent: whether the event reports that the window whose id is `arg` was mapped.
  static Bool waitForMapNotifyX(Display* display, XEvent* event, char* arg);
  /// The same for a window that was unmapped.
  static Bool waitForUnmapNotifyX(Display* display, XEvent* event, char* arg);

protected:
  Display* m_pDisplay;        ///< the connection; null before the first window
  XVisualInfo* m_pVisualInfo; ///< the visual; null before it is chosen
  GLXContext m_context;       ///< null while no window is open
  Window m_xWindow;           ///< 0 while no window is open

private:
  class Connections;

  OM_INTERNAL bool isSizeHeld() const;
  OM_INTERNAL bool openDisplay();
  OM_INTERNAL bool createContext();
  OM_INTERNAL bool createWindow();
  OM_INTERNAL void mapWindow();
  OM_INTERNAL void unmapWindow();
  OM_INTERNAL void destroyContext();
  OM_INTERNAL void handleConfigure();
  OM_INTERNAL boost::shared_ptr<X11> sharePartner() const;
  OM_INTERNAL Connections& connections() const;

  Colormap m_colormap;
  boost::shared_ptr<Display> m_connection; ///< what m_pDisplay points to; the share group holds it too
};

#endif
