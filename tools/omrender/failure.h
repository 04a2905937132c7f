#ifndef OM_TOOLS_FAILURE_H
#define OM_TOOLS_FAILURE_H

#include "foundation/core/omTypes.h"

#include <stdexcept>

/// Ends the program with one line on standard error. The message says what failed, with which file or value, and what
/// to do.
class Failure : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// A text in double quotes, escaped, for messages.
OmString quoted(const OmString& text);

/// Writes "PROGRAM: message" as one line on standard error, also when a file name in it holds control characters.
void printFailure(const OmString& program, const OmString& message);

#endif
