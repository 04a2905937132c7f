#include "tools/omrender/machine.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <vector>

#include <sched.h>
#include <unistd.h>

namespace
{

/// The directories of the process's group and of those around it, each of which has limits. A container may see its own
/// group as the root, so directories that are named may be missing.
std::vector<OmString> groupDirectories(const OmString& root, const OmString& controller)
{
  std::vector<OmString> directories;
  std::ifstream file(root + "/proc/self/cgroup");
  for (OmString line; std::getline(file, line);) // "NUMBER:CONTROLLERS:PATH"; version 2 names no controllers
  {
    const std::size_t first = line.find(':');
    const std::size_t second = line.find(":/", first + 1);
    if (first == OmString::npos || second == OmString::npos)
      continue;
    const OmString controllers = line.substr(first + 1, second - first - 1);
    OmString base = root + "/sys/fs/cgroup";
    if (("," + controllers + ",").find("," + controller + ",") != OmString::npos)
      base += "/" + controller;
    else if (!controllers.empty())
      continue;
    for (OmString path = line.substr(second + 1); !path.empty(); path.erase(path.rfind('/')))
      directories.push_back(base + path);
    directories.push_back(base);
  }
  return directories;
}

/// Returns the numbers at the start of a file, at most two; none for "max", and for a file that is not there.
std::vector<double> readNumbers(const OmString& name)
{
  std::ifstream file(name);
  std::vector<double> numbers;
  for (double number = 0.0; numbers.size() < 2 && file >> number;)
    numbers.push_back(number);
  return numbers;
}

} // namespace

int usableProcessors(const OmString& root)
{
  cpu_set_t set;
  const long online = std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN));
  // The set is too small for machines with more than 1024 processors.
  double processors = ::sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : static_cast<double>(online);
  for (const OmString& directory : groupDirectories(root, "cpu"))
  {
    std::vector<double> quota = readNumbers(directory + "/cpu.max"); // microseconds, and in how many
    for (const char* const name : {"/cpu.cfs_quota_us", "/cpu.cfs_period_us"})
      for (const double number : readNumbers(directory + name))
        quota.push_back(number);
    if (quota.size() == 2 && quota[0] > 0.0 && quota[1] > 0.0) // version 1 says -1 for none
      processors = std::min(processors, std::ceil(quota[0] / quota[1]));
  }
  return static_cast<int>(processors);
}

std::uint64_t usableMemory(const OmString& root)
{
  double bytes = static_cast<double>(::sysconf(_SC_PHYS_PAGES)) * static_cast<double>(::sysconf(_SC_PAGESIZE));
  for (const OmString& directory : groupDirectories(root, "memory"))
    for (const char* const name : {"/memory.max", "/memory.limit_in_bytes"})
      for (const double limit : readNumbers(directory + name))
        bytes = std::min(bytes, limit);
  return static_cast<std::uint64_t>(bytes);
}
