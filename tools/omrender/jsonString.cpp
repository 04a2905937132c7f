#include "tools/omrender/jsonString.h"

#include <cstdio>

OmString jsonString(const OmString& text)
{
  OmString json = "\"";
  for (const char character : text)
  {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x20 && byte < 0x7f && character != '"' && character != '\\')
    {
      json += character;
      continue;
    }
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(byte));
    json += escape;
  }
  return json + '"';
}
