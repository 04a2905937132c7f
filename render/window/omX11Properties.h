#ifndef OM_X11_PROPERTIES_H
#define OM_X11_PROPERTIES_H

#include <X11/Xlib.h>

#include <array>

/// What an X11 window and the desktop tell each other by properties and messages (ICCCM, EWMH).
class OmX11Properties
{
public:
  /// Takes over a new native window. Announces that the close button sends a message instead of ending the program.
  void open(Display* display, Window window);
  /// Announces that pings are answered.
  void announcePing() const;
  /// Whether an event says that the user pressed the close button.
  bool isCloseRequest(const XEvent& event) const;
  /// Answers the event if the desktop asks by it whether the program is alive.
  void answerPing(const XEvent& event) const;

private:
  enum Name
  {
    Protocols,
    DeleteWindow,
    Ping,
    NameCount
  };

  Atom atom(Name name) const { return m_atoms[name]; }
  bool isProtocol(const XEvent& event, Name name) const;

  Display* m_display = nullptr;
  Window m_window = 0;
  std::array<Atom, NameCount> m_atoms = {};
};

#endif
