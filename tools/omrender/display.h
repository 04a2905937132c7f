#ifndef OM_TOOLS_DISPLAY_H
#define OM_TOOLS_DISPLAY_H

#include "foundation/core/omTypes.h"

#include <utility>

class LibraryLog;
class OmWindow;

/// The display in the environment, for messages: "display ":0"", or "a display (DISPLAY is not set)".
OmString displayName();

/// The message for a window that another program has destroyed.
OmString windowDestroyed();

/// Opens a window by its back end. Returns why it does not open; empty when it does.
OmString tryToOpen(OmWindow& window, LibraryLog& log);

/// As tryToOpen(), but throws a Failure when the window does not open.
void openWindow(OmWindow& window, LibraryLog& log);

/// The width and height on the screen of the window, whose context is current, in pixels. A window manager may have
/// given it another size than the program. An EGL window, which is on no screen, has its own size.
std::pair<OmU32, OmU32> currentWindowSize(const OmWindow& window);

/// Makes errors of the display, which Xlib would report in several lines, end the program with one line: a request
/// that the server refuses, with the status SomeFailed, and a connection that is lost, as when the server ends or the
/// user kills the client, with NoCard.
void endOnDisplayErrors();

/// Ends the program as a lost connection does.
[[noreturn]] void endOnLostConnection();

#endif
