// Linked into the test programs whose subject is not the window system. OM_TEST_BACKEND=egl runs them on EGL, with no
// display to fall back to.

#include "render/omWindow.h"

#include <cstdlib>
#include <string>

namespace
{

bool applyBackEnd()
{
  const char* const value = std::getenv("OM_TEST_BACKEND");
  const bool isEGL = value && std::string(value) == "egl";
  if (isEGL)
  {
    unsetenv("DISPLAY");
    OmWindow::setImplType(OmWindow::ImplEGL);
  }
  return isEGL;
}

[[maybe_unused]] const bool isApplied = applyBackEnd();

} // namespace
