#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<std::size_t> s_count{0};

std::size_t allocationCount()
{
  return s_count;
}

__attribute__((visibility("default"))) void* operator new(std::size_t size)
{
  ++s_count;
  if (void* memory = std::malloc(size))
    return memory;
  throw std::bad_alloc();
}

__attribute__((visibility("default"))) void operator delete(void* memory) noexcept
{
  std::free(memory);
}

__attribute__((visibility("default"))) void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}
