#include "render/omSimpleWindow.h"

#include "image/omImageBlock.h"
#include "render/omGL.h"
#include "render/omShader.h"
#include "render/omTexture.h"
#include "support/capture.h"
#include "support/card.h"
#include "support/printCapture.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <X11/Xlib.h> // after the test framework, whose names its macros would replace

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <unistd.h>

// Real pixels; the build runs these tests on four cards (OM_TEST_CARD).
namespace
{

OmImage cut(const OmImage& image, OmU32 x, OmU32 y, OmU32 width, OmU32 height)
{
  OmImage result(image.channels(), width, height);
  for (std::size_t row = 0; row < height; ++row)
    std::copy_n(image.data() + ((y + row) * image.width() + x) * image.channels(), width * image.channels(),
                result.data() + row * width * image.channels());
  return result;
}

boost::shared_ptr<OmTexture> makeTexture(const OmImage& image)
{
  auto texture = boost::make_shared<OmTexture>();
  EXPECT_TRUE(texture->loadFromImage(image, OmTextureParameters()));
  return texture;
}

} // namespace

TEST(omSimpleWindowTest, TheCardIsWhatTheTestWants)
{
  const PrintCapture capture;
  EXPECT_EQ(OmGL::isSupported(OmGL::SupportNPOT), card == "full");
  EXPECT_EQ(OmGL::isSupported(OmGL::SupportTextureRectangle), card == "full" || card == "rectangle");
}

TEST(omSimpleWindowTest, PicturesComeBackByteForByte)
{
  OmSimpleWindow window;
  // One window for all: sizes change and stay, colours follow grey in storage of the same size, power-of-two sizes
  // follow others.
  const OmU32 shapes[][3] = {{3, 61, 47}, {1, 61, 47}, {3, 61, 47}, {4, 61, 47}, {2, 61, 47}, {3, 64, 32},
                             {1, 64, 32}, {3, 1, 1},   {3, 2, 5},   {3, 64, 32}, {3, 61, 47}, {4, 641, 479}};
  OmU32 seed = 1;
  for (const auto& [channels, width, height] : shapes)
  {
    const OmImage picture = makePicture(channels, width, height, ++seed);
    ASSERT_TRUE(window.setImageBuffer(picture, true));
    EXPECT_EQ(differences(captured(window), asRGB(picture)), 0u) << channels << " " << width << "x" << height;
    OmImage flipped = picture;
    flipped.copyFromOrToFlipped(false);
    ASSERT_TRUE(window.setImageBuffer(flipped, true));
    EXPECT_EQ(differences(captured(window), asRGB(picture)), 0u) << "flipped";
  }
  window.closeWindow();
  EXPECT_TRUE(window.renderScene(true)); // opens again, with nothing to show
  const OmImage black = captured(window);
  EXPECT_EQ(differences(black, OmImage(3, 641, 479)), 0u);
}

TEST(omSimpleWindowTest, TexturesOfAllKindsAreDrawnOneAfterAnother)
{
  OmSimpleWindow window;
  const OmImage odd = makePicture(3, 61, 47, 1);
  const OmImage even = makePicture(3, 64, 64, 2);
  ASSERT_TRUE(window.setImageBuffer(odd, false));
  const auto oddTexture = makeTexture(odd);
  const auto evenTexture = makeTexture(even);
  for (int round = 0; round < 2; ++round)
  {
    ASSERT_TRUE(window.setImageBuffer(oddTexture, true));
    EXPECT_EQ(window.getWindow(), &window);
    // A padded texture is as large as its storage; the picture fills the window whatever its size.
    window.setWindowSize(61, 47);
    EXPECT_EQ(differences(captured(window), odd), 0u);
    oddTexture->bind(); // leaves what binding leaves
    ASSERT_TRUE(window.setImageBuffer(evenTexture, true));
    EXPECT_EQ(differences(captured(window), even), 0u);
  }
  EXPECT_FALSE(window.setImageBuffer(boost::shared_ptr<OmTexture>(), true));
  EXPECT_FALSE(window.setImageBuffer(boost::make_shared<OmTexture>(), true));
}

TEST(omSimpleWindowTest, AShaderThatIgnoresTheTextureMatrixShowsTheSame)
{
  OmSimpleWindow window;
  const OmImage odd = makePicture(3, 61, 47, 1);
  ASSERT_TRUE(window.setImageBuffer(odd, false));
  ASSERT_TRUE(OmGL::isSupported(OmGL::SupportShaders));
  const bool rectangle = makeTexture(odd)->textureType() == GL_TEXTURE_RECTANGLE_ARB;
  const char* sources[] = {
      "void main() { gl_Position = ftransform(); gl_TexCoord[0] = gl_MultiTexCoord0; }",
      rectangle ? "#extension GL_ARB_texture_rectangle : enable\n"
                  "uniform sampler2DRect s; void main() { gl_FragColor = texture2DRect(s, gl_TexCoord[0].st); }"
                : "uniform sampler2D s; void main() { gl_FragColor = texture2D(s, gl_TexCoord[0].st); }"};
  OmShader shader;
  ASSERT_TRUE(shader.loadShaderFromString(sources[0], OmShader::Vertex));
  ASSERT_TRUE(shader.loadShaderFromString(sources[1], OmShader::Fragment));
  ASSERT_TRUE(shader.attach(true));
  EXPECT_EQ(differences(captured(window), odd), 0u);
}

