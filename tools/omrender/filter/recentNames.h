#ifndef OM_TOOLS_RECENT_NAMES_H
#define OM_TOOLS_RECENT_NAMES_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Remembers about as many of the last names as it has room for, in memory that does not grow. It forgets some earlier
/// than others.
class RecentNames
{
public:
  explicit RecentNames(std::size_t room) : m_hashes(room) {}

  /// Whether the name is remembered.
  bool has(const OmString& name) const;
  void add(const OmString& name);

private:
  std::vector<std::uint64_t> m_hashes; ///< each name has one place, by its hash; 0 is an empty place
};

#endif
