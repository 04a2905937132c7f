#include "tools/omrender/filter/recentNames.h"

#include <algorithm>

#include <xxhash.h>

namespace
{

std::uint64_t hashOf(const OmString& name)
{
  return std::max<std::uint64_t>(::XXH64(name.data(), name.size(), 0), 1);
}

} // namespace

bool RecentNames::has(const OmString& name) const
{
  const std::uint64_t hash = hashOf(name);
  return m_hashes[hash % m_hashes.size()] == hash;
}

void RecentNames::add(const OmString& name)
{
  const std::uint64_t hash = hashOf(name);
  m_hashes[hash % m_hashes.size()] = hash;
}
