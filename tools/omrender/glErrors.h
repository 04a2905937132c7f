#ifndef OM_TOOLS_GL_ERRORS_H
#define OM_TOOLS_GL_ERRORS_H

#include "foundation/core/omTypes.h"

class LibraryLog;

/// Throws a Failure when the library's log or GL holds an error. `what` begins the message: "cannot show "a.png"".
void checkErrors(const OmString& what, LibraryLog& log);

#endif
