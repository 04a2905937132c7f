#ifndef OM_TESTS_ALLOCATIONS_H
#define OM_TESTS_ALLOCATIONS_H

#include <cstddef>

/// The number of calls of `operator new` in this process so far.
std::size_t allocationCount();

#endif