TEST(omSimpleWindowTest, BlocksAreCutToTheWindow)
{
  OmSimpleWindow window;
  const OmImage picture = makePicture(3, 100, 80);
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  const OmU32 huge = 0xffffffffu;
  const struct
  {
    OmU32 x, y, width, height;
    OmU32 readWidth, readHeight; // 0: nothing
  } cases[] = {{5, 7, 10, 20, 10, 20},         {0, 0, 100, 80, 100, 80}, {95, 7, 10, 20, 5, 20}, {5, 75, 10, 20, 10, 5},
               {99, 79, huge, huge, 1, 1},     {5, 7, huge, 20, 95, 20}, {100, 7, 10, 20, 0, 0}, {5, 80, 10, 20, 0, 0},
               {huge, huge, huge, huge, 0, 0}, {5, 7, 0, 20, 0, 0}};
  for (const auto& c : cases)
  {
    SCOPED_TRACE(testing::Message() << c.x << "," << c.y << " " << c.width << "x" << c.height);
    const OmImageBlock block(OmPixel(c.x, c.y), c.width, c.height);
    OmImage image = makePicture(3, 4, 4);
    const OmImage before = image;
    EXPECT_EQ(window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, &block), c.readWidth != 0);
    if (c.readWidth == 0)
    {
      EXPECT_EQ(differences(image, before), 0u);
      EXPECT_FALSE(image.isFlipped());
      continue;
    }
    image.copyFromOrToFlipped(true);
    EXPECT_EQ(differences(image, cut(picture, c.x, c.y, c.readWidth, c.readHeight)), 0u);
  }
}

TEST(omSimpleWindowTest, CapturesMakeTheImageFit)
{
  OmSimpleWindow window;
  const OmImage picture = makePicture(3, 10, 6);
  OmImage upsideDown = picture;
  for (OmU32 y = 0; y < 6; ++y)
    std::copy_n(picture.data() + (5 - y) * 30, 30, upsideDown.data() + y * 30);
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  for (const OmU32 flags : {OmU32(0), OmU32(OmSimpleWindow::CaptureFlipped)})
    for (OmU32 channels = 0; channels <= 6; ++channels)
      for (const OmU32 width : {0u, 10u, 300u}) // without pixels, of the size, of another
      {
        OmImage image(channels, width, 6);
        if (flags && width == 300)
          image.copyFromOrToFlipped(false); // a flipped copy that does not fit
        const OmU8* const before = image.data();
        ASSERT_TRUE(window.renderSceneAndCaptureImage(image, flags, nullptr));
        SCOPED_TRACE(testing::Message() << flags << " " << channels << " " << width);
        EXPECT_EQ(image.channels(), channels == 4 ? 4u : 3u);
        const bool fits = width == 10 && (channels == 3 || channels == 4);
        EXPECT_TRUE(!fits || image.data() == before); // without another allocation
        OmImage rows(image.channels(), 10, 6);
        ASSERT_EQ(flags ? image.flippedByteSize() : image.byteSize(), rows.byteSize());
        std::copy_n(flags ? image.flippedData() : image.data(), rows.byteSize(), rows.data());
        EXPECT_EQ(differences(asRGB(rows), upsideDown), 0u);
      }
}

TEST(omSimpleWindowTest, AnotherInitPutsTheStateRight)
{
  OmSimpleWindow window;
  const OmImage picture = makePicture(3, 61, 47);
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  glDepthFunc(GL_NEVER);
  glBlendFunc(GL_ZERO, GL_ZERO);
  glAlphaFunc(GL_NEVER, 0.0f);
  glFogi(GL_FOG_MODE, GL_LINEAR); // black from a distance of 1 on
  constexpr GLenum Spoiling[] = {GL_DEPTH_TEST, GL_BLEND, GL_ALPHA_TEST, GL_FOG, GL_LIGHTING};
  for (const GLenum capability : Spoiling)
  {
    glEnable(capability);
    EXPECT_NE(differences(captured(window), picture), 0u) << capability;
    EXPECT_TRUE(window.init());
    EXPECT_EQ(differences(captured(window), picture), 0u) << capability;
  }
}

