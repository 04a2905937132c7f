#include "render/omFBOWindow.h"

#include "image/omImageBlock.h"
#include "render/omGL.h"
#include "support/card.h"
#include "support/pictures.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace
{

struct Window : OmFBOWindow
{
  explicit Window(bool offScreen = true) { setOffScreenRendering(offScreen); }
  const OmTexture& target() const { return m_offScreenTexture; }
  bool isOpen() const { return m_initialized; }
  void dropTexture() { m_pTexture.reset(); }
};

GLuint bound()
{
  GLint name = -1;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &name);
  return static_cast<GLuint>(name);
}

/// The number of bytes in which what the window shows differs from a picture.
std::size_t capturedDifferences(OmWindow& window, const OmImage& picture)
{
  OmImage image;
  EXPECT_TRUE(window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, nullptr));
  image.copyFromOrToFlipped(true);
  return differences(image, picture);
}

} // namespace

TEST(omFBOWindow, CapturesAreThePicture)
{
  const OmU32 sizes[][2] = {{1, 1}, {61, 47}, {64, 64}, {1921, 1203}}; // the last is larger than the screen
  OmU32 seed = 0;
  for (const auto& [width, height] : sizes)
  {
    Window window;
    for (const bool keep : {false, true, false})
    {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << keep);
      const OmImage picture = makePicture(3, width, height, ++seed);
      window.setKeepBound(keep);
      ASSERT_TRUE(window.setImageBuffer(picture, false));
      EXPECT_TRUE(window.getHideWindow());
      EXPECT_EQ(bound() != 0, keep);
      EXPECT_EQ(capturedDifferences(window, picture), 0u);
      EXPECT_EQ(bound() != 0, keep);
    }
  }
  EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__) || card == "rectangle"); // where GL_REPEAT is an error
}

TEST(omFBOWindow, WhichFramebufferIsBound)
{
  Window window;
  window.setWindowSize(61, 47);
  window.setKeepBound(true);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(bound(), 0u);
  window.makeCurrent();
  const GLuint name = bound();
  EXPECT_TRUE(name != 0);
  const OmImageBlock inside(OmPixel(1, 2), 3, 4);
  const OmImageBlock outside(OmPixel(61, 0), 1, 1);
  OmImage image;
  for (const bool keep : {true, false})
  {
    SCOPED_TRACE(keep);
    window.setKeepBound(keep);
    EXPECT_TRUE((window.makeCurrent(), bound() == name));
    EXPECT_TRUE(window.renderScene(false) && bound() == (keep ? name : 0));
    EXPECT_TRUE((window.clear(), bound() == name));
    EXPECT_TRUE(window.renderSceneAndCaptureImage(image, 0, nullptr) && bound() == (keep ? name : 0));
    EXPECT_TRUE(window.renderSceneAndCaptureImage(image, 0, &inside) && bound() == (keep ? name : 0));
    EXPECT_TRUE(!window.renderSceneAndCaptureImage(image, 0, &outside) && bound() == (keep ? name : 0));
    EXPECT_EQ(window.getKeepBound(), keep);
  }
  // Left bound, it is drawn into until a render with keep-bound off has ended.
  window.makeCurrent();
  window.setOffScreenRendering(false);
  EXPECT_EQ(bound(), name);
  EXPECT_TRUE(window.renderScene(true) && bound() == 0);
  EXPECT_TRUE((window.makeCurrent(), bound() == 0));

  // What does not render leaves the binding alone.
  window.setOffScreenRendering(true);
  window.makeCurrent();
  window.dropTexture();
  EXPECT_TRUE(!window.renderScene(false) && bound() == name);
  EXPECT_TRUE(!window.renderSceneAndCaptureImage(image, 0, nullptr) && bound() == name);
  EXPECT_TRUE(!window.renderSceneAndCaptureImage(image, 0, &inside) && bound() == name);
  Window tooLarge;
  tooLarge.setWindowSize(40000, 1);
  const PrintCapture capture;
  EXPECT_TRUE(!tooLarge.renderSceneAndCaptureImage(image, 0, &inside) && bound() == name);
  EXPECT_FALSE(tooLarge.getKeepBound());
}

