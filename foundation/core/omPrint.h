#ifndef OM_PRINT_H
#define OM_PRINT_H

#include "foundation/core/omTypes.h"

#include <atomic>
#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>

namespace Om
{

/// The log of the process: every message of the libraries goes through it.
///
/// \code
///   Om::Print::instance().setSink([&lines](int type, const std::string& text)
///                                 { lines += OmINT2STRING(type, 10) + ": " + text; });
///   Om::Print::instance().write(Om::Print::Error, "%s: no such picture\n", name.c_str());
///   OmImage image;
///   OmImageReaderWriter::read(image, "missing.png"); // says why it fails, as an Error
///   Om::Print::instance().setSink({});               // back to standard error
/// \endcode
///
/// A message has a print type (Type). It goes out when its type is not below the print level. The level starts at
/// Error, so that errors and warnings show; a number in the environment variable `OM_PRINT_LEVEL` sets another start.
/// At Trace the capability report and the format of a new Qt window are written too.
///
/// Messages go to standard error unless setSink() names another place. A message that does not go out costs a
/// comparison: nothing is formatted, nothing is allocated. Any thread may write.
class OM_EXPORT Print
{
public:
  /// What a message is.
  enum Type
  {
    Scope = 0,       ///< an operation begins or ends (ScopedPrint)
    Trace = 1,       ///< an object of the GL is made or deleted
    Notice = 2,      ///< something unusual that does no harm
    Report = 3,      ///< what the card can do, and what a window does
    Error = 4,       ///< an operation failed
    Warning = 5,     ///< an operation had no effect, or works less well than it could
    WindowFormat = 7 ///< the format of a new window
  };

  /// What takes the messages in place of standard error (setSink()).
  using Sink = std::function<void(int type, const std::string& text)>;

  /// The one log; it outlives all other objects of the process.
  static Print& instance();

  /// Writes one message, formatted as by printf. The text carries its own newline.
  void write(int type, const char* format, ...) __attribute__((format(printf, 3, 4)));

  /// A stream for one message of the given type. Each line goes out when its newline is inserted; a line left open
  /// goes out at the thread's next call. The signature names the operation that writes; standard error shows it in
  /// front of the line at print level Scope. The stream belongs to the calling thread and serves until its next call.
  /// It formats numbers in the classic locale, whatever the global one is.
  std::ostream& ostream(int type, const char* signature);
  /// The same with a text for a signature.
  std::ostream& ostream(int type, const std::string& signature);

  /// The lowest type that goes out.
  int printLevel() const;
  /// Sets that type; Scope lets everything out.
  void setPrintLevel(int level);

  /// Sends messages to `sink`, each with its type and its text as written, newline included. An empty function
  /// restores standard error. The sink may itself write messages.
  void setSink(Sink sink);

  /// Marks where an operation begins and ends. At print level Scope its signature is written when the object is made
  /// and when it is destroyed. At any other level both cost a comparison.
  class OM_EXPORT ScopedPrint
  {
  public:
    /// Both strings must outlive the object; `second` is written behind the signature and may be empty.
    ScopedPrint(const char* signature, const char* second);
    /// Writes the line that ends the operation, if the one that begins it was written.
    ~ScopedPrint();
    ScopedPrint(const ScopedPrint&) = delete;
    ScopedPrint& operator=(const ScopedPrint&) = delete;

  private:
    const char* m_signature; ///< null when nothing was written
    const char* m_second;
  };

private:
  OM_INTERNAL Print();
  ~Print() = default;

  OM_INTERNAL void send(int type, const char* signature, const std::string& text);

  friend class LineBuffer;

  std::atomic<int> m_level;
  std::mutex m_sinkMutex;
  std::shared_ptr<const Sink> m_sink; ///< null: standard error
};

} // namespace Om

#endif
