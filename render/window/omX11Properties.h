#ifndef OM_X11_PROPERTIES_H
#define OM_X11_PROPERTIES_H

#include "foundation/core/omTypes.h"

#include <X11/Xlib.h>

#include <array>
#include <vector>

class OmImage;

/// A native window.
struct OmX11Native
{
  Display* display = nullptr;
  Window root = 0; ///< of the window's screen
  Window window = 0;
};

/// What an X11 window and the desktop tell each other by properties and messages (ICCCM, EWMH).
class OmX11Properties
{
public:
  /// Takes a screen, of which only canFillScreen() is asked. The native window may be 0.
  void look(const OmX11Native& native);
  /// Takes over a new native window. Says whose it is (WM_CLASS, _NET_WM_PID, WM_CLIENT_MACHINE), and that the close
  /// button sends a message instead of ending the program.
  void open(const OmX11Native& native);
  /// Announces that pings are answered.
  void announcePing() const;
  /// Whether an event says that the user pressed the close button.
  bool isCloseRequest(const XEvent& event) const;
  /// Answers the event if the desktop asks by it whether the program is alive.
  void answerPing(const XEvent& event) const;

  /// Sets the title in UTF-8 (_NET_WM_NAME). Bytes that are not UTF-8 are taken for Latin-1, as WM_NAME is.
  void setTitle(const OmString& title) const;
  /// Sets or removes the icon (_NET_WM_ICON): what pixels() gives.
  void setIcon(const std::vector<unsigned long>& pixels) const;
  /// Asks window managers to decorate the window or not, by Motif's property. Returns false if nobody has made that
  /// property known to the server.
  bool setDecorated(bool decorated) const;
  /// Whether a living window manager lets windows fill the screen.
  bool canFillScreen() const;
  /// OmWindow::setFillScreen(), for a window that is hidden or not.
  bool setFillScreen(bool fill, bool hidden) const;

  /// A picture in _NET_WM_ICON's form, width and height first. Larger ones than desktops use are scaled down. Empty
  /// without pixels.
  static std::vector<unsigned long> pixels(const OmImage& icon);

private:
  enum Name
  {
    Protocols,
    DeleteWindow,
    Ping,
    Title,
    Utf8,
    ProcessId,
    Icon,
    State,
    FillScreen,
    Supported,
    ManagerCheck,
    NameCount
  };

  Atom atom(Name name) const { return m_atoms[name]; }
  bool isProtocol(const XEvent& event, Name name) const;
  void introduce() const;
  std::vector<unsigned long> read(Window window, Name name, Atom type) const;
  void write(Name name, Atom type, const std::vector<unsigned long>& values) const;

  OmX11Native m_native;
  std::array<Atom, NameCount> m_atoms = {};
};

#endif
