#include "render/omTextureParameters.h"
#include "image/omImage.h"
#include "render/omGL.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

using Parameters = OmTextureParameters;

namespace
{

constexpr char NoFloat[] = "Requested float texture type, but lack hardware support for it.\n";
constexpr char NoInteger[] = "Requested internal integer texture type, but lack hardware support for it.\n";
constexpr OmU32 NVFloat = OmGL::SupportTextureRectangle | OmGL::SupportNVFloatBuffer;

} // namespace

TEST(omTextureParameters, StorageFormatsFallBackToWhatTheCardHas)
{
  struct Case
  {
    OmU32 card;
    OmU32 asked;
    OmU32 stored;
    bool isFloat;
    bool isInteger;
    OmU32 target;
    const char* message;
  };
  const OmU32 rectangle = GL_TEXTURE_RECTANGLE_ARB;
  const Case cases[] = {
      {OmGL::SupportFloatTexture, GL_RGB16F_ARB, GL_RGB16F_ARB, true, false, 0, nullptr},
      {OmGL::SupportFloatTexture | NVFloat, GL_RGBA32F_ARB, GL_RGBA32F_ARB, true, false, 0, nullptr},
      {NVFloat, GL_RGBA32F_ARB, GL_FLOAT_RGBA32_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_RGB32F_ARB, GL_FLOAT_RGB32_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_LUMINANCE32F_ARB, GL_FLOAT_R32_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_RGBA16F_ARB, GL_FLOAT_RGBA16_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_RGB16F_ARB, GL_FLOAT_RGB16_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_LUMINANCE16F_ARB, GL_FLOAT_R16_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_FLOAT_R32_NV, GL_FLOAT_R32_NV, true, false, rectangle, nullptr},
      {OmGL::SupportTextureRectangle, GL_RGB16F_ARB, GL_RGB, false, false, 0, NoFloat},
      {0, GL_RGB32F_ARB, GL_RGB, false, false, 0, NoFloat},
      {0, GL_LUMINANCE32F_ARB, GL_RGBA, false, false, 0, NoFloat},
      {0, GL_FLOAT_RGB32_NV, GL_RGBA, false, false, 0, NoFloat},
      {OmGL::SupportIntegerTexture, GL_LUMINANCE_ALPHA16I_EXT, GL_LUMINANCE_ALPHA16I_EXT, false, true, 0, nullptr},
      {0, GL_RGBA32UI_EXT, GL_RGBA, false, false, 0, NoInteger},
      {0, GL_RGB8I_EXT, GL_RGB, false, false, 0, NoInteger},
      {0, GL_LUMINANCE16UI_EXT, GL_LUMINANCE, false, false, 0, NoInteger},
      {0, GL_LUMINANCE_ALPHA16I_EXT, GL_LUMINANCE_ALPHA, false, false, 0, NoInteger},
      {0, GL_LUMINANCE8UI_EXT, GL_LUMINANCE8UI_EXT, false, false, 0, nullptr}, // of neither set: passed on
      {0, GL_LUMINANCE_ALPHA32F_ARB, GL_LUMINANCE_ALPHA32F_ARB, false, false, 0, nullptr},
  };
  for (const Case& c : cases)
  {
    OmGL::supportStatus = OmGL::SupportOpenGL | c.card;
    PrintCapture capture;
    Parameters parameters;
    parameters.setInternalFormat(Parameters::RGBA32F); // flags left by another format do not stay
    capture.clear();
    parameters = Parameters();
    parameters.setInternalFormat(static_cast<Parameters::PixelFormat>(c.asked));
    SCOPED_TRACE(testing::Message() << std::hex << c.asked << " on " << c.card);
    EXPECT_EQ(parameters.internalFormat(), c.stored);
    EXPECT_EQ(parameters.isFloatType(), c.isFloat);
    EXPECT_EQ(parameters.isIntegerType(), c.isInteger);
    EXPECT_EQ(parameters.requestedTextureType(), c.target);
    EXPECT_EQ(parameters.textureType(), c.target ? c.target : OmU32(GL_TEXTURE_2D));
    EXPECT_EQ(capture.messages(), c.message ? (Messages{{4, c.message}}) : Messages{});
  }
}

TEST(omTextureParameters, PixelFormatFollowsTheChannelCount)
{
  OmGL::supportStatus = OmGL::SupportOpenGL | OmGL::SupportIntegerTexture;
  const OmU32 formats[2][5] = {{GL_RGB, GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA},
                               {GL_RGB_INTEGER_EXT, GL_LUMINANCE_INTEGER_EXT, GL_LUMINANCE_ALPHA_INTEGER_EXT,
                                GL_RGB_INTEGER_EXT, GL_RGBA_INTEGER_EXT}};
  for (const bool integer : {false, true})
  {
    Parameters parameters;
    parameters.setInternalFormat(integer ? Parameters::RGB8UI : Parameters::NoFormat);
    for (unsigned int channels = 0; channels <= 4; ++channels)
    {
      parameters.setPixelFormat(channels);
      EXPECT_EQ(parameters.pixelFormat(), formats[integer][channels]) << channels;
    }
    PrintCapture capture;
    parameters.setPixelFormat(5u);
    EXPECT_EQ(parameters.pixelFormat(), formats[integer][4]);
    EXPECT_EQ(capture.messages(), (Messages{{4, "Invalid argument to setPixelFormat\n"}}));
  }
}

TEST(omTextureParameters, ImagesGiveThePixelFormatAndRevalidateTheStorage)
{
  OmGL::supportStatus = OmGL::SupportOpenGL | OmGL::SupportIntegerTexture;
  const Parameters fromImage(OmImage(4, 2, 2));
  EXPECT_EQ(fromImage.pixelFormat(), Parameters::RGBA);
  EXPECT_EQ(fromImage.internalFormat(), Parameters::NoFormat);
  EXPECT_EQ(fromImage.dataFormat(), OmU32(GL_UNSIGNED_BYTE));

  Parameters integer;
  integer.setInternalFormat(Parameters::LuminanceAlpha16I);
  integer.getFormatFromImage(OmImage(2, 1, 1));
  EXPECT_EQ(integer.pixelFormat(), Parameters::LuminanceAlphaInteger);

  OmGL::supportStatus = OmGL::SupportOpenGL; // another card
  const PrintCapture capture;
  integer.getFormatFromImage(OmImage(2, 1, 1));
  EXPECT_EQ(integer.internalFormat(), Parameters::LuminanceAlpha);
  EXPECT_EQ(integer.pixelFormat(), Parameters::LuminanceAlpha);
}

TEST(omTextureParameters, EqualityLooksAtEverySetting)
{
  using Change = void (*)(Parameters&);
  const Change changes[] = {
      [](Parameters& p) { p.setPixelFormat(Parameters::RGB); },
      [](Parameters& p) { p.setInternalFormat(Parameters::RGB); },
      [](Parameters& p) { p.setApplyType(GL_REPLACE); },
      [](Parameters& p) { p.setWrapType(GL_CLAMP); },
      [](Parameters& p) { p.setMinFilterType(GL_NEAREST); },
      [](Parameters& p) { p.setMagFilterType(GL_NEAREST); },
      [](Parameters& p) { p.setTextureType(GL_TEXTURE_2D); }, // asked for now, if in effect before
  };
  for (const Change change : changes)
  {
    Parameters changed;
    change(changed);
    EXPECT_NE(changed, Parameters());
    const Parameters copy(changed);
    EXPECT_EQ(copy, changed);
  }
}
