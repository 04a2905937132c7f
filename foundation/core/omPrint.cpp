#include "foundation/core/omPrint.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <ostream>
#include <streambuf>
#include <utility>

namespace Om
{

namespace
{

int levelFromEnvironment()
{
  const char* text = std::getenv("OM_PRINT_LEVEL");
  if (!text)
    return Print::Error;
  char* end = nullptr;
  const long level = std::strtol(text, &end, 10);
  return end != text && *end == '\0' ? static_cast<int>(level) : Print::Error;
}

} // namespace

/// Collects what is inserted into a stream and sends it line by line.
class LineBuffer : public std::streambuf
{
public:
  ~LineBuffer() override { finish(); }

  void begin(int type, const char* signature)
  {
    finish();
    m_type = type;
    m_signature = signature;
  }

protected:
  int_type overflow(int_type c) override
  {
    if (!traits_type::eq_int_type(c, traits_type::eof()))
      put(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
  }

  std::streamsize xsputn(const char* text, std::streamsize count) override
  {
    for (std::streamsize i = 0; i < count; ++i)
      put(text[i]);
    return count;
  }

private:
  void put(char c)
  {
    m_line.push_back(c);
    if (c == '\n')
      finish();
  }

  void finish()
  {
    if (m_line.empty())
      return;
    // Empty the buffer first: a sink may itself write through this thread's stream.
    const std::string line = std::exchange(m_line, {});
    Print::instance().send(m_type, m_signature.c_str(), line);
  }

  int m_type = 0;
  std::string m_signature;
  std::string m_line;
};

/// The streams of a thread.
class Streams
{
public:
  LineBuffer buffer;
  std::ostream lines{&buffer};
  std::ostream nowhere{nullptr}; ///< stays bad: insertions return before they format

  static Streams& ofThread()
  {
    thread_local Streams streams;
    if (!s_ended)
      return streams;
    // Static objects are destroyed after the main thread's streams, and their destructors may write.
    static Streams& last = *new Streams;
    return last;
  }

  ~Streams() { s_ended = true; }

private:
  Streams() = default;
  static thread_local bool s_ended;
};

thread_local bool Streams::s_ended = false;

Print& Print::instance()
{
  // Never destroyed, so that the destructors of static objects can still write.
  static Print& print = *new Print;
  return print;
}

Print::Print() : m_level(levelFromEnvironment()) {}

int Print::printLevel() const
{
  return m_level.load(std::memory_order_relaxed);
}

void Print::setPrintLevel(int level)
{
  m_level.store(level, std::memory_order_relaxed);
}

void Print::setSink(Sink sink)
{
  auto shared = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
  const std::lock_guard<std::mutex> lock(m_sinkMutex);
  m_sink.swap(shared);
}

void Print::write(int type, const char* format, ...)
{
  if (type < printLevel())
    return;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  std::string text(255, '\0');
  const int length = std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  if (length > 0)
  {
    const bool fits = static_cast<std::size_t>(length) <= text.size();
    text.resize(static_cast<std::size_t>(length));
    if (!fits)
      std::vsnprintf(text.data(), text.size() + 1, format, again);
    send(type, "", text);
  }
  va_end(again);
}

std::ostream& Print::ostream(int type, const char* signature)
{
  Streams& streams = Streams::ofThread();
  if (type < printLevel())
    return streams.nowhere;
  streams.buffer.begin(type, signature);
  streams.lines.clear();
  streams.lines.imbue(std::locale::classic()); // a new stream has the global one
  streams.lines.flags(std::ios_base::skipws | std::ios_base::dec);
  streams.lines.precision(6);
  streams.lines.fill(' ');
  streams.lines.width(0);
  return streams.lines;
}

std::ostream& Print::ostream(int type, const std::string& signature)
{
  return ostream(type, signature.c_str());
}

void Print::send(int type, const char* signature, const std::string& text)
{
  std::shared_ptr<const Sink> sink;
  {
    const std::lock_guard<std::mutex> lock(m_sinkMutex);
    sink = m_sink;
  }
  if (sink)
    (*sink)(type, text);
  else if (*signature != '\0' && printLevel() <= Scope)
    std::fprintf(stderr, "%s: %s", signature, text.c_str());
  else
    std::fputs(text.c_str(), stderr);
}

Print::ScopedPrint::ScopedPrint(const char* signature, const char* second)
    : m_signature(Print::instance().printLevel() <= Scope ? signature : nullptr), m_second(second)
{
  if (m_signature)
    Print::instance().write(Scope, "> %s%s\n", m_signature, m_second);
}

Print::ScopedPrint::~ScopedPrint()
{
  if (m_signature)
    Print::instance().write(Scope, "< %s%s\n", m_signature, m_second);
}

} // namespace Om
