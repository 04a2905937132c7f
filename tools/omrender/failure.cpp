#include "tools/omrender/failure.h"

#include "foundation/common/omUtils.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

namespace
{

constexpr std::errc ShortSupplies[] = {std::errc::no_space_on_device, std::errc::not_enough_memory,
                                       std::errc::too_many_files_open, std::errc::too_many_files_open_in_system,
                                       static_cast<std::errc>(EDQUOT)};

bool endsWith(const OmString& text, const OmString& end)
{
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

Failure::Failure(const OmString& message) : Failure(message, statusOf(message)) {}

ExitStatus statusOf(const std::error_code& error)
{
  const auto isThat = [&error](std::errc shortage) { return error == shortage; };
  return std::any_of(std::begin(ShortSupplies), std::end(ShortSupplies), isThat) ? OutOfRoom : SomeFailed;
}

ExitStatus statusOf(const OmString& message)
{
  const auto isThat = [&message](std::errc shortage)
  { return endsWith(message, ": " + std::make_error_code(shortage).message()); };
  const bool isShort = std::any_of(std::begin(ShortSupplies), std::end(ShortSupplies), isThat) ||
                       endsWith(message, ": out of memory") ||
                       endsWith(message, "the graphics card is out of memory; scale the picture down first");
  return isShort ? OutOfRoom : SomeFailed;
}

OmString quoted(const OmString& text)
{
  return '"' + OmEscaped(text) + '"';
}

void printFailure(const OmString& program, const OmString& message)
{
  OmString line = program + ": " + message;
  std::replace(line.begin(), line.end(), '\n', ' '); // of a compiler's log
  std::fprintf(stderr, "%s\n", OmEscaped(line).c_str());
}
