#ifndef OM_GL_NAMES_H
#define OM_GL_NAMES_H

#include "render/omShareGroup.h"

#include <vector>

/// The GL names of a context, or of the contexts of a share group, that wait to be deleted. The back ends of the open
/// contexts hold it, so that an OmShareGroup sees when the contexts are gone.
class OmShareGroup::Names
{
public:
  Names() = default;
  Names(const Names&) = delete;
  Names& operator=(const Names&) = delete;
  virtual ~Names() = default;

  /// Keeps a name. deleteKept() calls `deleteName` with it.
  void keep(void (*deleteName)(OmU32 name), OmU32 name);
  bool hasKept() const { return !m_kept.empty(); }
  /// Deletes the names that were kept. One of the contexts must be current.
  void deleteKept();

private:
  struct Kept
  {
    void (*deleteName)(OmU32 name);
    OmU32 name;
  };

  std::vector<Kept> m_kept;
};

#endif
