#ifndef OM_TESTS_SOAK_FIGURES_H
#define OM_TESTS_SOAK_FIGURES_H

#include <string>

/// What the process holds.
struct Figures
{
  long memory = 0;      ///< KiB that are resident
  long descriptors = 0; ///< open files
  long sockets = 0;     ///< those of them that are sockets, as connections to X servers are
  long threads = 0;

  /// Those of now. The heap has given back what it can.
  static Figures now();

  /// For a line of a report.
  std::string text() const;

  /// What has grown since then, in words; empty for nothing. Memory may grow by so many KiB.
  std::string grownSince(const Figures& before, long memory) const;
};

#endif
