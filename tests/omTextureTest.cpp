#include "render/omTexture.h"

#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "render/window/omGLNames.h"
#include "support/allocations.h"
#include "support/glDouble.h"
#include "support/pictures.h"
#include "support/printCapture.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>

using Calls = std::vector<std::string>;

namespace
{

constexpr OmU32 FullCard = OmGL::SupportOpenGL | OmGL::SupportNPOT | OmGL::SupportTextureRectangle;
constexpr OmU32 RectangleCard = OmGL::SupportOpenGL | OmGL::SupportTextureRectangle;
constexpr OmU32 PaddedCard = OmGL::SupportOpenGL;

/// A back end that detects nothing. Its swaps are recorded among the GL calls.
struct TextureImpl : RecordingImpl
{
  TextureImpl()
  {
    m_groupNames = boost::make_shared<OmShareGroup::Names>();
    m_contextNames = boost::make_shared<OmShareGroup::Names>();
  }
  void makeCurrent() const override {}
  void swapBuffers() const override { GLDouble::record("swap", ""); }
  OmBoolean init(OmWindow* window) override { return (m_pWindow = window) != nullptr; }
};

struct Window : OmSimpleWindow
{
  Window() { setImpl(boost::make_shared<TextureImpl>()); }
  ~Window() override { OmWindow::closeWindow(); }
};

class omTextureTest : public ::testing::Test
{
protected:
  omTextureTest() { OmGL::supportStatus = FullCard; }

  PrintCapture m_capture{1};
  Window m_window;
  OmTextureParameters m_default;
};

} // namespace

TEST_F(omTextureTest, StorageFollowsTheCardAndTheRequest)
{
  const OmU32 rectangle = GL_TEXTURE_RECTANGLE_ARB;
  const OmU32 flat = GL_TEXTURE_2D;
  const struct
  {
    OmU32 card, requested, internalFormat;
    OmU32 width, height;
    OmU32 storageWidth, storageHeight, target;
    float s1, t1;
    bool ownSize;
  } cases[] = {
      {FullCard, 0, 0, 640, 480, 640, 480, flat, 1.0f, 1.0f, true},
      {FullCard, rectangle, 0, 640, 480, 640, 480, rectangle, 640.0f, 480.0f, true},
      {RectangleCard, 0, 0, 640, 480, 640, 480, rectangle, 640.0f, 480.0f, true},
      {RectangleCard, flat, 0, 640, 480, 1024, 512, flat, 0.625f, 0.9375f, false},
      {PaddedCard, 0, 0, 640, 480, 1024, 512, flat, 0.625f, 0.9375f, false},
      {PaddedCard, 0, 0, 256, 64, 256, 64, flat, 1.0f, 1.0f, true},
      {PaddedCard | OmGL::SupportFloatTexture, 0, GL_RGB32F_ARB, 256, 256, 256, 256, flat, 1.0f, 1.0f, true},
      {FullCard | OmGL::SupportNVFloatBuffer, 0, GL_RGB32F_ARB, 256, 256, 256, 256, rectangle, 256.0f, 256.0f, true},
      {PaddedCard, rectangle, 0, 640, 480, 1024, 512, rectangle, 0.625f, 0.9375f, false},
  };
  for (const auto& c : cases)
  {
    OmGL::supportStatus = c.card;
    OmTextureParameters parameters;
    if (c.requested)
      parameters.setTextureType(c.requested);
    if (c.internalFormat)
      parameters.setInternalFormat(static_cast<OmTextureParameters::PixelFormat>(c.internalFormat));
    OmTexture texture;
    texture.setTextureParameters(parameters);
    SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " on " << c.card << " as " << c.requested);
    EXPECT_EQ(texture.calculatePOT(c.width, c.height), c.ownSize);
    EXPECT_EQ(texture.width(), c.storageWidth);
    EXPECT_EQ(texture.height(), c.storageHeight);
    EXPECT_EQ(texture.textureType(), c.target);
    float tc[4];
    texture.textureCoords(tc); // top row first: upside down
    EXPECT_EQ(Calls({call("", tc[0], tc[1], tc[2], tc[3])}), Calls({call("", 0.0f, c.t1, c.s1, 0.0f)}));
    texture.setOrientation(OmImage::BottomRowFirst);
    texture.textureCoords(tc);
    EXPECT_EQ(Calls({call("", tc[0], tc[1], tc[2], tc[3])}), Calls({call("", 0.0f, 0.0f, c.s1, c.t1)}));
  }
}

