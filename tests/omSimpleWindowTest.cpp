#include "render/omSimpleWindow.h"

#include "image/omImageBlock.h"
#include "render/omGL.h"
#include "render/omShader.h"
#include "render/omTexture.h"
#include "support/card.h"
#include "support/pictures.h"
#include "support/printCapture.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <thread>

// Real pixels; the build runs these tests on four cards (OM_TEST_CARD).
namespace
{

/// What the window shows, top row first.
OmImage captured(OmWindow& window)
{
  OmImage image;
  EXPECT_TRUE(window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, nullptr));
  image.copyFromOrToFlipped(true);
  return image;
}

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

TEST(omSimpleWindow, TheCardIsWhatTheTestWants)
{
  const PrintCapture capture;
  EXPECT_EQ(OmGL::isSupported(OmGL::SupportNPOT), card == "full");
  EXPECT_EQ(OmGL::isSupported(OmGL::SupportTextureRectangle), card == "full" || card == "rectangle");
}

TEST(omSimpleWindow, PicturesComeBackByteForByte)
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

TEST(omSimpleWindow, TexturesOfAllKindsAreDrawnOneAfterAnother)
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

TEST(omSimpleWindow, AShaderThatIgnoresTheTextureMatrixShowsTheSame)
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
  const GLhandleARB program = glCreateProgramObjectARB();
  for (const int stage : {0, 1})
  {
    const GLhandleARB shader = glCreateShaderObjectARB(stage == 0 ? GL_VERTEX_SHADER_ARB : GL_FRAGMENT_SHADER_ARB);
    glShaderSourceARB(shader, 1, &sources[stage], nullptr);
    glCompileShaderARB(shader);
    glAttachObjectARB(program, shader);
  }
  glLinkProgramARB(program);
  glUseProgramObjectARB(program);
  EXPECT_EQ(differences(captured(window), odd), 0u);
}

TEST(omSimpleWindow, BlocksAreCutToTheWindow)
{
  OmSimpleWindow window;
  const OmImage picture = makePicture(3, 100, 80);
  ASSERT_TRUE(window.setImageBuffer(picture, true));
  struct Case
  {
    OmU32 x, y, width, height;
    OmU32 readWidth, readHeight; // 0: nothing
  };
  const OmU32 huge = 0xffffffffu;
  const Case cases[] = {{5, 7, 10, 20, 10, 20}, {0, 0, 100, 80, 100, 80},   {95, 7, 10, 20, 5, 20},
                        {5, 75, 10, 20, 10, 5}, {99, 79, huge, huge, 1, 1}, {5, 7, huge, 20, 95, 20},
                        {100, 7, 10, 20, 0, 0}, {5, 80, 10, 20, 0, 0},      {huge, huge, huge, huge, 0, 0},
                        {5, 7, 0, 20, 0, 0}};
  for (const Case& c : cases)
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

TEST(omSimpleWindow, CapturesMakeTheImageFit)
{
  OmSimpleWindow window;
  const OmImage picture = makePicture(3, 10, 6);
  OmImage upsideDown = picture;
  upsideDown.copyFromOrToFlipped(false);
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
        EXPECT_TRUE(!fits || image.data() == before); // used as it is
        OmImage rows(image.channels(), 10, 6);
        const OmU8* const read = flags ? image.flippedData() : image.data();
        ASSERT_EQ(flags ? image.flippedByteSize() : image.byteSize(), rows.byteSize());
        std::copy_n(read, rows.byteSize(), rows.data());
        OmImage expected(3, 10, 6);
        std::copy_n(upsideDown.flippedData(), expected.byteSize(), expected.data());
        EXPECT_EQ(differences(asRGB(rows), expected), 0u);
      }
}

TEST(omSimpleWindow, WindowsOfDifferentGroupsKeepTheirPictures)
{
  const OmImage first = makePicture(3, 61, 47, 1);
  const OmImage second = makePicture(3, 61, 47, 2);
  OmSimpleWindow window;
  {
    OmSimpleWindow other;
    ASSERT_TRUE(other.setImageBuffer(first, true));
    ASSERT_TRUE(window.setImageBuffer(second, true)); // in a name space of its own, with the same numbers
  }                                                   // destroyed while `window` is current
  window.makeCurrent();
  EXPECT_EQ(differences(captured(window), second), 0u);
  EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__) || card == "rectangle"); // where GL_REPEAT is an error
}

