#include "tools/pictureShow.h"

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"
#include "tools/failure.h"
#include "tools/glInformation.h"
#include "tools/libraryLog.h"

#include <filesystem>
#include <iostream>

PictureShow::PictureShow(OmSimpleWindow& window, const ShowOptions& options, LibraryLog& log)
    : m_window(window), m_options(options), m_log(log)
{
  m_window.setWindowPos(options.position.x(), options.position.y(), false);
}

void PictureShow::show(const Picture& picture)
{
  OmImage image;
  if (!OmImageReaderWriter::read(image, picture.file))
    throw Failure(m_log.takeReason("cannot read " + quoted(picture.file)));
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

void PictureShow::open(const Picture& picture)
{
  m_window.setWindowSize(picture.width, picture.height);
  if (!m_window.init())
    failToOpenWindow(m_log);
  checkErrors("cannot show " + quoted(picture.file), m_log);
  if (m_options.fullScreen)
    m_window.setFullScreen(true);
  if (m_log.hasErrors())
    failToShowFullScreen(m_log.takeReason(""));
}

void PictureShow::capture(const Picture& picture)
{
  OmImage image;
  const OmImageBlock* const block = m_options.block ? &*m_options.block : nullptr;
  if (!m_window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, block))
  {
    OmU32 width = 0;
    OmU32 height = 0;
    m_window.getWindowSize(width, height);
    if (block)
      checkBlock(*block, width, height);
    throw Failure("cannot capture the window: " + m_log.takeReason("nothing was drawn"));
  }
  checkErrors("cannot capture " + quoted(picture.file), m_log);
  image.copyFromOrToFlipped(true);
  if (!OmImageReaderWriter::write(image, m_options.capture))
    throw Failure(m_log.takeReason("cannot write " + quoted(m_options.capture)));
  if (block && (image.width() < block->width() || image.height() < block->height()))
    std::cout << m_options.capture << ": the block was cut to the window, " << sizeText(image.width(), image.height())
              << " pixels" << std::endl;
}

void checkBlock(const OmImageBlock& block, OmU32 width, OmU32 height)
{
  const OmPixel corner = block.corner();
  if (corner.x() >= width || corner.y() >= height)
    throw Failure("the block at " + std::to_string(corner.x()) + "," + std::to_string(corner.y()) +
                  " lies outside the window, which is " + sizeText(width, height) + " pixels");
}

void failToShowFullScreen(const OmString& reason)
{
  throw Failure("cannot show full screen: " + reason +
                "; start a window manager on this display, or leave out --fullscreen");
}
