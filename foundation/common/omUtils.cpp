#include "foundation/common/omUtils.h"

#include <charconv>
#include <chrono>
#include <thread>

OmString OmINT2STRING(long long value, int base)
{
  char text[66]; // 64 binary digits, a sign and one to spare
  const auto [end, error] = std::to_chars(text, text + sizeof text, value, base < 2 || base > 36 ? 10 : base);
  return {text, end};
}

void OmSLEEPMS(OmU32 milliseconds)
{
  if (milliseconds == 0)
    std::this_thread::yield();
  else
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
