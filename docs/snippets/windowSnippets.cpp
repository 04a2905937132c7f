// The snippets of the windows and their X11 back end. The lines between two markers stand in a header, word
// for word.

#include "docs/snippets/snippet.h"
#include "image/omImage.h"
#include "image/omImageBlock.h"
#include "render/omFBOWindow.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowEvent.h"
#include "render/omWindowImplX11.h"

#include <X11/keysym.h>
#include <boost/pointer_cast.hpp>

namespace
{

int window()
{
  // [omWindow.h
  OmSimpleWindow window;
  window.setName("Preview");
  window.setWindowSizeAndPos(640, 480, 20, 20);
  if (!window.init())
    return 1; // the reason has been printed
  // omWindow.h]
  GLint viewport[4] = {};
  glGetIntegerv(GL_VIEWPORT, viewport);
  CHECK(OmWindow::getWindow() == &window && viewport[2] == 640 && viewport[3] == 480);
  return 0;
}

int backEnd()
{
  // [omWindow.h
  OmSimpleWindow window;
  window.setImpl(OmWindow::Impl::newImpl()); // what init() does by itself where none was set
  if (!window.init())
    return 1;
  const bool isBound = window.getImpl()->getWindow() == &window;
  // omWindow.h]
  CHECK(isBound);
  return 0;
}

int x11BackEnd()
{
  // [omWindowImplX11.h
  OmSimpleWindow window;
  window.setImpl(OmWindow::Impl::X11::newImpl()); // this one window, whatever OmWindow::setImplType() says
  if (!window.init())
    return 1; // the reason has been printed
  // omWindowImplX11.h]
  CHECK(boost::dynamic_pointer_cast<OmWindow::Impl::X11>(window.getImpl()) && glXGetCurrentContext());
  return 0;
}

void simpleWindow(const OmImage& image)
{
  // [omSimpleWindow.h
  OmSimpleWindow window;
  window.setName("photo.jpg");
  window.setImageBuffer(image, true); // opens at the image's size and shows it

  OmImage captured;
  window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr);
  captured.copyFromOrToFlipped(true); // top row first again
  // omSimpleWindow.h]
  CHECK(isSame(captured, image));

  // [omImageBlock.h
  const OmImageBlock block(OmPixel(10, 20), 300, 200); // columns 10 to 309 of rows 20 to 219
  OmImage part;
  window.renderSceneAndCaptureImage(part, OmSimpleWindow::CaptureFlipped, &block);
  // omImageBlock.h]
  part.copyFromOrToFlipped(true);
  CHECK(part.width() == 300 && part.height() == 200);
  const auto at = [](const OmImage& picture, std::size_t x, std::size_t y)
  { return picture.data() + (y * picture.width() + x) * 3; };
  for (std::size_t y = 0; y < 200; ++y)
    CHECK(std::equal(at(part, 0, y), at(part, 0, y) + 900, at(image, 10, 20 + y)));
}

/// The loop of a program whose user ends it with Escape.
void showUntilEscape(OmSimpleWindow& window)
{
  // [omWindowEvent.h, windowsAndEvents.md
  while (window.pollEvents())
  {
    OmWindowEvent event;
    while (window.takeEvent(event))
      if (event.type == OmWindowEvent::KeyPressed && event.key == OmWindowEvent::KeyEscape)
        return;
    window.waitEvents(-1.0); // until something happens
  }
  // omWindowEvent.h, windowsAndEvents.md]
}

void events(const OmImage& image)
{
  OmSimpleWindow window;
  window.setImageBuffer(image, true);
  Display* const display = glXGetCurrentDisplay();
  XEvent key = {};
  key.xkey.type = KeyPress;
  key.xkey.window = glXGetCurrentDrawable();
  key.xkey.keycode = XKeysymToKeycode(display, XK_Escape);
  XSendEvent(display, key.xkey.window, False, NoEventMask, &key);
  showUntilEscape(window);
  CHECK(!window.isCloseRequested() && !window.getHideWindow());
}

bool fboWindow(const OmImage& image)
{
  // [omFBOWindow.h
  OmFBOWindow window;
  window.setWindowSize(image.width(), image.height());
  window.setOffScreenRendering(true);
  if (!window.init() || !window.setImageBuffer(image, false))
    return false;
  OmImage result;
  window.renderSceneAndCaptureImage(result, OmSimpleWindow::CaptureFlipped, nullptr);
  // omFBOWindow.h]
  CHECK(result.isFlipped());
  result.copyFromOrToFlipped(true);
  CHECK(isSame(result, image));
  return true;
}

} // namespace

int main()
{
  CHECK(window() == 0);
  CHECK(backEnd() == 0);
  CHECK(x11BackEnd() == 0);
  simpleWindow(makePicture(320, 240));
  events(makePicture(320, 240));
  CHECK(fboWindow(makePicture(61, 37)));
  return 0;
}
