#include "foundation/common/omUtils.h"

#include <charconv>
#include <chrono>
#include <map>
#include <thread>

OmString OmINT2STRING(long long value, int base)
{
  char text[66]; // 64 binary digits, a sign and one to spare
  const auto [end, error] = std::to_chars(text, text + sizeof text, value, base < 2 || base > 36 ? 10 : base);
  return {text, end};
}

OmString OmEscaped(const OmString& text)
{
  static const std::map<char, const char*> names = {{'\n', "\\n"}, {'\t', "\\t"}, {'\r', "\\r"}};
  constexpr char Digits[] = "0123456789abcdef";
  OmString escaped;
  bool isSecond = false; // of the two bytes of a control character in UTF-8
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    const auto byte = static_cast<unsigned char>(text[i]);
    const unsigned char next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    const bool isFirst = byte == 0xc2 && next >= 0x80 && next < 0xa0;
    const auto name = names.find(text[i]);
    if (name != names.end())
      escaped += name->second;
    else if (byte < ' ' || byte == 0x7f || isFirst || isSecond)
      escaped += OmString("\\x") + Digits[byte >> 4] + Digits[byte & 15];
    else
      escaped += text[i];
    isSecond = isFirst;
  }
  return escaped;
}

void OmSLEEPMS(OmU32 milliseconds)
{
  if (milliseconds == 0)
    std::this_thread::yield();
  else
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