TEST_F(omTextureTest, UploadsReplaceTexelsInPlaceOnlyWhereTheStorageIsTheSame)
{
  m_window.makeCurrent();
  OmTexture texture;
  const auto upload = [&](OmU32 channels, OmU32 width, OmU32 height)
  {
    GLDouble::take();
    EXPECT_TRUE(texture.loadFromImage(makePicture(channels, width, height), m_default));
    return GLDouble::take();
  };
  const auto fresh = [](OmU32 format, OmU32 width, OmU32 height)
  { return call("glTexImage2D", GL_TEXTURE_2D, 0, format, width, height, 0, format, GL_UNSIGNED_BYTE, "pixels"); };
  EXPECT_EQ(upload(3, 5, 3).back(), fresh(GL_RGB, 5, 3));
  EXPECT_EQ(upload(3, 5, 3).back(),
            call("glTexSubImage2D", GL_TEXTURE_2D, 0, 0, 0, 5, 3, GL_RGB, GL_UNSIGNED_BYTE, "pixels"));
  EXPECT_EQ(m_capture.messages(), (Messages{{1, "Creating texture ID 1\n"}, {2, "Reusing texture.\n"}}));
  EXPECT_EQ(upload(1, 5, 3).back(), fresh(GL_LUMINANCE, 5, 3)); // grey storage cannot hold colours, nor the reverse
  EXPECT_EQ(upload(3, 5, 4).back(), fresh(GL_RGB, 5, 4));
  texture.calculatePOT(9, 9); // a size that the name has no storage of
  EXPECT_EQ(upload(3, 9, 9).back(), fresh(GL_RGB, 9, 9));
  m_capture.clear();
  texture.release();
  EXPECT_EQ(m_capture.messages(), (Messages{{1, "Deleting texture ID 1\n"}}));
  EXPECT_EQ(upload(3, 9, 9).back(), fresh(GL_RGB, 9, 9)); // a new name is empty

  EXPECT_TRUE(texture.loadShell(9, 9, m_default));
  EXPECT_EQ(texture.orientation(), OmImage::BottomRowFirst);
  EXPECT_EQ(GLDouble::take().back(),
            call("glTexImage2D", GL_TEXTURE_2D, 0, GL_RGB, 9, 9, 0, GL_RGB, GL_UNSIGNED_BYTE, "null"));
  EXPECT_EQ(texture.textureParameters().minFilterType(), OmU32(GL_LINEAR)); // a shell keeps the filters as they are
  m_window.closeWindow();
  m_capture.clear();
  EXPECT_TRUE(texture.release());
  EXPECT_EQ(m_capture.messages(), (Messages{{2, "Releasing texture with no context.\n"}}));
}

TEST_F(omTextureTest, FlippedCopiesAndFilesKeepTheirRowOrder)
{
  const std::string file =
      (std::filesystem::temp_directory_path() / ("omTextureTest" + std::to_string(::getpid()) + ".png")).string();
  OmImage image = makePicture(3, 4, 4);
  ASSERT_TRUE(OmImageReaderWriter::write(image, file));
  OmTexture texture;
  for (const auto orientation : {OmImage::TopRowFirst, OmImage::BottomRowFirst})
  {
    EXPECT_TRUE(texture.loadFromFile(file, m_default, orientation));
    EXPECT_EQ(texture.orientation(), orientation);
    if (orientation == OmImage::BottomRowFirst)
      image.copyFromOrToFlipped(false);
    const OmU8* rows = orientation == OmImage::BottomRowFirst ? image.flippedData() : image.data();
    EXPECT_EQ(GLDouble::uploadedBytes, std::vector<GLubyte>(rows, rows + image.byteSize()));
  }
  std::filesystem::remove(file);
  m_capture.clear();
  const OmTexture before(texture);
  EXPECT_FALSE(texture.loadFromFile(file, m_default, OmImage::TopRowFirst));
  EXPECT_EQ(m_capture.messages().back(), (PrintCapture::Message{4, "Can't read file (" + file + ")\n"}));
  EXPECT_EQ(texture, before);
}

