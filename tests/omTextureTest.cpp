#include "render/omTexture.h"

#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "support/allocations.h"
#include "support/glDouble.h"
#include "support/pictures.h"
#include "support/printCapture.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>

using GLDouble::call;
using Calls = std::vector<std::string>;

namespace
{

constexpr OmU32 FullCard = OmGL::SupportOpenGL | OmGL::SupportNPOT | OmGL::SupportTextureRectangle;
constexpr OmU32 RectangleCard = OmGL::SupportOpenGL | OmGL::SupportTextureRectangle;
constexpr OmU32 PaddedCard = OmGL::SupportOpenGL;

/// A back end without a native window.
class FakeImpl : public OmWindow::Impl
{
public:
  FakeImpl() { m_shareGroup = boost::make_shared<int>(0); }
  void shareGroupOf(const FakeImpl& other) { m_shareGroup = other.m_shareGroup; }
  void setName(const OmString&) override {}
  void setWindowSize(OmU32, OmU32) override {}
  void setWindowPos(OmU32, OmU32) override {}
  void setWindowSizeAndPos(OmU32, OmU32, OmU32, OmU32) override {}
  void setTopMost(OmBoolean) override {}
  void setHideWindow(OmBoolean) override {}
  void setFullScreen(OmBoolean) override {}
  void makeCurrent() const override {}
  void swapBuffers() const override { GLDouble::record("swap", ""); }
  OmBoolean init(OmWindow* window) override
  {
    m_pWindow = window;
    return true;
  }
  OmBoolean openWindow() override { return true; }
  void closeWindow() override { m_pWindow = nullptr; }
};

class FakeWindow : public OmSimpleWindow
{
public:
  FakeWindow() { setImpl(boost::make_shared<FakeImpl>()); }
  ~FakeWindow() override { OmWindow::closeWindow(); }
};

Calls applied(OmU32 target, GLint filter)
{
  return {call("glTexEnvi", GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE),
          call("glTexParameteri", target, GL_TEXTURE_WRAP_S, GL_REPEAT),
          call("glTexParameteri", target, GL_TEXTURE_WRAP_T, GL_REPEAT),
          call("glTexParameteri", target, GL_TEXTURE_MIN_FILTER, filter),
          call("glTexParameteri", target, GL_TEXTURE_MAG_FILTER, filter),
          call("glPixelStorei", GL_UNPACK_ALIGNMENT, 1)};
}

Calls bound(OmU32 target, OmU32 unit, OmU32 name)
{
  return {call("glEnable", target), call("glActiveTextureARB", GL_TEXTURE0_ARB + unit),
          call("glBindTexture", target, name)};
}

Calls scaled(float s, float t)
{
  return {call("glGetIntegerv", GL_MATRIX_MODE), call("glMatrixMode", GL_TEXTURE), call("glLoadIdentity", ""),
          call("glScalef", s, t, 1.0f), call("glMatrixMode", GL_MODELVIEW)};
}

Calls drawn(float s0, float t0, float s1, float t1)
{
  return {call("glColor3f", 1, 1, 1),
          call("glBegin", GL_QUADS),
          call("glTexCoord2f", s0, t0),
          call("glVertex2f", 0, 0),
          call("glTexCoord2f", s1, t0),
          call("glVertex2f", 1, 0),
          call("glTexCoord2f", s1, t1),
          call("glVertex2f", 1, 1),
          call("glTexCoord2f", s0, t1),
          call("glVertex2f", 0, 1),
          call("glEnd", "")};
}

Calls operator+(Calls a, const Calls& b)
{
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class omTexture : public ::testing::Test
{
protected:
  omTexture() { OmGL::supportStatus = FullCard; }

  PrintCapture m_capture{1};
  FakeWindow m_window;
  OmTextureParameters m_default;
};

} // namespace

TEST_F(omTexture, StorageFollowsTheCardAndTheRequest)
{
  struct Case
  {
    OmU32 card;
    OmU32 requested;
    OmU32 internalFormat;
    OmU32 width, height;
    OmU32 storageWidth, storageHeight, target;
    float s1, t1;
    bool ownSize;
  };
  const OmU32 rectangle = GL_TEXTURE_RECTANGLE_ARB;
  const OmU32 flat = GL_TEXTURE_2D;
  const Case cases[] = {
      {FullCard, 0, 0, 640, 480, 640, 480, flat, 1.0f, 1.0f, true},
      {FullCard, rectangle, 0, 640, 480, 640, 480, rectangle, 640.0f, 480.0f, true},
      {FullCard, rectangle, 0, 256, 256, 256, 256, rectangle, 256.0f, 256.0f, true},
      {RectangleCard, 0, 0, 640, 480, 640, 480, rectangle, 640.0f, 480.0f, true},
      {RectangleCard, flat, 0, 640, 480, 1024, 512, flat, 0.625f, 0.9375f, false},
      {PaddedCard, 0, 0, 640, 480, 1024, 512, flat, 0.625f, 0.9375f, false},
      {PaddedCard, 0, 0, 256, 64, 256, 64, flat, 1.0f, 1.0f, true},
      {PaddedCard | OmGL::SupportFloatTexture, 0, GL_RGB32F_ARB, 256, 256, 256, 256, flat, 1.0f, 1.0f, true},
      {FullCard | OmGL::SupportNVFloatBuffer, 0, GL_RGB32F_ARB, 256, 256, 256, 256, rectangle, 256.0f, 256.0f, true},
      {PaddedCard, rectangle, 0, 640, 480, 1024, 512, rectangle, 0.625f, 0.9375f, false},
  };
  for (const Case& c : cases)
  {
    OmGL::supportStatus = c.card;
    OmTextureParameters parameters;
    if (c.requested)
      parameters.setTextureType(c.requested);
    if (c.internalFormat)
      parameters.setInternalFormat(static_cast<OmTextureParameters::PixelFormat>(c.internalFormat));
    ::OmTexture texture;
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

TEST_F(omTexture, UploadsReplaceTexelsInPlaceOnlyWhereTheStorageIsTheSame)
{
  m_window.makeCurrent();
  ::OmTexture texture;
  const auto upload = [&](OmU32 channels, OmU32 width, OmU32 height)
  {
    GLDouble::take();
    EXPECT_TRUE(texture.loadFromImage(makePicture(channels, width, height), m_default));
    return GLDouble::take();
  };
  const Calls head = bound(GL_TEXTURE_2D, 0, 1) + applied(GL_TEXTURE_2D, GL_NEAREST);
  const auto fresh = [](OmU32 format, OmU32 width, OmU32 height) {
    return Calls{call("glTexImage2D", GL_TEXTURE_2D, 0, format, width, height, 0, format, GL_UNSIGNED_BYTE, "pixels")};
  };
  const auto inPlace = [](OmU32 format, OmU32 width, OmU32 height)
  { return Calls{call("glTexSubImage2D", GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, "pixels")}; };
  EXPECT_EQ(upload(3, 5, 3), Calls{call("glGenTextures", 1)} + head + fresh(GL_RGB, 5, 3));
  EXPECT_EQ(upload(3, 5, 3), head + inPlace(GL_RGB, 5, 3));
  EXPECT_EQ(m_capture.messages(), (Messages{{1, "Creating texture ID 1\n"}, {2, "Reusing texture.\n"}}));
  EXPECT_EQ(upload(1, 5, 3), head + fresh(GL_LUMINANCE, 5, 3)); // grey storage cannot hold colours, nor the reverse
  EXPECT_EQ(upload(3, 5, 3), head + fresh(GL_RGB, 5, 3));
  EXPECT_EQ(upload(3, 5, 4), head + fresh(GL_RGB, 5, 4));
  texture.calculatePOT(9, 9); // a size that the name has no storage of
  EXPECT_EQ(upload(3, 9, 9), head + fresh(GL_RGB, 9, 9));

  texture.release();
  GLDouble::nextName = 1;
  EXPECT_EQ(upload(3, 9, 9), Calls{call("glGenTextures", 1)} + head + fresh(GL_RGB, 9, 9)); // a new name is empty

  GLDouble::take();
  EXPECT_TRUE(texture.loadShell(9, 9, m_default));
  EXPECT_EQ(texture.orientation(), OmImage::BottomRowFirst);
  EXPECT_EQ(GLDouble::take().back(),
            call("glTexImage2D", GL_TEXTURE_2D, 0, GL_RGB, 9, 9, 0, GL_RGB, GL_UNSIGNED_BYTE, "null"));
  EXPECT_EQ(texture.textureParameters().minFilterType(), OmU32(GL_LINEAR)); // a shell keeps the filters as they are
}

TEST_F(omTexture, AnotherTargetTakesAnotherName)
{
  OmGL::supportStatus = RectangleCard;
  m_window.makeCurrent();
  ::OmTexture texture;
  EXPECT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  EXPECT_EQ(texture.textureType(), OmU32(GL_TEXTURE_RECTANGLE_ARB));
  GLDouble::take();
  EXPECT_TRUE(texture.loadFromImage(makePicture(3, 4, 4), m_default));
  EXPECT_EQ(texture.id(), 2u);
  const Calls calls = GLDouble::take();
  EXPECT_EQ(calls[1], call("glDeleteTextures", 1, 1));
  EXPECT_EQ(calls.back(), call("glTexImage2D", GL_TEXTURE_2D, 0, GL_RGB, 4, 4, 0, GL_RGB, GL_UNSIGNED_BYTE, "pixels"));
}

TEST_F(omTexture, PaddedStorageHoldsTheImageInItsFirstRowsAndColumns)
{
  OmGL::supportStatus = PaddedCard;
  for (OmU32 channels = 1; channels <= 4; ++channels)
  {
    OmImage image = makePicture(channels, 5, 3);
    ::OmTexture texture;
    EXPECT_TRUE(texture.loadFromImage(image, m_default));
    std::vector<GLubyte> expected(8 * 4 * channels);
    for (OmU32 row = 0; row < 3; ++row)
      std::copy_n(image.data() + row * 5 * channels, 5 * channels, &expected[row * 8 * channels]);
    EXPECT_EQ(GLDouble::uploadedBytes, expected);
  }
}

TEST_F(omTexture, FlippedCopiesAndFilesKeepTheirRowOrder)
{
  const std::string file =
      (std::filesystem::temp_directory_path() / ("omTextureTest" + std::to_string(::getpid()) + ".png")).string();
  OmImage image = makePicture(3, 4, 4);
  ASSERT_TRUE(OmImageReaderWriter::write(image, file));
  ::OmTexture texture;
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
  const ::OmTexture before(texture);
  EXPECT_FALSE(texture.loadFromFile(file, m_default, OmImage::TopRowFirst));
  EXPECT_EQ(m_capture.messages().back(), (PrintCapture::Message{4, "Can't read file (" + file + ")\n"}));
  EXPECT_EQ(texture, before);
}

TEST_F(omTexture, FloatConversionUploadsTheBytesValues)
{
  ::OmTexture texture;
  texture.setPerformFloatConversion(true);
  OmImage image(1, 3, 1);
  image.data()[1] = 128;
  image.data()[2] = 255;
  for (int i = 0; i < 2; ++i) // never in place
  {
    GLDouble::take();
    EXPECT_TRUE(texture.loadFromImage(image, m_default));
    EXPECT_EQ(GLDouble::take().back(),
              call("glTexImage2D", GL_TEXTURE_2D, 0, GL_LUMINANCE, 3, 1, 0, GL_LUMINANCE, GL_FLOAT, "pixels"));
    EXPECT_EQ(GLDouble::uploadedFloats, (std::vector<float>{0.0f, 128.0f, 255.0f}));
  }
}

TEST_F(omTexture, NothingIsReadPastACallersBuffer)
{
  ::OmTexture texture;
  const std::vector<OmU8> bytes(64);
  GLDouble::take();
  EXPECT_FALSE(texture.load(bytes.data(), 64)); // no name yet
  EXPECT_FALSE(texture.bind());
  EXPECT_FALSE(texture.drawScreenAlignedQuad(0, 0, 1, 1));
  EXPECT_TRUE(GLDouble::take().empty());

  ASSERT_TRUE(texture.loadShell(4, 4, m_default));
  for (const bool floats : {false, true})
  {
    texture.setPerformFloatConversion(floats);
    m_capture.clear();
    EXPECT_FALSE(texture.load(bytes.data(), 47));
    ASSERT_EQ(m_capture.messages(4).size(), 1u);
    EXPECT_TRUE(texture.load(bytes.data(), 48));
    EXPECT_TRUE(texture.load(nullptr, 48));
  }
}

TEST_F(omTexture, CopiesShareTheName)
{
  m_window.makeCurrent();
  ::OmTexture a;
  ASSERT_TRUE(a.loadFromImage(makePicture(3, 5, 3), m_default));
  a.setUnit(3);
  ::OmTexture b;
  b.setUnit(2);
  b = a;
  EXPECT_EQ(b, a);
  EXPECT_EQ(b.unit(), 2u);
  EXPECT_EQ(::OmTexture(a).unit(), 0u);
  EXPECT_TRUE(a.release());
  EXPECT_FALSE(a.release());
  m_capture.clear();
  GLDouble::take();
  EXPECT_TRUE(b.release());
  EXPECT_EQ(GLDouble::take(), (Calls{call("glIsTexture", 1)}));
  EXPECT_TRUE(m_capture.messages().empty());
}

TEST_F(omTexture, NamesAreDeletedOnlyWhereTheyLive)
{
  FakeWindow other;
  FakeWindow partner;
  boost::dynamic_pointer_cast<FakeImpl>(partner.getImpl())
      ->shareGroupOf(*boost::dynamic_pointer_cast<FakeImpl>(m_window.getImpl()));
  const auto releaseWith = [&](const OmWindow* current)
  {
    m_window.makeCurrent();
    ::OmTexture texture;
    EXPECT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
    OmWindow::m_pCurrentWindow = const_cast<OmWindow*>(current);
    m_capture.clear();
    EXPECT_TRUE(texture.release());
    EXPECT_EQ(texture.id(), 0u);
    return m_capture.messages();
  };
  EXPECT_EQ(releaseWith(&m_window).front().second, "Deleting texture ID 1\n");
  EXPECT_EQ(releaseWith(&partner).front().second, "Deleting texture ID 2\n");
  EXPECT_TRUE(releaseWith(&other).empty());
  EXPECT_EQ(releaseWith(nullptr), (Messages{{2, "Releasing texture with no context.\n"}}));

  // Nor is a name of another group filled: it may be somebody else's texture here.
  m_window.makeCurrent();
  ::OmTexture texture;
  EXPECT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  const OmU32 name = texture.id();
  other.makeCurrent();
  GLDouble::take();
  m_capture.clear();
  EXPECT_FALSE(texture.load(nullptr, 0));
  EXPECT_TRUE(GLDouble::take().empty());
  EXPECT_EQ(m_capture.messages(4).size(), 1u);
  EXPECT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  EXPECT_NE(texture.id(), name);
}

TEST_F(omTexture, BindingAndDrawing)
{
  ::OmTexture texture;
  ASSERT_TRUE(texture.loadFromImage(makePicture(3, 5, 3), m_default));
  texture.setUnit(2);
  GLDouble::take();
  EXPECT_TRUE(texture.drawScreenAlignedQuad(0, 0, 1, 1));
  EXPECT_EQ(GLDouble::take(), bound(GL_TEXTURE_2D, 2, 1) + drawn(0, 1, 1, 0));
  EXPECT_TRUE(texture.unbind());
  EXPECT_EQ(GLDouble::take(), (Calls{call("glBindTexture", GL_TEXTURE_2D, 0)}));

  texture.setUnit(0);
  ::OmTexture other;
  EXPECT_FALSE(texture.drawMultiTextureScreenAlignedQuad(other, 0, 0, 1, 1));
  EXPECT_TRUE(GLDouble::take().empty());
  other.setUnit(0);
  ASSERT_TRUE(other.loadShell(4, 4, m_default));
  GLDouble::take();
  EXPECT_TRUE(texture.drawMultiTextureScreenAlignedQuad(other, 0, 0, 1, 1));
  EXPECT_EQ(other.unit(), 1u);
  Calls expected = bound(GL_TEXTURE_2D, 1, 2) + bound(GL_TEXTURE_2D, 0, 1) + Calls{call("glBegin", GL_QUADS)};
  const float corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  for (const auto& [x, y] : corners)
    expected = expected + Calls{call("glMultiTexCoord2fARB", GL_TEXTURE1_ARB, x, y),
                                call("glMultiTexCoord2fARB", GL_TEXTURE0_ARB, x, 1 - y), call("glVertex2f", x, y)};
  EXPECT_EQ(GLDouble::take(), expected + Calls{call("glEnd", "")});
}

TEST_F(omTexture, PaddingAndRectanglesLeaveNothingThatLaterDrawingsSuffer)
{
  ::OmTexture unpadded;
  ASSERT_TRUE(unpadded.loadFromImage(makePicture(3, 4, 4), m_default));
  OmGL::supportStatus = PaddedCard;
  ::OmTexture padded;
  ASSERT_TRUE(padded.loadFromImage(makePicture(3, 5, 3), m_default));
  GLDouble::take();
  EXPECT_TRUE(padded.bind());
  EXPECT_EQ(GLDouble::take(), bound(GL_TEXTURE_2D, 0, 2) + scaled(0.625f, 0.75f));

  const Calls identity = {call("glGetIntegerv", GL_MATRIX_MODE), call("glMatrixMode", GL_TEXTURE),
                          call("glLoadIdentity", ""), call("glMatrixMode", GL_MODELVIEW)};
  EXPECT_TRUE(padded.drawScreenAlignedQuad(0, 0, 1, 1));
  EXPECT_EQ(GLDouble::take(),
            bound(GL_TEXTURE_2D, 0, 2) + scaled(0.625f, 0.75f) + identity + drawn(0, 0.75f, 0.625f, 0));
  EXPECT_TRUE(unpadded.drawScreenAlignedQuad(0, 0, 1, 1));
  EXPECT_EQ(GLDouble::take(), bound(GL_TEXTURE_2D, 0, 1) + identity + drawn(0, 1, 1, 0));

  OmGL::supportStatus = RectangleCard;
  ::OmTexture rectangle;
  ASSERT_TRUE(rectangle.loadFromImage(makePicture(3, 5, 3), m_default));
  GLDouble::take();
  EXPECT_TRUE(unpadded.drawScreenAlignedQuad(0, 0, 1, 1));
  EXPECT_EQ(GLDouble::take(), bound(GL_TEXTURE_2D, 0, 1) + identity +
                                  Calls{call("glDisable", GL_TEXTURE_RECTANGLE_ARB)} + drawn(0, 1, 1, 0));
}

TEST_F(omTexture, AFrameOfTheSameSizeMakesTheFewestCallsAndAllocatesNothing)
{
  Om::Print::instance().setPrintLevel(4);
  ASSERT_TRUE(m_window.init());
  const OmImage image = makePicture(3, 64, 48);
  ASSERT_TRUE(m_window.setImageBuffer(image, true));
  GLDouble::take();
  ASSERT_TRUE(m_window.setImageBuffer(image, true));
  const Calls expected =
      bound(GL_TEXTURE_2D, 0, 1) + applied(GL_TEXTURE_2D, GL_NEAREST) +
      Calls{call("glTexSubImage2D", GL_TEXTURE_2D, 0, 0, 0, 64, 48, GL_RGB, GL_UNSIGNED_BYTE, "pixels"),
            call("glClear", GL_COLOR_BUFFER_BIT),
            call("glMatrixMode", GL_PROJECTION),
            call("glLoadIdentity", ""),
            call("glOrtho", 0, 1, 0, 1, -1, 1),
            call("glMatrixMode", GL_MODELVIEW),
            call("glLoadIdentity", ""),
            call("glTranslatef", 0, 0, -1)} +
      bound(GL_TEXTURE_2D, 0, 1) + drawn(0, 1, 1, 0) + Calls{call("swap", "")};
  EXPECT_EQ(GLDouble::take(), expected);

  GLDouble::recording = false;
  const std::size_t callsBefore = GLDouble::callCount;
  const std::size_t allocationsBefore = allocationCount();
  for (int frame = 0; frame < 100; ++frame)
    m_window.setImageBuffer(image, true);
  EXPECT_EQ(allocationCount() - allocationsBefore, 0u);
  EXPECT_EQ(GLDouble::callCount - callsBefore, 100 * expected.size());
}
