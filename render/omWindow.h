#ifndef OM_WINDOW_H
#define OM_WINDOW_H

#include "foundation/common/omColor.h"
#include "foundation/core/omTypes.h"

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

class OmImage;
class OmImageBlock;

/// A window with a GL context.
///
/// The class keeps a window's settings and hands them to a back end (OmWindow::Impl), which owns the native window;
/// what the window shows is up to the concrete window, such as OmSimpleWindow.
///
/// \code
///   OmSimpleWindow window;
///   window.setName("Preview");
///   window.setWindowSizeAndPos(640, 480, 20, 20);
///   if (!window.init())
///     return 1; // the reason has been printed
/// \endcode
///
/// Settings given before init() are kept for it; afterwards most are passed on to the native window at once. Setters
/// never ask the window system: what the user does with the mouse is known only where a back end reports it.
///
/// GL objects belong to a share group: the contexts that were opened with share(). Textures and other GL objects of a
/// window are used, and deleted, on the thread that has a window of their group current. One window is current at a
/// time in the whole process (getWindow()); nothing is locked.
class OM_EXPORT OmWindow
{
public:
  class Impl;

  /// The kinds of back end.
  enum ImplType : OmU32
  {
    ImplQt = 1,     ///< a Qt GL widget
    ImplX11 = 3,    ///< Xlib and GLX
    ImplDefault = 4 ///< the library's choice: ImplX11
  };

  /// A window of size 0 by 0 at 0, 0 with the title "OmWindow", neither on top nor hidden, black. Opens nothing.
  OmWindow();
  OmWindow(const OmWindow&) = delete;
  OmWindow& operator=(const OmWindow&) = delete;
  /// Closes the window.
  virtual ~OmWindow();

  /// Sets the size of the drawing area, in pixels. Returns whether it differs from the one before; an initialised
  /// window is then drawn again.
  virtual OmBoolean setWindowSize(OmU32 width, OmU32 height);
  /// Sets the screen position of the top-left corner, in pixels. Returns whether it differs from the one before. With
  /// `apply` false it is only kept for the next init(); with true an initialised window moves and is drawn again.
  virtual OmBoolean setWindowPos(OmU32 x, OmU32 y, OmBoolean apply);
  /// Sets size and position in one step. Returns whether any of the four differs from before; an initialised window
  /// then follows and is drawn again.
  virtual OmBoolean setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y);

  /// The title, as bytes in the encoding that the window system expects.
  virtual void setName(const OmString& name);
  /// The title.
  virtual const OmString& getName() const;

  /// Keeps the window above the others.
  virtual void setTopMost(OmBoolean topMost);
  /// Whether the window is kept above the others.
  virtual OmBoolean getTopMost() const;

  /// Hides or shows the window; one that is hidden when it opens does not appear on the screen at all until it is
  /// shown. closeWindow() clears the flag.
  virtual void setHideWindow(OmBoolean hide);
  /// Whether the window is hidden.
  virtual OmBoolean getHideWindow() const;

  /// Full screen as the back end understands it: no decorations with X11, the whole screen with Qt. Needs a back end;
  /// a request before init() is dropped.
  virtual void setFullScreen(OmBoolean fullScreen);

  /// Marks the window stereo capable; called by back ends while they open.
  virtual void setStereoSupported() const;
  /// Whether the window was opened with a stereo visual.
  virtual OmBoolean getStereoSupported() const;

  /// Has this window share its GL objects with those of another, initialised window of the same back-end type. To be
  /// called before init(). A partner that is not initialised then is not shared with, without a message; one of another
  /// type is reported (print type 4), and the window opens unshared. False for a null window and, with a warning of
  /// print type 5, on an open window; getShare() then still names the new partner.
  virtual OmBoolean share(const OmWindow* window) const;
  /// The back end of the partner; empty while this window is not initialised or when the partner's is gone.
  virtual boost::shared_ptr<Impl> getShare() const;
  /// The partner window; null where getShare() is empty.
  virtual OmWindow* getShareWindow() const;

  /// Shows what was drawn. Nothing without a back end.
  virtual void swapBuffers() const;
  /// Makes the window's GL context current on the calling thread, and the window the current one (getWindow()).
  virtual void makeCurrent() const;
  /// Closes the native window and lets go of the back end. Size, position, title, top-most flag, background colour and
  /// partner stay for the next init(); the hidden and stereo flags are cleared. Afterwards no window is current,
  /// whichever was.
  virtual void closeWindow();

  /// Replaces the back end; to be called before init(). The one before is let go of as it is: it closes when nobody
  /// else holds it.
  virtual void setImpl(boost::shared_ptr<Impl> impl);
  /// The back end; empty before init() and after closeWindow() unless one was set.
  virtual boost::shared_ptr<Impl> getImpl() const;

  /// Opens the window and detects what its GL offers (OmGL::init()). True on success and when it is open already. On
  /// failure the reason has been printed; another call tries again, after closeWindow() where the window did open and
  /// only the detection failed.
  virtual OmBoolean init();

  /// Draws the window's content, opening the window where needed, and shows it when `swap` is true. False when there
  /// is nothing to draw or the window does not open.
  virtual OmBoolean renderScene(OmBoolean swap) = 0;
  /// Makes an image the window's content and draws it.
  virtual OmBoolean setImageBuffer(const OmImage& image, OmBoolean swap) = 0;
  /// Draws and reads the result back into `image`: the whole window, or the part of it that `block` names.
  virtual OmBoolean renderSceneAndCaptureImage(OmImage& image, OmU32 flags, const OmImageBlock* block) = 0;

  /// The size of the drawing area as it was stored last, in pixels.
  void getWindowSize(OmU32& width, OmU32& height) const;
  /// The screen position as it was stored last, in pixels.
  void getWindowPos(OmU32& x, OmU32& y) const;
  /// Both.
  void getWindowSizeAndPos(OmU32& width, OmU32& height, OmU32& x, OmU32& y) const;

  /// A colour kept for the caller; nothing in the library draws with it.
  void setBackgroundColor(const OmColor& color);
  /// That colour.
  const OmColor& backgroundColor() const;

  /// Chooses the back end of the windows that are initialised from now on, for the whole process.
  static void setImplType(ImplType type);
  /// The back end that the next window gets.
  static ImplType getImplType();

  /// The window made current last; null when there is none, and after any window was closed.
  static OmWindow* getWindow();

  /// The share group of the current window, as a token: two windows share GL names exactly when their tokens have one
  /// owner. Empty without a current window, and for back ends that keep none.
  static boost::weak_ptr<const void> currentShareGroup();
  /// Whether GL names made while `group` was current are valid now.
  static OmBoolean isShareGroupCurrent(const boost::weak_ptr<const void>& group);

  static ImplType s_ImplType;        ///< what getImplType() gives
  static OmWindow* m_pCurrentWindow; ///< what getWindow() gives

