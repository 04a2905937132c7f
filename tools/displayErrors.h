#ifndef OM_TOOLS_DISPLAY_ERRORS_H
#define OM_TOOLS_DISPLAY_ERRORS_H

#include "foundation/core/omTypes.h"

/// Has the errors that Xlib would report in several lines end the program with one line and status 1: a request that
/// the server refuses, and a connection that is lost, as when the user closes the window.
void endOnDisplayErrors();

/// Ends the program as a lost connection does.
[[noreturn]] void endOnLostConnection();

/// The display in the environment, for messages: "display ":0"", or "a display (DISPLAY is not set)".
OmString displayName();

#endif
