#include "render/window/omX11Input.h"

#include <X11/Xutil.h>
#include <xkbcommon/xkbcommon.h>

namespace
{

constexpr unsigned int WheelUp = 4;
constexpr unsigned int WheelDown = 5;
constexpr unsigned int WheelRight = 7;

OmU32 modifiers(unsigned int state)
{
  constexpr struct
  {
    unsigned int mask;
    OmU32 modifier;
  } Modifiers[] = {{ShiftMask, OmWindowEvent::Shift},
                   {ControlMask, OmWindowEvent::Control},
                   {Mod1Mask, OmWindowEvent::Alt},
                   {Mod4Mask, OmWindowEvent::Super}};
  OmU32 result = 0;
  for (const auto& [mask, modifier] : Modifiers)
    if (state & mask)
      result |= modifier;
  return result;
}

/// What the events of keys, buttons and the pointer have in common; X names it alike in all of them.
template <class XInput>
OmWindowEvent at(OmWindowEvent::Type type, const XInput& input)
{
  OmWindowEvent event;
  event.type = type;
  event.x = input.x;
  event.y = input.y;
  event.modifiers = modifiers(input.state);
  return event;
}

/// The character of a key symbol in UTF-8; empty for control characters.
OmString text(KeySym symbol)
{
  char utf8[8] = "";
  xkb_keysym_to_utf8(static_cast<xkb_keysym_t>(symbol), utf8, sizeof utf8);
  const auto first = static_cast<unsigned char>(utf8[0]);
  return first < ' ' || first == 0x7f ? OmString() : OmString(utf8);
}

OmWindowEvent keyEvent(XKeyEvent& key)
{
  const bool pressed = key.type == KeyPress;
  OmWindowEvent event = at(pressed ? OmWindowEvent::KeyPressed : OmWindowEvent::KeyReleased, key);
  KeySym symbol = NoSymbol;
  XLookupString(&key, nullptr, 0, &symbol, nullptr);
  event.key = static_cast<OmU32>(symbol);
  if (pressed && !(key.state & ControlMask))
    event.text = text(symbol);
  return event;
}

std::optional<OmWindowEvent> buttonEvent(const XButtonEvent& button)
{
  const bool pressed = button.type == ButtonPress;
  if (button.button < WheelUp || button.button > WheelRight)
  {
    OmWindowEvent event = at(pressed ? OmWindowEvent::ButtonPressed : OmWindowEvent::ButtonReleased, button);
    event.button = button.button;
    return event;
  }
  if (!pressed || button.button > WheelDown)
    return {};
  OmWindowEvent event = at(OmWindowEvent::WheelTurned, button);
  event.wheel = button.button == WheelUp ? 1 : -1;
  return event;
}

} // namespace

std::optional<OmWindowEvent> omInputEvent(XEvent& event)
{
  switch (event.type)
  {
  case KeyPress:
  case KeyRelease:
    return keyEvent(event.xkey);
  case ButtonPress:
  case ButtonRelease:
    return buttonEvent(event.xbutton);
  case MotionNotify:
    return at(OmWindowEvent::MouseMoved, event.xmotion);
  case LeaveNotify:
    if (event.xcrossing.mode == NotifyGrab)
      return {}; // another program has taken the pointer, which is still in the window
    return at(OmWindowEvent::MouseExited, event.xcrossing);
  default:
    return {};
  }
}
