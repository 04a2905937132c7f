#include "tools/omrender/libraryLog.h"

#include "foundation/core/omPrint.h"
#include "tools/omrender/failure.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{

/// What the libraries have written in this thread.
thread_local std::vector<OmString> errors;
thread_local std::vector<OmString> warnings;

constexpr int ErrorType = 4;
constexpr int WarningType = 5;

/// A message without its newline, its full stop and the name in front of who writes it ("X11::openWindow - ",
/// "OmImageReaderWriter: "), which users have no use for.
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
      [](int type, const std::string& text)
      {
        if (type == ErrorType)
          errors.push_back(phrase(text));
        else if (type == WarningType)
          warnings.push_back(phrase(text));
        else if (Om::Print::instance().printLevel() < ErrorType)
          std::fputs(text.c_str(), stderr);
      });
}

LibraryLog::~LibraryLog()
{
  Om::Print::instance().setSink({});
}

bool LibraryLog::hasErrors() const
{
  return !errors.empty();
}

OmString LibraryLog::takeReason(const OmString& otherwise)
{
  OmString reason = errors.empty() ? otherwise : errors.front();
  errors.clear();
  return reason;
}

void LibraryLog::warn(const OmString& warning)
{
  warnings.push_back(warning);
}

std::vector<OmString> LibraryLog::takeWarnings()
{
  return std::exchange(warnings, {});
}

void printWarnings(LibraryLog& log)
{
  for (const OmString& warning : log.takeWarnings())
    printFailure("omrender", "warning: " + warning);
}
