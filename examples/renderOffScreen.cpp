// Draws a triangle off screen and writes it to a PNG file. No window appears on the screen.
//
//   renderOffScreen OUTPUT.png

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omFBOWindow.h"

#include <iostream>

class Scene : public OmFBOWindow
{
public:
  OmBoolean renderScene(OmBoolean swap) override
  {
    clear();                  // makes the context current and binds the framebuffer object
    setGLOrtho();             // coordinates from 0 to 1 in both directions, origin at the bottom left
    glDisable(GL_TEXTURE_2D); // the off-screen texture has left it on
    glShadeModel(GL_SMOOTH);
    glBegin(GL_TRIANGLES);
    glColor3f(1.0f, 0.0f, 0.0f);
    glVertex2f(0.1f, 0.1f);
    glColor3f(0.0f, 1.0f, 0.0f);
    glVertex2f(0.9f, 0.1f);
    glColor3f(0.0f, 0.0f, 1.0f);
    glVertex2f(0.5f, 0.9f);
    glEnd();
    if (swap)
      swapBuffers();
    return true;
  }
};

int main(int argc, char** argv)
{
  if (argc != 2)
  {
    std::cerr << "usage: renderOffScreen OUTPUT.png\n";
    return 2;
  }
  Scene scene;
  scene.setWindowSize(512, 512);
  scene.setOffScreenRendering(true);
  OmImage image;
  if (!scene.init())
  {
    std::cerr << "renderOffScreen: needs a display and framebuffer objects\n";
    return 1;
  }
  if (!scene.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, nullptr))
    return 1;
  image.copyFromOrToFlipped(true); // GL reads the bottom row first
  return OmImageReaderWriter::write(image, argv[1]) ? 0 : 1;
}