TEST(omFBOWindow, WithoutFramebufferObjectsItShowsPicturesOnly)
{
  const char* const others = std::getenv("MESA_EXTENSION_OVERRIDE");
  setenv("MESA_EXTENSION_OVERRIDE", ((others ? others : "") + std::string(" -GL_EXT_framebuffer_object")).c_str(), 1);
  const PrintCapture capture(4);
  Window window;
  EXPECT_TRUE(window.getOffScreenRendering() && window.getHideWindow());
  window.setWindowSize(61, 47);
  EXPECT_FALSE(window.init());
  EXPECT_TRUE(window.isOpen());
  EXPECT_FALSE(window.setOffScreenRendering(true) || window.getOffScreenRendering());
  EXPECT_TRUE(window.getHideWindow() && window.setOffScreenRendering(false) && !window.getHideWindow());
  const OmImage picture = makePicture(3, 61, 47);
  EXPECT_TRUE(window.setImageBuffer(picture, true));
  EXPECT_EQ(capturedDifferences(window, picture), 0u);
  EXPECT_EQ(capture.messages(4), Messages());
}

TEST(omFBOWindow, AnotherInitTakesSizeAndParameters)
{
  Window window;
  ASSERT_TRUE(window.setImageBuffer(makePicture(3, 20, 15), false));
  OmTextureParameters parameters;
  parameters.setInternalFormat(OmTextureParameters::RGBA);
  window.setBufferParams(parameters);
  const OmImage larger = makePicture(3, 61, 47);
  ASSERT_TRUE(window.setImageBuffer(larger, false));
  EXPECT_EQ(window.target().textureParameters().internalFormat(), OmTextureParameters::RGB);
  EXPECT_EQ(window.target().width(), card == "padded" ? 32u : 20u);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(bound(), 0u);
  EXPECT_EQ(window.target().textureParameters().internalFormat(), OmTextureParameters::RGBA);
  EXPECT_EQ(capturedDifferences(window, larger), 0u);
}

// Windows 0 and 1 are opened, initialised again, closed and destroyed, each time while the other one may be current.
TEST(omFBOWindow, TwoWindowsKeepTheirPicturesInAnyOrder)
{
  const OmImage pictures[] = {makePicture(3, 61, 47, 1), makePicture(3, 40, 30, 2)};
  const std::string script = "o0o1i0c0o0i1d1o1c1d0o1o0d1";
  for (const bool sharing : {false, true})
  {
    std::unique_ptr<Window> windows[2];
    GLuint name = 0;
    GLuint texture = 0;
    for (std::size_t step = 0; step < script.size(); step += 2)
    {
      std::unique_ptr<Window>& window = windows[script[step + 1] - '0'];
      const Window* const other = windows['1' - script[step + 1]].get();
      switch (script[step])
      {
      case 'o':
        if (!window)
          window = std::make_unique<Window>();
        if (sharing)
          window->share(other);
        EXPECT_TRUE(window->setImageBuffer(pictures[window == windows[1]], false));
        break;
      case 'i':
        EXPECT_TRUE(window->init());
        break;
      case 'c':
        window->makeCurrent();
        name = bound();
        texture = window->target().id();
        window->closeWindow();
        if (sharing && other)
          other->makeCurrent();
        EXPECT_FALSE(sharing && other && (glIsFramebufferEXT(name) || glIsTexture(texture)));
        break;
      default:
        window.reset();
      }
      for (const int which : {0, 1, 0})
      {
        const bool isOpen = windows[which] && windows[which]->isOpen();
        EXPECT_TRUE(!isOpen || capturedDifferences(*windows[which], pictures[which]) == 0) << sharing << " " << step;
      }
    }
  }
}
