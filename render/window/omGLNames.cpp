#include "render/window/omGLNames.h"

void OmShareGroup::Names::keep(void (*deleteName)(OmU32 name), OmU32 name)
{
  m_kept.push_back({deleteName, name});
}

void OmShareGroup::Names::deleteKept()
{
  for (const Kept& kept : m_kept)
    kept.deleteName(kept.name);
  m_kept.clear();
}
