// The snippets of what needs no display: windows on EGL and its devices. What lies between two markers is in a header
// or a page, word for word.

#include "docs/snippets/snippet.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowImplEGL.h"

#include <iostream>

namespace
{

bool window(const OmImage& image)
{
  // [omWindowImplEGL.h
  OmWindow::setImplType(OmWindow::ImplEGL); // no display is needed from here on
  OmSimpleWindow window;
  if (!window.setImageBuffer(image, true))
    return false; // the reason has been printed
  OmImage captured;
  window.renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr);
  // omWindowImplEGL.h]
  captured.copyFromOrToFlipped(true);
  CHECK(isSame(captured, image));
  return true;
}

void devices()
{
  // [withoutADisplay.md
  for (const OmWindow::Impl::EGL::Device& device : OmWindow::Impl::EGL::devices())
    std::cout << device.number << " " << device.driver << " " << device.renderNode << " "
              << (device.opens ? "opens" : device.answer) << "\n";
  OmWindow::Impl::EGL::setDevice("0");
  // withoutADisplay.md]
  OmSimpleWindow window;
  CHECK(window.init());
  CHECK(dynamic_cast<OmWindow::Impl::EGL&>(*window.getImpl()).device().number == 0);
}

} // namespace

int main()
{
  unsetenv("DISPLAY");
  CHECK(window(makePicture(61, 37)));
  devices();
  return 0;
}
