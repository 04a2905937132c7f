#include "tools/libraryLog.h"

#include "foundation/core/omPrint.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr int ErrorType = 4;
constexpr int WarningType = 5;

/// A line without its newline, its full stop and a signature in front ("X11::openWindow - ", "OmImage: ").
OmString phrase(OmString line)
{
  while (!line.empty() && (line.back() == '\n' || line.back() == '.'))
    line.pop_back();
  const std::size_t space = line.find(' ');
  if (space == OmString::npos || space == 0)
    return line;
  if (line.compare(space, 3, " - ") == 0)
    return line.substr(space + 3);
  return line[space - 1] == ':' ? line.substr(space + 1) : line;
}

} // namespace

LibraryLog::LibraryLog()
{
  Om::Print& print = Om::Print::instance();
  print.setPrintLevel(std::min(print.printLevel(), ErrorType));
  print.setSink(
      [this](int type, const std::string& text)
      {
        if (type == ErrorType)
          m_errors.push_back(phrase(text));
        else if (type == WarningType)
          m_warnings.push_back(phrase(text));
        else if (Om::Print::instance().printLevel() < ErrorType)
          std::fputs(text.c_str(), stderr);
      });
}

LibraryLog::~LibraryLog()
{
  Om::Print::instance().setSink({});
}

OmString LibraryLog::takeReason(const OmString& otherwise)
{
  OmString reason = m_errors.empty() ? otherwise : m_errors.front();
  m_errors.clear();
  return reason;
}