protected:
  OmColor m_backgroundColor;             ///< kept for the caller
  OmBoolean m_topMost;                   ///< above the others
  OmBoolean m_hideWindow;                ///< not on the screen
  OmU32 m_x;                             ///< on the screen, in pixels
  OmU32 m_y;                             ///< on the screen, in pixels
  OmU32 m_width;                         ///< of the drawing area, in pixels
  OmU32 m_height;                        ///< of the drawing area, in pixels
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
/// A back end is made by newImpl(), held by its window and bound to it from init() to closeWindow(). Setters apply to
/// the native window at once and do nothing while there is none; the window keeps the values for the next opening.
class OM_EXPORT OmWindow::Impl
{
public:
  class X11;
  class Qt;

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
  /// Does both.
  virtual void setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y) = 0;
  /// Keeps the window above the others, or no longer.
  virtual void setTopMost(OmBoolean topMost) = 0;
  /// Hides or shows the window.
  virtual void setHideWindow(OmBoolean hide) = 0;
  /// Goes to full screen, or back (OmWindow::setFullScreen()).
  virtual void setFullScreen(OmBoolean fullScreen) = 0;
  /// Makes the context current on the calling thread.
  virtual void makeCurrent() const = 0;

  /// Names the partner whose GL objects the context of the next opening shares. Refused, with a warning of print type
  /// 5, once the back end is bound. The partner is not kept alive.
  virtual OmBoolean share(boost::weak_ptr<Impl> share) const;
  /// The partner; empty when there is none any more.
  virtual boost::shared_ptr<Impl> getShare() const;

  /// Shows what was drawn.
  virtual void swapBuffers() const = 0;

  /// Binds the back end to a window and opens it: native window and context, capability detection, swap interval 0
  /// where that can be set, a first clear and swap. True at once on a bound back end. False when the window does not
  /// open (print type 4), and when the detection fails, which leaves it open and the back end bound.
  virtual OmBoolean init(OmWindow* window);
  /// Opens native window and context from the window's settings and leaves the context current; called by init().
  /// False, with a line of print type 4 and everything released again, on failure.
  virtual OmBoolean openWindow() = 0;
  /// Closes native window and context and unbinds the back end. May be called at any time.
  virtual void closeWindow() = 0;
  /// Sets the GL viewport to the window's size. Needs a bound back end.
  virtual void resizeGL() const;

  /// The window that the back end is bound to; null when it is not.
  OmWindow* getWindow() const;
  /// The share group of the open context; empty while there is none (OmWindow::currentShareGroup()).
  boost::weak_ptr<const void> shareGroup() const;

  /// A new back end of the process's type (OmWindow::setImplType()). Empty, with a line of print type 4, for a Qt back
  /// end where the library was built without.
  static boost::shared_ptr<Impl> newImpl();

protected:
  friend class OmWindow;

  OmWindow* m_pWindow;                          ///< null while the back end is not bound
  mutable boost::weak_ptr<Impl> m_share;        ///< the partner
  mutable boost::shared_ptr<void> m_shareGroup; ///< held by every open back end of the group
};

#endif