TEST_F(omTextureTest, FloatConversionUploadsTheBytesValues)
{
  OmTexture texture;
  texture.setPerformFloatConversion(true);
  OmImage image(1, 3, 1);
  image.data()[1] = 128;
  image.data()[2] = 255;
  EXPECT_TRUE(texture.loadFromImage(image, m_default));
  GLDouble::take();
  EXPECT_TRUE(texture.loadFromImage(image, m_default)); // never in place
  EXPECT_EQ(GLDouble::take().back(),
            call("glTexImage2D", GL_TEXTURE_2D, 0, GL_LUMINANCE, 3, 1, 0, GL_LUMINANCE, GL_FLOAT, "pixels"));
  EXPECT_EQ(GLDouble::uploadedFloats, (std::vector<float>{0.0f, 128.0f, 255.0f}));
}

TEST_F(omTextureTest, CopiesShareTheName)
{
  m_window.makeCurrent();
  OmTexture a;
  ASSERT_TRUE(a.loadFromImage(makePicture(3, 5, 3), m_default));
  a.setUnit(3);
  OmTexture b;
  b.setUnit(2);
  b = a;
  EXPECT_EQ(b, a);
  EXPECT_TRUE(b.unit() == 2 && OmTexture(a).unit() == 0);
  EXPECT_TRUE(a.release() && !a.release() && b.release());

  // A copy knows what target its name has; another target takes another name.
  ASSERT_TRUE(a.loadFromImage(makePicture(3, 5, 3), m_default));
  OmTexture c = a;
  OmGL::supportStatus = RectangleCard;
  GLDouble::take();
  EXPECT_TRUE(c.loadFromImage(makePicture(3, 5, 3), m_default));
  EXPECT_EQ(c.textureType(), OmU32(GL_TEXTURE_RECTANGLE_ARB));
  EXPECT_NE(c.id(), a.id());
  EXPECT_EQ(GLDouble::take()[1], call("glDeleteTextures", 1, a.id()));
}

TEST_F(omTextureTest, WhatCannotBeDrawnMakesNoCall)
{
  OmTexture texture, other;
  const OmU8 byte = 0;
  GLDouble::take();
  EXPECT_FALSE(texture.load(&byte, 1) || texture.bind() || texture.drawScreenAlignedQuad(0, 0, 1, 1)); // no name yet
  ASSERT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  GLDouble::take();
  EXPECT_FALSE(texture.drawMultiTextureScreenAlignedQuad(other, 0, 0, 1, 1));
  EXPECT_TRUE(GLDouble::take().empty());
}

TEST_F(omTextureTest, BindingAPaddedTextureScalesTheCallersCoordinates)
{
  OmGL::supportStatus = PaddedCard;
  OmTexture texture;
  ASSERT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  GLDouble::take();
  EXPECT_TRUE(texture.bind());
  const Calls calls = GLDouble::take();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), call("glScalef", 0.625f, 0.75f, 1.0f)), 1);
  EXPECT_EQ(calls.back(), call("glMatrixMode", GL_MODELVIEW));
}

TEST_F(omTextureTest, AFrameOfTheSameSizeMakesTheFewestCallsAndAllocatesNothing)
{
  Om::Print::instance().setPrintLevel(4);
  ASSERT_TRUE(m_window.init());
  const OmImage image = makePicture(3, 64, 48);
  ASSERT_TRUE(m_window.setImageBuffer(image, true));
  GLDouble::recording = false;
  const std::size_t callsBefore = GLDouble::callCount;
  const std::size_t allocationsBefore = allocationCount();
  for (int frame = 0; frame < 100; ++frame)
    m_window.setImageBuffer(image, true);
  EXPECT_EQ(allocationCount() - allocationsBefore, 0u);
  EXPECT_EQ(GLDouble::callCount - callsBefore, 100 * 32u);
}
