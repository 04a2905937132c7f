#include "tools/omrender/show/windowCapture.h"

#include "render/omSimpleWindow.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/pictureFile.h"

#include <iostream>

namespace
{

/// Throws when the capture is not what the window shows, as the window manager made the window smaller.
void checkWindow(const OmSimpleWindow& window, const ShowOptions& options)
{
  const auto [width, height] = currentWindowSize(window);
  if (options.block)
    checkBlock(*options.block, width, height);
  OmU32 drawnWidth = 0;
  OmU32 drawnHeight = 0;
  window.getWindowSize(drawnWidth, drawnHeight);
  if (width < drawnWidth || height < drawnHeight)
    throw Failure("cannot capture the window: the window manager made it " + sizeText(width, height) +
                  " pixels, less than the " + sizeText(drawnWidth, drawnHeight) +
                  " of the picture; use --backend qt or a larger screen");
}

} // namespace

void captureWindow(OmSimpleWindow& window, const ShowOptions& options, const OmString& name, LibraryLog& log)
{
  OmImage image;
  const OmImageBlock* const block = options.block ? &*options.block : nullptr;
  const bool captured = window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, block);
  checkWindow(window, options);
  if (!captured)
    throw Failure("cannot capture the window: " + log.takeReason("nothing was drawn"));
  checkErrors("cannot capture " + quoted(name), log);
  image.copyFromOrToFlipped(true);
  writePicture(image, options.capture, log);
  if (block && (image.width() < block->width() || image.height() < block->height()))
    std::cout << options.capture << ": the block was cut to the window, " << sizeText(image.width(), image.height())
              << " pixels" << std::endl;
}
