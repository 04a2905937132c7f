#ifndef OM_TOOLS_FAILURE_H
#define OM_TOOLS_FAILURE_H

#include "foundation/core/omTypes.h"

#include <stdexcept>
#include <system_error>

/// How the program ends, for schedulers, which act on it.
enum ExitStatus
{
  AllDone = 0,
  SomeFailed = 1, ///< the rest is done
  WrongUse = 2,   ///< it would fail on every machine
  NoCard = 3,     ///< no card or display here that can do it; another machine may have one
  OutOfRoom = 4   ///< on the disk or in the memory; later there may be some
};

/// Ends the program with one line on standard error. The message says what failed, with which file or value, and what
/// to do.
class Failure : public std::runtime_error
{
public:
  /// With the status that statusOf() finds in the message.
  explicit Failure(const OmString& message);
  Failure(const OmString& message, ExitStatus status) : std::runtime_error(message), m_status(status) {}

  ExitStatus status() const { return m_status; }

private:
  ExitStatus m_status;
};

/// OutOfRoom for an error of the system that says so, among them too many open files; otherwise SomeFailed.
ExitStatus statusOf(const std::error_code& error);

/// The same for a message that ends with the reason. The libraries give their errors as text alone.
ExitStatus statusOf(const OmString& message);

/// A text in double quotes, escaped, for messages.
OmString quoted(const OmString& text);

/// Writes "PROGRAM: message" as one line on standard error, also when a file name in it holds control characters.
void printFailure(const OmString& program, const OmString& message);

#endif
