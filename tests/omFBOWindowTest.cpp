#include "render/omFBOWindow.h"

#include "image/omImageBlock.h"
#include "render/omGL.h"
#include "support/capture.h"
#include "support/card.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <GL/glx.h> // after the test framework, whose names Xlib's macros would replace

#include <cstdlib>

namespace
{

struct OpenWindow : OmFBOWindow
{
  explicit OpenWindow(bool offScreen = true) { setOffScreenRendering(offScreen); }
  const OmTexture& target() const { return m_offScreenTexture; }
  GLuint shown() const { return m_pTexture->id(); }
  bool isOpen() const { return m_initialized; }
  void dropTexture() { m_pTexture.reset(); }
};

GLuint bound()
{
  GLint name = -1;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &name);
  return static_cast<GLuint>(name);
}

bool isOnScreen()
{
  XWindowAttributes now = {};
  return XGetWindowAttributes(glXGetCurrentDisplay(), glXGetCurrentDrawable(), &now) && now.map_state != IsUnmapped;
}

} // namespace

TEST(omFBOWindowTest, CapturesAreThePicture)
{
  const OmU32 sizes[][2] = {{1, 1}, {61, 47}, {64, 64}, {1921, 1203}}; // the last is larger than the screen
  OmU32 seed = 0;
  for (const auto& [width, height] : sizes)
  {
    OpenWindow window;
    for (const bool keep : {false, true, false})
    {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " " << keep);
      const OmImage picture = makePicture(3, width, height, ++seed);
      window.setKeepBound(keep);
      ASSERT_TRUE(window.setImageBuffer(picture, false));
      EXPECT_EQ(bound() != 0, keep);
      EXPECT_EQ(differences(captured(window), picture), 0u);
      EXPECT_EQ(bound() != 0, keep);
    }
  }
  EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__) || card == "rectangle"); // which refuses GL_REPEAT
}

TEST(omFBOWindowTest, WindowsOpenAgainAsTheyWere)
{
  OpenWindow other; // whose names are the same numbers
  const OmImage pictures[] = {makePicture(3, 40, 30, 1), makePicture(3, 40, 30, 2), makePicture(3, 61, 47, 3)};
  ASSERT_TRUE(other.setImageBuffer(pictures[2], false));
  for (const bool offScreen : {true, false})
    for (const bool sharing : {false, true})
    {
      OpenWindow window(offScreen);
      for (const OmImage* picture : {&pictures[0], &pictures[1]})
      {
        window.share(sharing ? &other : nullptr);
        ASSERT_TRUE(window.setImageBuffer(*picture, false));
        EXPECT_TRUE(OmWindow::getImplType() == OmWindow::ImplEGL || isOnScreen() == !offScreen);
        EXPECT_EQ(window.getHideWindow(), offScreen);
        EXPECT_EQ(differences(captured(other), pictures[2]), 0u);
        EXPECT_EQ(differences(captured(window), *picture), 0u);
        const GLuint names[] = {window.target().id(), window.shown()};
        other.makeCurrent();
        window.closeWindow();
        EXPECT_EQ(differences(captured(other), pictures[2]), 0u);
        EXPECT_FALSE(sharing && (glIsTexture(names[0]) || glIsTexture(names[1])));
      }
    }
}

