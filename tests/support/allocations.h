#ifndef OM_TESTS_ALLOCATIONS_H
#define OM_TESTS_ALLOCATIONS_H

#include <cstddef>

/// How often the process has asked `operator new` for memory so far.
std::size_t allocationCount();

#endif
