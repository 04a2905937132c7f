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

TEST(omTextureParametersTest, StorageFormatsFallBackToWhatTheCardHas)
{
  const OmU32 rectangle = GL_TEXTURE_RECTANGLE_ARB;
  const struct
  {
    OmU32 card, asked, stored;
    bool isFloat, isInteger;
    OmU32 target;
    const char* message;
  } cases[] = {
      {OmGL::SupportFloatTexture, GL_RGB16F_ARB, GL_RGB16F_ARB, true, false, 0, nullptr},
      {OmGL::SupportFloatTexture | NVFloat, GL_RGBA32F_ARB, GL_RGBA32F_ARB, true, false, 0, nullptr},
      {NVFloat, GL_RGBA32F_ARB, GL_FLOAT_RGBA32_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_LUMINANCE32F_ARB, GL_FLOAT_R32_NV, true, false, rectangle, nullptr},
      {NVFloat, GL_RGB16F_ARB, GL_FLOAT_RGB16_NV, true, false, rectangle, nullptr},
      {0, GL_RGB32F_ARB, GL_RGB, false, false, 0, NoFloat},
      {0, GL_LUMINANCE32F_ARB, GL_RGBA, false, false, 0, NoFloat},
      {0, GL_FLOAT_RGB32_NV, GL_RGBA, false, false, 0, NoFloat},
      {OmGL::SupportIntegerTexture, GL_LUMINANCE_ALPHA16I_EXT, GL_LUMINANCE_ALPHA16I_EXT, false, true, 0, nullptr},
      {0, GL_RGBA32UI_EXT, GL_RGBA, false, false, 0, NoInteger},
      {0, GL_LUMINANCE_ALPHA16I_EXT, GL_LUMINANCE_ALPHA, false, false, 0, NoInteger},
      {0, GL_LUMINANCE8UI_EXT, GL_LUMINANCE8UI_EXT, false, false, 0, nullptr}, // of neither set: passed on
  };
  for (const auto& c : cases)
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

TEST(omTextureParametersTest, ImagesGiveThePixelFormatAndRevalidateTheStorage)
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
