#ifndef OM_WINDOW_H
#define OM_WINDOW_H

#include "foundation/common/omColor.h"
#include "foundation/core/omTypes.h"
#include "render/omShareGroup.h"

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <memory>

class OmDesktopWindow;
class OmImage;
class OmImageBlock;
struct OmWindowEvent;

/// A window with a GL context.
///
/// The class keeps a window's settings and passes them to a back end (OmWindow::Impl), which owns the native window. A
/// derived class, such as OmSimpleWindow, decides what the window shows.
///
/// \code
///   OmSimpleWindow window;
///   window.setName("Preview");
///   window.setWindowSizeAndPos(640, 480, 20, 20);
///   if (!window.init())
///     return 1; // the reason has been printed
/// \endcode
///
/// Settings given before init() are kept for it. Afterwards most are passed on to the native window at once. Neither
/// setters nor getters ask the window system: what the user does with the mouse is known only if a back end reports it.
///
/// GL objects belong to a share group: the contexts of windows that were opened with share(). Use and delete the
/// textures and other GL objects of a window on the thread on which a window of their group is current. One window is
/// current at a time in the whole process (getWindow()). Nothing is locked.
class OM_EXPORT OmWindow
{
public:
  class Impl;

  /// The kinds of back end.
  enum ImplType : OmU32
  {
    ImplQt = 1,      ///< a Qt GL widget
    ImplX11 = 3,     ///< Xlib and GLX
    ImplDefault = 4, ///< the library's choice: ImplX11
    ImplEGL = 5      ///< EGL off screen, without a window system
  };

  /// A window with the title "OmWindow", 0 by 0 pixels at position 0, 0, neither top-most nor hidden, with a black
  /// background colour. Opens nothing.
  OmWindow();
  OmWindow(const OmWindow&) = delete;
  OmWindow& operator=(const OmWindow&) = delete;
  /// Closes the window.
  virtual ~OmWindow();

