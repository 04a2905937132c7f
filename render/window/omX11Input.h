#ifndef OM_X11_INPUT_H
#define OM_X11_INPUT_H

#include "render/omWindowEvent.h"

#include <X11/Xlib.h>

#include <optional>

/// The events of X that omInputEvent() translates, as a mask for XSelectInput().
constexpr long OmX11InputMask =
    KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | LeaveWindowMask;

/// An event of X as one of keyboard or mouse; empty for all others. X's buttons 4 and 5 are the wheel. Those of a wheel
/// that is tilted, 6 and 7, are left out.
std::optional<OmWindowEvent> omInputEvent(XEvent& event);

#endif
