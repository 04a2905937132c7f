#ifndef OM_TESTS_GUARDED_MEMORY_H
#define OM_TESTS_GUARDED_MEMORY_H

#include <cstddef>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

/// Values at the end of mapped memory: reading past them ends the process.
template <class Value>
class MemoryWithEnd
{
public:
  explicit MemoryWithEnd(std::size_t count)
      : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), m_length((count * sizeof(Value) / m_page + 1) * m_page)
  {
    m_memory = static_cast<char*>(
        mmap(nullptr, m_length + m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (m_memory == MAP_FAILED || mprotect(m_memory + m_length, m_page, PROT_NONE) != 0)
      throw std::bad_alloc();
    m_first = end() - count;
  }
  ~MemoryWithEnd() { munmap(m_memory, m_length + m_page); }
  MemoryWithEnd(const MemoryWithEnd&) = delete;
  MemoryWithEnd& operator=(const MemoryWithEnd&) = delete;

  Value* begin() const { return m_first; }
  Value* end() const { return reinterpret_cast<Value*>(m_memory + m_length); }

private:
  std::size_t m_page;
  std::size_t m_length;
  char* m_memory;
  Value* m_first;
};

#endif
