#ifndef OM_TOOLS_MACHINE_H
#define OM_TOOLS_MACHINE_H

#include "foundation/core/omTypes.h"

#include <cstdint>

/// What the process may use of the machine, or of the container that it runs in (control groups of version 1 and 2).
/// Below `root` lie /proc and /sys/fs/cgroup.

/// The processors: those that the process may run on, or the quota of its groups, rounded up, if that is less.
int usableProcessors(const OmString& root = "");

/// The memory in bytes: the machine's, or the limit of its groups if that is less.
std::uint64_t usableMemory(const OmString& root = "");

#endif
