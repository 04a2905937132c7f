#ifndef OM_ENTRY_POINT_H
#define OM_ENTRY_POINT_H

#include "render/window/omCurrentEGL.h"

#include <GL/glx.h>

/// A function that OmGL does not load, for the current context.
template <typename Function>
Function omEntryPoint(const char* name)
{
  return reinterpret_cast<Function>(OmCurrentEGL::isCurrent()
                                        ? OmCurrentEGL::resolve(name)
                                        : glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name)));
}

#endif