  /// Sets the size of the drawing area, in pixels. Returns whether it differs from the previous one. If it does, an
  /// initialised window is drawn again.
  virtual OmBoolean setWindowSize(OmU32 width, OmU32 height);
  /// Sets the screen position of the top-left corner, in pixels. Returns whether it differs from the previous one. With
  /// `apply` false the position is only kept for the next init(). With true an initialised window also moves and is
  /// drawn again if the position differs.
  virtual OmBoolean setWindowPos(OmU32 x, OmU32 y, OmBoolean apply);
  /// Sets size and position in one step, in pixels. Returns whether any of the four numbers differs from the previous
  /// one. If so, an initialised window follows and is drawn again.
  virtual OmBoolean setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y);

  /// Sets the title: bytes in the encoding that the window system expects.
  virtual void setName(const OmString& name);
  /// The title.
  virtual const OmString& getName() const;

  /// Sets whether the window is kept above the others.
  virtual void setTopMost(OmBoolean topMost);
  /// Whether the window is kept above the others.
  virtual OmBoolean getTopMost() const;

  /// Hides or shows the window. A window that is hidden when it opens appears on the screen only when it is shown.
  /// closeWindow() clears the flag.
  virtual void setHideWindow(OmBoolean hide);
  /// Whether the window is hidden.
  virtual OmBoolean getHideWindow() const;

  /// Switches full screen on or off, as the back end understands it: no decorations with X11, the whole screen with Qt,
  /// nothing with EGL. Without a back end, so normally before init(), the call does nothing.
  virtual void setFullScreen(OmBoolean fullScreen);

  /// Marks the window as opened with a stereo visual. Back ends call it while they open.
  virtual void setStereoSupported() const;
  /// Whether the window was opened with a stereo visual.
  virtual OmBoolean getStereoSupported() const;

  /// Makes this window share its GL objects with another window of the same back-end type. Call it before init(), with
  /// a partner that is initialised already: a partner that is not is not shared with, and nothing is printed. A partner
  /// of another type gives an error message when this window opens, and the window shares nothing. Returns false for a
  /// null window and, with a warning, if this window is already open; getShare() returns the new partner even then.
  virtual OmBoolean share(const OmWindow* window) const;
  /// The back end of the partner. Empty while this window is not initialised, and if the partner's back end is gone.
  virtual boost::shared_ptr<Impl> getShare() const;
  /// The partner window. Null if getShare() is empty or the partner is closed.
  virtual OmWindow* getShareWindow() const;

  /// Shows what was drawn. Does nothing without a back end.
  virtual void swapBuffers() const;
  /// Makes the window's GL context current on the calling thread, and the window the current one (getWindow()).
  virtual void makeCurrent() const;
  /// Closes the native window and drops the back end. Size, position, title, top-most flag, background colour and
  /// partner stay for the next init(). The hidden and stereo flags are cleared. Afterwards no window is current, even
  /// if another one was.
  virtual void closeWindow();

  /// Replaces the back end. Call it before init(). The previous back end is not closed here: it closes when nobody else
  /// holds it.
  virtual void setImpl(boost::shared_ptr<Impl> impl);
  /// The back end. Empty before init() and after closeWindow() unless setImpl() has set one.
  virtual boost::shared_ptr<Impl> getImpl() const;

  /// Opens the window and detects what its GL offers (OmGL::init()). Returns true on success, and if the window is open
  /// already. On failure the reason has been printed, and another call tries again. If the window did open and only the
  /// detection failed, call closeWindow() before that.
  virtual OmBoolean init();

  /// Draws the window's content and shows it if `swap` is true. Opens the window first unless it is open. Returns false
  /// if there is nothing to draw or the window does not open.
  virtual OmBoolean renderScene(OmBoolean swap) = 0;
  /// Makes an image the window's content, draws it, and shows it if `swap` is true. Returns whether that succeeded.
  virtual OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) = 0;
  /// Draws and reads the result back into `image`: the whole window if `block` is null, otherwise the part that `block`
  /// names, in pixels. Returns whether that succeeded. OmSimpleWindow describes flags and row order.
  virtual OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) = 0;

  /// The size of the drawing area that was set or reported last, in pixels.
  void getWindowSize(OmU32& width, OmU32& height) const;
  /// The screen position that was set last, in pixels.
  void getWindowPos(OmU32& x, OmU32& y) const;
  /// Size and position, in pixels.
  void getWindowSizeAndPos(OmU32& width, OmU32& height, OmU32& x, OmU32& y) const;

  /// Takes what the window system has reported for this window, and acts on it: the user's resize sets the window's
  /// size (setWindowSize()) and the viewport, a move is stored, an exposed window is drawn again (renderScene()), and
  /// the close button hides the window (setHideWindow()). Keys and the mouse are kept for takeEvent(). Waits for
  /// nothing. Returns whether the window is still wanted: it is open, and nobody has asked to close it.
  ///
  /// With the first call the window begins to take keys and the mouse, and to answer desktops that ask whether the
  /// program is alive (_NET_WM_PING). A window whose program never calls it is hidden by the close button all the same,
  /// at the next swapBuffers(). With Qt the call also delivers the events of the application's other widgets. Windows
  /// of EGL have no events.
  OmBoolean pollEvents();
  /// Whether the user has asked to close the window: true from pollEvents(), or the swap, that saw it until the window
  /// is shown again (setHideWindow()) or closed. Also true, until it is closed, for an X11 window that another program
  /// has destroyed; it does nothing any more.
  OmBoolean isCloseRequested() const;
  /// Takes the oldest event of keyboard or mouse that pollEvents() has kept. Returns false, with `event` unchanged, if
  /// there is none. At most 1024 are kept, the newest ones.
  OmBoolean takeEvent(OmWindowEvent& event);
  /// Waits until the window system has something for pollEvents(), until the file descriptor can be read (-1: none), or
  /// for that many seconds; negative seconds: without end. Returns false if the time is over. May return early. Uses no
  /// processor time meanwhile.
  OmBoolean waitEvents(double seconds, int descriptor = -1);

  /// Fills the screen with the window, without decorations, or gives it back the size from before. Needs a window
  /// manager that offers it (EWMH, _NET_WM_STATE_FULLSCREEN). Returns false if nothing offers it; nothing is printed.
  /// The new size is reported as a resize by the user is.
  OmBoolean setFillScreen(OmBoolean fill);
  /// Sets the picture by which desktops show the window in lists and title bars: 1 to 4 channels, best square, and 32
  /// to 256 pixels wide. Without pixels: none. Does nothing without a back end.
  void setIcon(const OmImage& icon);

  /// Keeps a colour for the caller. Nothing in the library draws with it.
  void setBackgroundColor(const OmColor& color);
  /// The colour that setBackgroundColor() has kept.
  const OmColor& backgroundColor() const;

  /// Chooses the type of back end for windows that are initialised from now on, in the whole process.
  static void setImplType(ImplType type);
  /// The type of back end that the next window gets.
  static ImplType getImplType();

  /// The window that was made current last. Null if there is none, and after any window was closed.
  static OmWindow* getWindow();

  static ImplType s_ImplType;        ///< what getImplType() returns
  static OmWindow* m_pCurrentWindow; ///< what getWindow() returns

protected:
  OmColor m_backgroundColor;             ///< colour kept for the caller
  OmBoolean m_topMost;                   ///< the window is kept above the others
  OmBoolean m_hideWindow;                ///< the window is hidden
  OmU32 m_x;                             ///< left edge on the screen, in pixels
  OmU32 m_y;                             ///< top edge on the screen, in pixels
  OmU32 m_width;                         ///< width of the drawing area, in pixels
  OmU32 m_height;                        ///< height of the drawing area, in pixels
  OmString m_name;                       ///< title
  OmBoolean m_initialized;               ///< init() has succeeded
  boost::shared_ptr<Impl> m_pImpl;       ///< back end
  mutable boost::weak_ptr<Impl> m_share; ///< the partner's back end
  mutable OmBoolean m_stereoSupported;   ///< opened with a stereo visual
};