TEST(omFBOWindowTest, WhichFramebufferIsBound)
{
  OpenWindow window;
  window.setWindowSize(61, 47);
  window.setKeepBound(true);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(bound(), 0u);
  window.makeCurrent();
  const GLuint name = bound();
  EXPECT_TRUE(name != 0);
  const OmImageBlock inside(OmPixel(1, 2), 3, 4);
  OmImage image;
  for (const bool keep : {true, false})
  {
    SCOPED_TRACE(keep);
    window.setKeepBound(keep);
    EXPECT_TRUE((window.makeCurrent(), bound() == name));
    EXPECT_TRUE(window.renderScene(false) && bound() == (keep ? name : 0));
    EXPECT_TRUE((window.clear(), bound() == name));
    EXPECT_TRUE(window.renderSceneAndCaptureImage(image, 0, &inside) && bound() == (keep ? name : 0));
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
  EXPECT_TRUE(!window.renderSceneAndCaptureImage(image, 0, &inside) && bound() == name);
}

TEST(omFBOWindowTest, WithoutFramebufferObjectsItShowsPicturesOnly)
{
  const char* const others = std::getenv("MESA_EXTENSION_OVERRIDE");
  setenv("MESA_EXTENSION_OVERRIDE", ((others ? others : "") + std::string(" -GL_EXT_framebuffer_object")).c_str(), 1);
  const PrintCapture capture(4);
  OpenWindow window;
  EXPECT_TRUE(window.getOffScreenRendering() && window.getHideWindow());
  window.setWindowSize(61, 47);
  EXPECT_FALSE(window.init());
  EXPECT_TRUE(window.isOpen());
  EXPECT_FALSE(window.setOffScreenRendering(true) || window.getOffScreenRendering());
  EXPECT_TRUE(window.getHideWindow() && window.setOffScreenRendering(false) && !window.getHideWindow());
  const OmImage picture = makePicture(3, 61, 47);
  EXPECT_TRUE(window.setImageBuffer(picture, true));
  EXPECT_EQ(differences(captured(window), picture), 0u);
  EXPECT_EQ(capture.messages(4), Messages());
}

TEST(omFBOWindowTest, AnotherInitTakesSizeAndParameters)
{
  OpenWindow window;
  ASSERT_TRUE(window.setImageBuffer(makePicture(3, 20, 15), false));
  OmTextureParameters parameters;
  parameters.setInternalFormat(OmTextureParameters::RGBA);
  window.setBufferParams(parameters);
  const OmImage larger = makePicture(3, 61, 47);
  const PrintCapture capture(4);
  ASSERT_TRUE(window.setImageBuffer(larger, false) && window.renderScene(false));
  EXPECT_EQ(capture.messages(),
            (Messages{{5, "OmFBOWindow: The window is 61 by 47 pixels, and its off-screen buffer 20 "
                          "by 15; call init() first.\n"}}));
  EXPECT_EQ(window.target().textureParameters().internalFormat(), OmTextureParameters::RGB);
  EXPECT_EQ(window.target().width(), card == "padded" ? 32u : 20u);
  ASSERT_TRUE(window.init());
  EXPECT_EQ(bound(), 0u);
  EXPECT_EQ(window.target().textureParameters().internalFormat(), OmTextureParameters::RGBA);
  EXPECT_EQ(differences(captured(window), larger), 0u);
}

TEST(omFBOWindowTest, WithoutABufferNothingIsDrawn)
{
  OpenWindow window;
  const OmImage picture = makePicture(3, 20, 15);
  OmImage image = picture;
  const PrintCapture::Message noBuffer = {
      4, "OmFBOWindow::renderScene - There is no off-screen buffer: init() has failed.\n"};
  for (const auto& [width, height] : {std::pair(0u, 0u), {40000u, 1u}}) // 40000 is more than any card draws
  {
    PrintCapture capture(4);
    ASSERT_TRUE(window.setImageBuffer(picture, false) && capture.messages().empty());
    window.setWindowSize(width, height);
    EXPECT_FALSE(window.init());
    capture.clear();
    EXPECT_FALSE(window.renderScene(true) || window.renderSceneAndCaptureImage(image, 0, nullptr));
    EXPECT_EQ(capture.messages(), Messages(2, noBuffer));
    EXPECT_EQ(differences(image, picture), 0u);
    capture.clear();
    window.setWindowSize(20, 15);
    ASSERT_TRUE(window.init() && window.setImageBuffer(picture, false));
    EXPECT_EQ(differences(captured(window), picture), 0u);
    EXPECT_EQ(capture.messages(), Messages());
  }
}
