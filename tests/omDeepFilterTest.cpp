// Filters over images of 16 bits, on cards that keep them and on others.

#include "render/omImageFilter.h"

#include "image/omDeepImage.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "tests/support/card.h"
#include "tests/support/pictures.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace
{

bool hasWords = true; ///< otherwise textures have 8 bits instead of 16

constexpr char Gain[] = "uniform sampler2D image; uniform float gain;\n"
                        "void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st) * gain; }";

class omDeepFilterTest : public testing::Test
{
protected:
  omDeepFilterTest()
  {
    m_window.setWindowSize(8, 8);
    m_window.setHideWindow(true);
    EXPECT_TRUE(m_window.init());
    m_support = OmGL::supportStatus;
  }
  ~omDeepFilterTest() override
  {
    OmGL::supportStatus = m_support;
    hasWords = true;
  }

  /// How many bytes of the result are not the picture's, after a gain and its inverse.
  static std::size_t lost(OmU32 channels, const OmString& gain, const OmString& inverse, bool floats)
  {
    OmImageFilter filter;
    const auto next = std::make_shared<OmImageFilter>();
    filter.setFloatsBetweenPasses(floats);
    EXPECT_TRUE(filter.loadShaderFromString(Gain, OmShader::Fragment) && filter.set("gain=" + gain));
    EXPECT_TRUE(next->loadShaderFromString(Gain, OmShader::Fragment) && next->set("gain=" + inverse));
    EXPECT_TRUE(filter.setNext(next));
    const OmDeepImage image(makePicture(2 * channels, 37, 21));
    OmDeepImage result;
    EXPECT_TRUE(filter.run(image, result));
    EXPECT_EQ(result.channels(), channels % 2 == 0 ? 4u : 3u);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < result.byteSize() / 2; ++i)
    {
      const std::size_t c = i % result.channels();
      const std::size_t from = c == 3 ? channels - 1 : channels < 3 ? 0 : c;
      wrong += result.data()[i] != image.data()[i / result.channels() * channels + from];
    }
    return wrong;
  }

  OmSimpleWindow m_window;
  OmU32 m_support = 0;
};

} // namespace

/// Takes the place of GL's function.
extern "C" void glGetTexLevelParameteriv(GLenum target, GLint level, GLenum name, GLint* value)
{
  static const auto next =
      reinterpret_cast<decltype(&glGetTexLevelParameteriv)>(dlsym(RTLD_NEXT, "glGetTexLevelParameteriv"));
  next(target, level, name, value);
  if (*value == 16 && !hasWords)
    *value = 8;
}

TEST_F(omDeepFilterTest, KeepsSixteenBits)
{
  for (const OmU32 channels : {1U, 2U, 3U, 4U})
  {
    EXPECT_EQ(lost(channels, "1", "1", false), 0u) << channels;
    EXPECT_EQ(lost(channels, "1", "1", true), 0u) << channels;
    EXPECT_EQ(lost(channels, "100", "0.01", true), 0u) << channels;
  }
  EXPECT_GT(lost(4, "0.01", "100", false), 1000u); // words between
  EXPECT_GT(lost(4, "2", "0.5", false), 500u);     // which end at 1
}

TEST_F(omDeepFilterTest, TakesFloatsForWordsOrRefuses)
{
  OmImageFilter filter;
  ASSERT_TRUE(filter.loadShaderFromString(Gain, OmShader::Fragment) && filter.set("gain=1"));
  EXPECT_TRUE(filter.takesDeepImages());

  OmGL::supportStatus &= ~OmU32{OmGL::SupportFloatTexture};
  EXPECT_TRUE(filter.takesDeepImages());
  EXPECT_EQ(lost(4, "1", "1", false), 0u);

  OmGL::supportStatus = m_support;
  hasWords = false;
  EXPECT_TRUE(filter.takesDeepImages());
  EXPECT_EQ(lost(3, "100", "0.01", false), 0u); // floats do not end at 1

  const PrintCapture capture;
  OmGL::supportStatus &= ~OmU32{OmGL::SupportFloatTexture};
  EXPECT_FALSE(filter.takesDeepImages());
  OmDeepImage result(1, 1, 1);
  EXPECT_FALSE(filter.run(OmDeepImage(4, 5, 5), result));
  EXPECT_EQ(result.width(), 1u);
  ASSERT_EQ(capture.messages(Om::Print::Error).size(), 1u);
  EXPECT_NE(capture.messages(Om::Print::Error)[0].second.find("textures of 16 bits or floats"), std::string::npos);
  OmImage narrow;
  EXPECT_TRUE(filter.run(OmImage(4, 5, 5), narrow));
}

TEST_F(omDeepFilterTest, TakesImagesOfEitherDepthInTurn)
{
  OmImageFilter filter;
  ASSERT_TRUE(filter.loadShaderFromString(Gain, OmShader::Fragment) && filter.set("gain=1"));
  const OmImage image = makePicture(4, 30, 20);
  const OmDeepImage deep(makePicture(8, 30, 20));
  for (int turn = 0; turn < 2; ++turn)
  {
    OmImage result;
    OmDeepImage deepResult;
    EXPECT_TRUE(filter.run(deep, deepResult) && filter.run(image, result));
    EXPECT_EQ(differences(deepResult.bytes(), deep.bytes()) + differences(result, image), 0u);
  }
  filter.setSize(10, 10);
  OmDeepImage small;
  EXPECT_TRUE(filter.run(deep, small) && small.width() == 10 && small.byteSize() == 800);
}
