#ifndef OM_TESTS_SWAP_DOUBLE_H
#define OM_TESTS_SWAP_DOUBLE_H

#include "tests/support/xDouble.h"

#include <GL/glx.h>

// Notes how GLX_EXT_swap_control and GLX_MESA_swap_control are used. Included by one file of a test program.

inline const char* s_glxExtensions; ///< null for what there is

OM_EXPORT const char* glXQueryExtensionsString(Display* display, int screen)
{
  return s_glxExtensions ? s_glxExtensions : OM_REAL(glXQueryExtensionsString)(display, screen);
}

OM_EXPORT void (*glXGetProcAddress(const GLubyte* name))()
{
  const std::string function = reinterpret_cast<const char*>(name);
  if (s_glxExtensions && function == "glXSwapIntervalEXT")
    return reinterpret_cast<void (*)()>(+[](Display* display, GLXDrawable drawable, int interval)
                                        { note("EXT", display, drawable, interval); });
  if (s_glxExtensions && function == "glXSwapIntervalMESA")
    return reinterpret_cast<void (*)()>(+[](unsigned int interval) { return note("MESA", interval), 0; });
  return OM_REAL(glXGetProcAddress)(name);
}

#endif
