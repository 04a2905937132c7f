#include "render/window/omSwapInterval.h"

#include <GL/glx.h>

#include <string>

namespace
{

template <class Function>
Function resolve(const char* name)
{
  return reinterpret_cast<Function>(glXGetProcAddress(reinterpret_cast<const GLubyte*>(name)));
}

} // namespace

void omSwapWithoutWaiting()
{
  Display* const display = glXGetCurrentDisplay();
  const char* const extensions = display ? glXQueryExtensionsString(display, DefaultScreen(display)) : nullptr;
  if (!extensions)
    return;
  const std::string padded = " " + std::string(extensions) + " ";
  const auto isListed = [&padded](const char* extension)
  { return padded.find(" " + std::string(extension) + " ") != std::string::npos; };
  if (isListed("GLX_EXT_swap_control"))
  {
    if (const auto set = resolve<PFNGLXSWAPINTERVALEXTPROC>("glXSwapIntervalEXT"))
      set(display, glXGetCurrentDrawable(), 0);
  }
  else if (isListed("GLX_MESA_swap_control"))
  {
    if (const auto set = resolve<PFNGLXSWAPINTERVALMESAPROC>("glXSwapIntervalMESA"))
      set(0);
  }
}
