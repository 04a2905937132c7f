#ifndef OM_TESTS_CAPTURE_H
#define OM_TESTS_CAPTURE_H

#include "render/omSimpleWindow.h"
#include "tests/support/pictures.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

/// What the window draws, top row first.
inline OmImage captured(OmWindow& window)
{
  OmImage image;
  EXPECT_TRUE(window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, nullptr));
  image.copyFromOrToFlipped(true);
  return image;
}

/// The pixels of GL's read buffer from its lower left corner on, top row first. `width` and `height` in pixels.
inline OmImage readPixels(OmU32 width, OmU32 height)
{
  OmImage image;
  image.zeroFlippedImage(3, 0, width, height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGB, GL_UNSIGNED_BYTE,
               image.flippedData());
  image.copyFromOrToFlipped(true);
  return image;
}

#endif
