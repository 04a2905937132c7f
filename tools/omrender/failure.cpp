#include "tools/omrender/failure.h"

#include "foundation/common/omUtils.h"

#include <algorithm>
#include <cstdio>

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
