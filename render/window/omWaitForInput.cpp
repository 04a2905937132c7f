#include "render/window/omWaitForInput.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <poll.h>

bool omWaitForInput(double seconds, const std::vector<int>& descriptors)
{
  std::vector<pollfd> files;
  files.reserve(descriptors.size());
  for (const int descriptor : descriptors)
    files.push_back({descriptor, POLLIN, 0});
  constexpr double Longest = std::numeric_limits<int>::max(); // for what is no number, too
  const int milliseconds = seconds < 0.0 ? -1 : static_cast<int>(std::min(Longest, std::ceil(seconds * 1000.0)));
  return ::poll(files.data(), files.size(), milliseconds) > 0;
}
