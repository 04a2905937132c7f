#include "tools/omrender/show/pictureShow.h"

#include "render/omSimpleWindow.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/libraryLog.h"

#include <filesystem>
#include <iostream>

PictureShow::PictureShow(OmSimpleWindow& window, const ShowOptions& options, LibraryLog& log)
    : m_window(window), m_options(options), m_log(log)
{
  m_window.setWindowPos(options.position.x(), options.position.y(), false);
}

void PictureShow::show(const PictureFile& picture)
{
  const OmImage image = readPicture(picture.file, m_log);
  m_window.setName(m_options.title.value_or(std::filesystem::path(picture.file).filename().string()));
  if (!m_open)
    open(picture);
  m_open = true;
  if (!m_window.setImageBuffer(image, true))
    throw Failure("cannot show " + quoted(picture.file) + ": " + m_log.takeReason("no reason was given"));
  checkErrors("cannot show " + quoted(picture.file), m_log);
  if (!m_options.capture.empty())
    capture(picture);
}

void PictureShow::open(const PictureFile& picture)
{
  m_window.setWindowSize(picture.width, picture.height);
  openWindow(m_window, m_log);
  checkErrors("cannot show " + quoted(picture.file), m_log);
  if (m_options.fullScreen)
    m_window.setFullScreen(true);
  if (m_log.hasErrors())
    failToShowFullScreen(m_log.takeReason(""));
}

void PictureShow::capture(const PictureFile& picture)
{
  OmImage image;
  const OmImageBlock* const block = m_options.block ? &*m_options.block : nullptr;
  const bool captured = m_window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, block);
  checkWindow();
  if (!captured)
    throw Failure("cannot capture the window: " + m_log.takeReason("nothing was drawn"));
  checkErrors("cannot capture " + quoted(picture.file), m_log);
  image.copyFromOrToFlipped(true);
  writePicture(image, m_options.capture, m_log);
  if (block && (image.width() < block->width() || image.height() < block->height()))
    std::cout << m_options.capture << ": the block was cut to the window, " << sizeText(image.width(), image.height())
              << " pixels" << std::endl;
}

/// Throws when the capture is not what the window shows, as the window manager made the window smaller.
void PictureShow::checkWindow() const
{
  const auto [width, height] = currentWindowSize(m_window);
  if (m_options.block)
    checkBlock(*m_options.block, width, height);
  OmU32 drawnWidth = 0;
  OmU32 drawnHeight = 0;
  m_window.getWindowSize(drawnWidth, drawnHeight);
  if (width < drawnWidth || height < drawnHeight)
    throw Failure("cannot capture the window: the window manager made it " + sizeText(width, height) +
                  " pixels, less than the " + sizeText(drawnWidth, drawnHeight) +
                  " of the picture; use --backend qt or a larger screen");
}

void failToShowFullScreen(const OmString& reason)
{
  throw Failure("cannot show full screen: " + reason +
                "; start a window manager on this display, or leave out --fullscreen");
}