/// The back end of a window: one native window with its GL context.
///
/// \code
///   OmSimpleWindow window;
///   window.setImpl(OmWindow::Impl::newImpl()); // what init() does by itself where none was set
///   if (!window.init())
///     return 1;
///   const bool isBound = window.getImpl()->getWindow() == &window;
/// \endcode
///
/// newImpl() makes a back end, its window holds it, and it is bound to that window from init() to closeWindow().
/// Setters change the native window at once and do nothing while there is none; the window keeps the values for the
/// next opening.
class OM_EXPORT OmWindow::Impl
{
public:
  class X11;
  class Qt;
  class EGL;

  /// A back end without a window.
  Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  virtual ~Impl();

  /// Sets the title.
  virtual void setName(const OmString& name) = 0;
  /// Resizes the drawing area, in pixels.
  virtual void setWindowSize(OmU32 width, OmU32 height) = 0;
  /// Moves the window, in pixels of the screen.
  virtual void setWindowPos(OmU32 x, OmU32 y) = 0;
  /// Resizes the drawing area and moves the window, in pixels.
  virtual void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) = 0;
  /// Sets whether the window is kept above the others.
  virtual void setTopMost(OmBoolean topMost) = 0;
  /// Hides or shows the window.
  virtual void setHideWindow(OmBoolean hide) = 0;
  /// Switches full screen on or off (OmWindow::setFullScreen()).
  virtual void setFullScreen(OmBoolean fullScreen) = 0;
  /// Makes the context current on the calling thread.
  virtual void makeCurrent() const = 0;

  /// Sets the partner whose GL objects the context of the next opening shares. Does not keep the partner alive. Returns
  /// false, with a warning and without any change, if this back end is already bound.
  virtual OmBoolean share(boost::weak_ptr<Impl> share) const;
  /// The partner. Empty if there is none or it is gone.
  virtual boost::shared_ptr<Impl> getShare() const;

  /// Shows what was drawn.
  virtual void swapBuffers() const = 0;

  /// Binds the back end to a window and opens it: opens the native window with its context, detects the capabilities,
  /// sets swap interval 0 if that is possible (GLX_SGI_swap_control, GLX_EXT_swap_control, GLX_MESA_swap_control),
  /// clears and swaps. Returns true at once if the back end is bound already. Returns false, with an error message, if
  /// the window does not open or the detection fails. A failed detection leaves the window open and the back end bound.
  virtual OmBoolean init(OmWindow* window);
  /// Opens the native window and its context from the window's settings, and leaves the context current. init() calls
  /// it. Returns false on failure, with an error message and everything released again.
  virtual OmBoolean openWindow() = 0;
  /// Closes the native window and its context, and unbinds the back end. May be called at any time.
  virtual void closeWindow() = 0;
  /// Sets the GL viewport of the current context to the window's size. The back end must be bound.
  virtual void resizeGL() const;

  /// The window that the back end is bound to; null if it is not bound.
  OmWindow* getWindow() const;
  /// The share group in which the textures and shaders of the open context live. Outside of all windows while there is
  /// no context.
  OmShareGroup shareGroup() const;
  /// The context alone, in which its framebuffer objects live. Outside of all windows while there is no context.
  OmShareGroup context() const;

  /// Whether drawing has somewhere to go: a framebuffer object is bound, or the window has pixels of its own. All have
  /// but those of an EGL device without pbuffers. Asked while the context is current.
  OmBoolean hasTarget() const;

  /// A new back end of the process's type (OmWindow::setImplType()). Empty, with an error message, for a Qt or EGL back
  /// end if the library was built without it.
  static boost::shared_ptr<Impl> newImpl();

protected:
  friend class OmWindow;

  /// Joins the share group `ofGroup`, and starts a list of names for the context alone.
  OM_INTERNAL void holdNames(const boost::shared_ptr<OmShareGroup::Names>& ofGroup) const;
  /// Deletes the names that had to wait for the context (OmShareGroup::deleteLater()). The context is current.
  OM_INTERNAL void deleteKeptNames() const;
  /// Makes the context current if names wait for it. Called before the context is destroyed, because drivers differ in
  /// whether such names are deleted with it.
  OM_INTERNAL void deleteLastNames() const;
  /// Leaves the share group. Called when the context is gone.
  OM_INTERNAL void dropNames() const;

  OmWindow* m_pWindow;                                           ///< the bound window; null while there is none
  mutable boost::weak_ptr<Impl> m_share;                         ///< the partner
  mutable boost::shared_ptr<OmShareGroup::Names> m_groupNames;   ///< held by every open back end of the group
  mutable boost::shared_ptr<OmShareGroup::Names> m_contextNames; ///< held by this back end alone
  OmBoolean m_hasPixels;                                         ///< false: only framebuffer objects take drawing
  std::unique_ptr<OmDesktopWindow> m_desktop;                    ///< null: a back end without windows on a screen
};

#endif
