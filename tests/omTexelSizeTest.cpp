#include "render/texture/omTexelSize.h"

#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "tests/support/guardedMemory.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

namespace
{

/// Parameters with a data type that the library never sets.
struct TypedParameters : OmTextureParameters
{
  TypedParameters(GLenum format, GLenum type)
  {
    setPixelFormat(static_cast<PixelFormat>(format));
    setInternalFormat(format == GL_DEPTH_COMPONENT || format == GL_DEPTH_STENCIL ? PixelFormat(format) : RGBA);
    m_dataFormat = type;
  }
};

} // namespace

// The driver reads from memory that ends where the caller's buffer does.
TEST(omTexelSizeTest, ABufferIsEnoughWhenItHoldsAllThatTheDriverReads)
{
  const struct
  {
    GLenum format, type;
    OmU32 bytes; // of a texel
  } cases[] = {
      {GL_RGB, GL_UNSIGNED_BYTE, 3},
      {GL_LUMINANCE_ALPHA, GL_SHORT, 4},
      {GL_RG, GL_HALF_FLOAT, 4},
      {GL_BGR, GL_INT, 12},
      {GL_BGRA, GL_FLOAT, 16},
      {GL_RGB, GL_UNSIGNED_BYTE_3_3_2, 1},
      {GL_RGB, GL_UNSIGNED_SHORT_5_6_5_REV, 2},
      {GL_RGBA, GL_UNSIGNED_INT_8_8_8_8_REV, 4},
      {GL_RGB, GL_UNSIGNED_INT_10F_11F_11F_REV, 4},
      {GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8, 4},
      {GL_DEPTH_STENCIL, GL_FLOAT_32_UNSIGNED_INT_24_8_REV, 8},
  };
  constexpr OmU32 Width = 37; // rows of odd lengths
  constexpr OmU32 Height = 23;
  OmSimpleWindow window;
  window.setWindowSize(8, 8);
  window.setHideWindow(true);
  ASSERT_TRUE(window.init());
  for (const auto& c : cases)
  {
    SCOPED_TRACE(testing::Message() << std::hex << c.format << " " << c.type);
    EXPECT_EQ(omTexelSize(c.format, c.type), c.bytes);
    OmTexture texture;
    ASSERT_TRUE(texture.loadShell(Width, Height, TypedParameters(c.format, c.type)));
    const OmU32 size = Width * Height * c.bytes;
    const MemoryWithEnd<OmU8> pixels(size);
    PrintCapture capture(4);
    EXPECT_FALSE(texture.load(pixels.begin(), size - 1));
    EXPECT_EQ(capture.messages().size(), 1u);
    capture.clear();
    EXPECT_TRUE(texture.load(pixels.begin(), size));
    EXPECT_EQ(capture.messages(), Messages());
    EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__));
  }
  for (const auto& [format, type] : {std::pair(GL_RGB, GL_BITMAP), {GL_COLOR_INDEX, GL_UNSIGNED_BYTE}})
  {
    const MemoryWithEnd<OmU8> pixels(1);
    OmTexture texture;
    texture.loadShell(8, 8, TypedParameters(GLenum(format), GLenum(type)));
    const PrintCapture capture(4);
    EXPECT_FALSE(texture.load(pixels.begin(), 0xffffffff));
    EXPECT_EQ(capture.messages().size(), 1u);
  }

  OmTexture converted; // from bytes, whatever the type
  converted.setPerformFloatConversion(true);
  ASSERT_TRUE(converted.loadShell(7, 5, TypedParameters(GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4)));
  const MemoryWithEnd<OmU8> bytes(140);
  const PrintCapture capture(4);
  EXPECT_FALSE(converted.load(bytes.begin(), 139));
  EXPECT_EQ(capture.messages().size(), 1u);
  EXPECT_TRUE(converted.load(bytes.begin(), 140));
}
