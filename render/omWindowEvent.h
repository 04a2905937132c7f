#ifndef OM_WINDOW_EVENT_H
#define OM_WINDOW_EVENT_H

#include "foundation/core/omTypes.h"

/// What the user did with keyboard or mouse in a window (OmWindow::takeEvent()). The same from every back end.
///
/// \code
///   OmWindowEvent event;
///   while (window.takeEvent(event))
///     if (event.type == OmWindowEvent::KeyPressed && event.key == OmWindowEvent::KeyEscape)
///       return;
/// \endcode
struct OmWindowEvent
{
  /// What happened.
  enum Type : OmU32
  {
    KeyPressed,     ///< a key went down, or repeats while it is held
    KeyReleased,    ///< a key went up
    ButtonPressed,  ///< a button of the mouse went down
    ButtonReleased, ///< a button of the mouse went up
    WheelTurned,    ///< the wheel was turned
    MouseMoved,     ///< the pointer moved; moves that were not taken yet are one event
    MouseExited     ///< the pointer left the window
  };

  /// Values of `key` for keys without a character. All values are X's key symbols (`X11/keysymdef.h`); for a Latin-1
  /// character that is its code.
  enum Key : OmU32
  {
    KeyBackspace = 0xff08,
    KeyTab = 0xff09,
    KeyReturn = 0xff0d,
    KeyEscape = 0xff1b,
    KeyHome = 0xff50,
    KeyLeft = 0xff51,
    KeyUp = 0xff52,
    KeyRight = 0xff53,
    KeyDown = 0xff54,
    KeyPageUp = 0xff55,
    KeyPageDown = 0xff56,
    KeyEnd = 0xff57,
    KeyInsert = 0xff63,
    KeyBackTab = 0xfe20, ///< Tab with Shift
    KeyF1 = 0xffbe,      ///< the other function keys follow
    KeyDelete = 0xffff
  };

  /// Values of `button`.
  enum Button : OmU32
  {
    LeftButton = 1,
    MiddleButton = 2,
    RightButton = 3
  };

  /// Bits of `modifiers`.
  enum Modifier : OmU32
  {
    Shift = 1,
    Control = 2,
    Alt = 4,
    Super = 8
  };

  Type type = MouseMoved; ///< what happened
  OmU32 key = 0;          ///< of a key: its symbol, with Shift applied ('A', not 'a')
  OmString text;          ///< of a key that went down: the character in UTF-8; empty for keys without one
  OmU32 button = 0;       ///< of a button
  int wheel = 0;          ///< of the wheel: steps, positive away from the user
  int x = 0;              ///< position of the pointer, in pixels from the left of the drawing area
  int y = 0;              ///< position of the pointer, in pixels from the top of the drawing area
  OmU32 modifiers = 0;    ///< the modifier keys that were down before
};

#endif
