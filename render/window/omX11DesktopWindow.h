#ifndef OM_X11_DESKTOP_WINDOW_H
#define OM_X11_DESKTOP_WINDOW_H

#include "render/omWindow.h"
#include "render/window/omDesktopWindow.h"
#include "render/window/omX11Properties.h"

#include <X11/Xlib.h>

#include <functional>

/// The desktop's side of an X11 window. Events are taken from the connection whenever the window swaps or polls, and
/// kept in little memory until poll() acts on them: the last size, whether something was exposed, the newest input.
class OmX11DesktopWindow : public OmDesktopWindow
{
public:
  void poll() override;
  bool wait(double seconds, int descriptor) override;
  bool setFillScreen(bool fill) override;
  void setIcon(const OmImage& icon) override;

  /// Takes over a native window that was just made for `window`, with a size in pixels, before it is mapped. Calls
  /// `forget` if another program destroys it.
  void open(OmWindow* window, const OmX11Native& native, unsigned int width, unsigned int height,
            std::function<void()> forget);
  /// Lets go of the native window, which is about to be destroyed.
  void close();

  /// Takes what the connection has received. If the user has pressed the close button, hides the window. Does not wait.
  void collect();
  /// Keeps what one event says.
  void keep(XEvent& event);

  /// Tells desktops the title in UTF-8.
  void setTitle(const OmString& title) const { m_properties.setTitle(title); }
  /// Draws a frame about the window or none. Returns false if the server does not know the property.
  bool setDecorated(bool decorated) const { return m_properties.setDecorated(decorated); }
  /// Whether poll() is just passing on that the window has this size: it is not to be asked for then.
  bool isReporting(OmU32 width, OmU32 height) const;
  /// The program is about to ask for a size in pixels; what was reported before it is out of date.
  void willResize(unsigned int width, unsigned int height);
  /// The program hides or shows the window, which takes back the user's wish.
  void setHidden(bool hidden) { setCloseRequested(hidden && isCloseRequested()); }

private:
  void takeInput();
  void takeQueued(int events);
  void hideIfClosed();
  void reportSize();
  void reportPosition();
  void giveUp();

  OmWindow* m_window = nullptr; ///< null while no native window is open
  std::function<void()> m_forget;
  OmX11Native m_native;
  OmX11Properties m_properties;
  std::vector<unsigned long> m_icon; ///< what OmX11Properties::pixels() gave
  unsigned int m_width = 0;          ///< of the native window, as asked for or reported last
  unsigned int m_height = 0;
  unsigned long m_resized = 0; ///< the last request for a size: events from before it tell old sizes
  bool m_hasInput = false;     ///< keys and the mouse are asked for
  bool m_hasNews = false;      ///< something was kept since poll() began
  bool m_newSize = false;
  bool m_newPosition = false;
  bool m_exposed = false;
  bool m_closePressed = false;
  bool m_reporting = false;
};

#endif