TEST(omSimpleWindow, PartnersShareTexturesAndCloseInAnyOrder)
{
  const OmImage picture = makePicture(3, 64, 64);
  for (const bool firstGoesFirst : {true, false})
  {
    OmSimpleWindow first;
    OmSimpleWindow second;
    ASSERT_TRUE(first.setImageBuffer(picture, true));
    const auto texture = makeTexture(picture);
    ASSERT_TRUE(second.share(&first));
    ASSERT_TRUE(second.init());
    EXPECT_EQ(second.getShareWindow(), &first);
    ASSERT_TRUE(second.setImageBuffer(texture, true));
    EXPECT_EQ(differences(captured(second), picture), 0u);
    OmSimpleWindow& left = firstGoesFirst ? second : first;
    (firstGoesFirst ? first : second).closeWindow();
    ASSERT_TRUE(left.setImageBuffer(texture, true));
    EXPECT_EQ(differences(captured(left), picture), 0u);
    left.closeWindow();
  }
}

TEST(omSimpleWindow, CapabilitiesAreDetectedOnDemand)
{
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportOpenGL));
  EXPECT_NE(OmGL::supportStatus, OmU32(OmGL::SupportOpenGL));
  EXPECT_EQ(OmWindow::getWindow(), nullptr);
}

TEST(omSimpleWindow, WithoutADisplayNothingIsSupportedAndNothingCrashes)
{
  setenv("DISPLAY", ":2147483", 1);
  PrintCapture capture(2);
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportOpenGL));
  const Messages expected = {{4, "X11::openWindow - Cannot open display.\n"},
                             {4, "OmWindow::Impl::openWindow Failed\n"}};
  EXPECT_EQ(capture.messages(), expected);
  EXPECT_FALSE(OmGL::isSupported(OmGL::SupportFBO));
  EXPECT_EQ(capture.messages(), expected); // asked only once
  capture.clear();

  OmSimpleWindow window;
  EXPECT_FALSE(window.setImageBuffer(OmImage(3, 4, 4), true));
  EXPECT_EQ(capture.messages(), expected);
  OmImage image(3, 1, 1);
  EXPECT_FALSE(window.renderSceneAndCaptureImage(image, 0, nullptr));
  EXPECT_EQ(image.width(), 1u);
  EXPECT_FALSE(OmSimpleWindow::displayImage(image, 0.001, "none", 0, 0));
}

TEST(omSimpleWindow, DisplayImageTakesItsTime)
{
  const OmImage image = makePicture(3, 4, 4);
  for (const double seconds : {0.0, -1.0, std::nan("")})
    EXPECT_FALSE(OmSimpleWindow::displayImage(image, seconds, "never", 0, 0));
  EXPECT_EQ(OmGL::supportStatus, 0u); // no window was made
  EXPECT_TRUE(OmSimpleWindow::displayImage(image, 0.05, "shown", 10, 20));
}

TEST(omSimpleWindow, TheViewportFollowsEveryResize)
{
  OmSimpleWindow window;
  ASSERT_TRUE(window.setImageBuffer(makePicture(3, 20, 15), true));
  const OmImage larger = makePicture(3, 40, 30);
  EXPECT_TRUE(window.setWindowSizeAndPos(40, 30, 5, 5));
  ASSERT_TRUE(window.setImageBuffer(larger, true));
  EXPECT_EQ(differences(captured(window), larger), 0u);
}

// Two pictures drawn in one go, each on whatever target the card gives it.
TEST(omSimpleWindow, TwoTexturesModulateEachOther)
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
    OmImage image(3, 61, 47);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, 61, 47, GL_RGB, GL_UNSIGNED_BYTE, image.data());
    OmImage upright(3, 61, 47);
    for (std::size_t row = 0; row < 47; ++row)
      std::copy_n(image.data() + (46 - row) * 183, 183, upright.data() + row * 183);
    return upright;
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

TEST(omSimpleWindow, LoadingOnAThreadWithoutAContextSaysSo)
{
  OmSimpleWindow window;
  ASSERT_TRUE(window.setImageBuffer(makePicture(3, 8, 8, 1), true));
  const bool shaders = OmGL::isSupported(OmGL::SupportShaders);
  const PrintCapture capture;
  std::thread(
      [shaders]
      {
        OmTexture texture;
        EXPECT_FALSE(texture.loadFromImage(makePicture(3, 8, 8, 2), OmTextureParameters()));
        OmShader shader;
        EXPECT_FALSE(shaders && shader.loadShaderFromString("void main() {}", OmShader::Fragment));
      })
      .join();
  const Messages messages = capture.messages(4);
  ASSERT_EQ(messages.size(), shaders ? 2u : 1u);
  for (const auto& message : messages)
    EXPECT_NE(message.second.find("context is current on this thread"), std::string::npos) << message.second;
}