TEST(omSimpleWindowTest, WithoutADisplayOrADriverNothingIsSupportedAndNothingCrashes)
{
  if (OmWindow::getImplType() == OmWindow::ImplEGL)
    GTEST_SKIP() << "EGL windows need no display";
  const char* const causes[][3] = {{"DISPLAY", ":2147483", "X11::openWindow - Cannot open display.\n"},
                                   {"LIBGL_DRIVERS_PATH", "/", "X11::openWindow - Failed to create OpenGL context.\n"}};
  const char* const named = std::getenv("DISPLAY");
  ASSERT_TRUE(named);
  const std::string display = named;
  for (const auto& [variable, value, line] : causes)
  {
    setenv("DISPLAY", display.c_str(), 1);
    setenv(variable, value, 1);
    OmGL::supportStatus = 0;
    PrintCapture capture(2);
    EXPECT_TRUE(OmGL::isSupported(OmGL::SupportOpenGL));
    const Messages expected = {{4, line}, {4, "OmWindow::Impl::openWindow Failed\n"}};
    EXPECT_EQ(capture.messages(), expected);
    EXPECT_FALSE(OmGL::isSupported(OmGL::SupportFBO));
    EXPECT_EQ(capture.messages(), expected); // asked only once
    OmImage image(3, 1, 1);
    OmSimpleWindow window;
    EXPECT_FALSE(window.setImageBuffer(image, true) || window.renderSceneAndCaptureImage(image, 0, nullptr) ||
                 OmSimpleWindow::displayImage(image, 0.001, "none", 0, 0));
  }
}

TEST(omSimpleWindowTest, DisplayImageShowsAWindowAtThePosition)
{
  if (OmWindow::getImplType() == OmWindow::ImplEGL)
    GTEST_SKIP() << "EGL windows are on no screen";
  const OmImage image = makePicture(3, 4, 5);
  for (const double seconds : {0.0, -1.0, std::nan("")})
    EXPECT_FALSE(OmSimpleWindow::displayImage(image, seconds, "never", 0, 0));
  EXPECT_EQ(OmGL::supportStatus, 0u); // no window was made

  Display* const display = XOpenDisplay(nullptr);
  XSelectInput(display, RootWindow(display, ScreenCount(display) - 1), SubstructureNotifyMask);
  XSync(display, False);
  const OmU32 x = 13 + static_cast<OmU32>(getpid()) % 1000; // other tests may show theirs at the same time
  EXPECT_TRUE(OmSimpleWindow::displayImage(image, 0.05, "shown", x, 29));
  int windows = 0;
  for (XEvent event; XCheckTypedEvent(display, CreateNotify, &event);)
  {
    const XCreateWindowEvent& made = event.xcreatewindow;
    windows += made.x == static_cast<int>(x) && made.y == 29 && made.width == 4 && made.height == 5;
  }
  EXPECT_EQ(windows, 1);
  XCloseDisplay(display);
}

TEST(omSimpleWindowTest, TheViewportFollowsEveryResize)
{
  OmSimpleWindow window;
  ASSERT_TRUE(window.setImageBuffer(makePicture(3, 20, 15), true));
  const OmImage larger = makePicture(3, 40, 30);
  EXPECT_TRUE(window.setWindowSizeAndPos(40, 30, 5, 5));
  ASSERT_TRUE(window.setImageBuffer(larger, true));
  EXPECT_EQ(differences(captured(window), larger), 0u);
  OmSimpleWindow other;
  ASSERT_TRUE(other.setImageBuffer(makePicture(3, 20, 15), true));
  window.setWindowSize(40, 30); // no change, while the other one is current
  EXPECT_EQ(differences(captured(other), makePicture(3, 20, 15)), 0u);
}

// Two pictures drawn in one go, each on the target that the card gives it.
TEST(omSimpleWindowTest, TwoTexturesModulateEachOther)
{
  OmSimpleWindow window;
  const OmImage odd = makePicture(3, 61, 47, 1);
  ASSERT_TRUE(window.setImageBuffer(odd, true));
  const auto oddTexture = makeTexture(odd);
  OmImage flat(3, 64, 64);
  std::fill_n(flat.data(), flat.byteSize(), OmU8(255));
  const auto flatTexture = makeTexture(flat);
  const auto draw = [&](const OmTexture& a, const OmTexture& b)
  {
    window.clear();
    window.setGLOrtho();
    EXPECT_TRUE(a.drawMultiTextureScreenAlignedQuad(b, 0.0f, 0.0f, 1.0f, 1.0f));
    return readPixels(61, 47);
  };
  EXPECT_EQ(differences(draw(*oddTexture, *flatTexture), odd), 0u);
  oddTexture->setUnit(0);
  flatTexture->setUnit(0);
  EXPECT_EQ(differences(draw(*flatTexture, *oddTexture), odd), 0u);
  glActiveTextureARB(GL_TEXTURE1_ARB); // and a single picture afterwards, on one unit
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_TEXTURE_RECTANGLE_ARB);
  glActiveTextureARB(GL_TEXTURE0_ARB);
  oddTexture->setUnit(0);
  ASSERT_TRUE(window.setImageBuffer(odd, true));
  EXPECT_EQ(differences(captured(window), odd), 0u);
}
