#ifndef OM_TESTS_PRINT_CAPTURE_H
#define OM_TESTS_PRINT_CAPTURE_H

#include "foundation/core/omPrint.h"

#include <string>
#include <utility>
#include <vector>

/// Collects the messages that are written while it lives.
class PrintCapture
{
public:
  using Message = std::pair<int, std::string>;

  explicit PrintCapture(int level = 0) : m_level(Om::Print::instance().printLevel())
  {
    Om::Print::instance().setPrintLevel(level);
    Om::Print::instance().setSink([this](int type, const std::string& text) { m_messages.emplace_back(type, text); });
  }
  ~PrintCapture()
  {
    Om::Print::instance().setSink({});
    Om::Print::instance().setPrintLevel(m_level);
  }
  PrintCapture(const PrintCapture&) = delete;
  PrintCapture& operator=(const PrintCapture&) = delete;

  /// The messages with at least that type. The default leaves out the trace of the operations (type 0).
  std::vector<Message> messages(int lowest = 1) const
  {
    std::vector<Message> result;
    for (const Message& message : m_messages)
      if (message.first >= lowest)
        result.push_back(message);
    return result;
  }
  void clear() { m_messages.clear(); }

private:
  int m_level;
  std::vector<Message> m_messages;
};

using Messages = std::vector<PrintCapture::Message>;

#endif
