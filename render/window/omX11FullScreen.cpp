#include "render/window/omX11FullScreen.h"

#include "render/window/omX11Properties.h"
#include "render/window/omX11Server.h"

#include <memory>

bool omOffersFullScreen()
{
  const std::unique_ptr<Display, int (*)(Display*)> display(omOpenDisplay(), XCloseDisplay);
  if (!display)
    return false;
  OmX11Properties properties;
  properties.look({display.get(), DefaultRootWindow(display.get()), 0});
  return properties.canFillScreen();
}
