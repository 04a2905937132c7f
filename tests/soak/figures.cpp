#include "tests/soak/figures.h"

#include <filesystem>
#include <fstream>

#include <malloc.h>

Figures Figures::now()
{
  malloc_trim(0);
  Figures figures;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
  {
    std::error_code gone; // the directory's own descriptor
    const std::string target = std::filesystem::read_symlink(entry, gone).string();
    ++figures.descriptors;
    figures.sockets += target.rfind("socket:", 0) == 0;
  }
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
  {
    if (word == "VmRSS:")
      status >> figures.memory;
    else if (word == "Threads:")
      status >> figures.threads;
  }
  return figures;
}

std::string Figures::text() const
{
  return "memory " + std::to_string(memory) + " KiB, descriptors " + std::to_string(descriptors) + ", sockets " +
         std::to_string(sockets) + ", threads " + std::to_string(threads);
}

std::string Figures::grownSince(const Figures& before, long growth) const
{
  std::string grown;
  if (memory > before.memory + growth)
    grown += " memory by more than " + std::to_string(growth) + " KiB;";
  if (descriptors > before.descriptors)
    grown += " descriptors;";
  if (sockets > before.sockets)
    grown += " sockets;";
  if (threads > before.threads)
    grown += " threads;";
  return grown;
}
