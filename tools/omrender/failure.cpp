#include "tools/omrender/failure.h"

#include <cstdio>

OmString quoted(const OmString& text)
{
  return '"' + text + '"';
}

void printFailure(const OmString& program, const OmString& message)
{
  OmString line = program + ": " + message;
  for (char& character : line)
    if (static_cast<unsigned char>(character) < ' ')
      character = character == '\n' ? ' ' : '?';
  std::fprintf(stderr, "%s\n", line.c_str());
}
