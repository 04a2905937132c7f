#include "render/omFrameBufferObject.h"

#include "render/omGL.h"
#include "render/omTexture.h"
#include "support/capture.h"
#include "support/card.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

namespace
{

constexpr OmU32 Width = 61;
constexpr OmU32 Height = 47;

struct Texture : OmTexture
{
  using OmTexture::operator=;
  explicit Texture(OmU32 internalFormat, OmU32 pixelFormat = GL_RGBA, OmU32 target = 0)
  {
    OmTextureParameters parameters;
    parameters.setInternalFormat(static_cast<OmTextureParameters::PixelFormat>(internalFormat));
    parameters.setPixelFormat(static_cast<OmTextureParameters::PixelFormat>(pixelFormat));
    parameters.setWrapType(GL_CLAMP_TO_EDGE);
    if (target)
      parameters.setTextureType(target);
    EXPECT_TRUE(loadShell(Width, Height, parameters));
  }
};

/// A hidden window whose context draws into such textures.
struct Context : OmSimpleWindow
{
  Context()
  {
    setHideWindow(true);
    setWindowSize(Width, Height);
    EXPECT_TRUE(init());
    setGLOrtho();
  }
};

GLint integer(GLenum name)
{
  GLint value = -1;
  glGetIntegerv(name, &value);
  return value;
}

void draw(const OmImage& picture, float z = 0.0f)
{
  OmTexture texture;
  EXPECT_TRUE(texture.loadFromImage(picture, OmTextureParameters()));
  glLoadIdentity();
  glTranslatef(0.0f, 0.0f, z);
  EXPECT_TRUE(texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f));
}

bool shows(GLenum buffer, const OmImage& picture)
{
  glReadBuffer(buffer);
  return differences(readPixels(Width, Height), picture) == 0;
}

} // namespace

// The entry points are null here: a call through one would crash.
TEST(omFrameBufferObjectTest, RefusalsMakeNoGLCall)
{
  struct NamedTexture : OmTexture
  {
    using OmTexture::operator=;
    NamedTexture() { m_id = 3; }
  };
  const PrintCapture capture(4);
  const NamedTexture texture;
  OmFrameBufferObject fresh;
  OmGL::supportStatus = OmGL::SupportOpenGL;
  EXPECT_FALSE(fresh.init(texture, OmFrameBufferObject::Color, 0));
  OmGL::supportStatus |= OmGL::SupportFBO;
  EXPECT_FALSE(fresh.init(OmTexture(), OmFrameBufferObject::ColorAndDepth, 0));
  EXPECT_FALSE(fresh.attach(texture, 0) || fresh.detach(texture, 0) || fresh.isValid());
  fresh.bind();
  OmFrameBufferObject::unbind();
  EXPECT_EQ(capture.messages(),
            (Messages{{4, "No hardware support for FBO.\n"}, {4, "Bad texture passed to OmFBO::init\n"}}));
}

TEST(omFrameBufferObjectTest, EveryKindOfTextureKeepsWhatIsDrawn)
{
  const Context context;
  const OmImage picture = makePicture(3, Width, Height);
  const OmU32 rectangle = OmGL::SupportTextureRectangle;
  const OmU32 floats = OmGL::SupportFloatTexture;
  const OmU32 cases[][4] = {// formats, target, support
                            {GL_RGB, GL_RGB, 0, 0},
                            {GL_RGBA, GL_RGBA, GL_TEXTURE_RECTANGLE_ARB, rectangle},
                            {GL_RGBA32F_ARB, GL_RGBA, 0, floats},
                            {GL_RGBA32F_ARB, GL_RGBA, GL_TEXTURE_RECTANGLE_ARB, floats | rectangle},
                            {GL_RGBA32UI_EXT, GL_RGBA_INTEGER_EXT, 0, OmGL::SupportIntegerTexture}};
  for (const auto& [internalFormat, pixelFormat, target, support] : cases)
  {
    if (!OmGL::isSupported(support))
      continue;
    SCOPED_TRACE(testing::Message() << std::hex << internalFormat << " " << target);
    const Texture texture(internalFormat, pixelFormat, target);
    OmFrameBufferObject object;
    EXPECT_TRUE(object.init(texture, OmFrameBufferObject::Color, 2)); // the number is for ColorAndDepth only
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING_EXT), 0);
    object.bind();
    EXPECT_NE(integer(GL_FRAMEBUFFER_BINDING_EXT), 0);
    if (texture.textureParameters().isIntegerType())
    {
      GLuint texel[4] = {};
      glClearColorIuiEXT(7, 300000, 0, 4000000000u);
      glClear(GL_COLOR_BUFFER_BIT);
      glReadPixels(60, 46, 1, 1, GL_RGBA_INTEGER_EXT, GL_UNSIGNED_INT, texel);
      EXPECT_TRUE(texel[0] == 7 && texel[1] == 300000 && texel[2] == 0 && texel[3] == 4000000000u);
      continue;
    }
    draw(picture);
    EXPECT_TRUE(shows(GL_COLOR_ATTACHMENT0_EXT, picture));
    float texel[3] = {};
    glClearColor(-1.5f, 300.0f, 0.25f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glReadPixels(60, 46, 1, 1, GL_RGB, GL_FLOAT, texel);
    const bool kept = texel[0] == -1.5f && texel[1] == 300.0f && texel[2] == 0.25f;
    EXPECT_EQ(kept, texture.textureParameters().isFloatType());
  }
  EXPECT_TRUE(OmGL::printGLError(__FILE__, __LINE__) || card == "rectangle"); // which refuses GL_REPEAT
}

TEST(omFrameBufferObjectTest, SeveralColoursAndDepth)
{
  const Context context;
  const OmImage front = makePicture(3, Width, Height, 1);
  const OmImage back = makePicture(3, Width, Height, 2);
  const Texture first(GL_RGBA);
  const Texture second(GL_RGBA);
  OmFrameBufferObject object;
  object.init(first, OmFrameBufferObject::ColorAndDepth, 2); // incomplete while the draw buffer is 0
  object.bind();
  EXPECT_TRUE(object.attach(second, 1));
  const GLenum buffers[] = {GL_COLOR_ATTACHMENT2_EXT, GL_COLOR_ATTACHMENT1_EXT};
  glDrawBuffersARB(2, buffers);
  ASSERT_TRUE(object.isValid());
  glClear(GL_DEPTH_BUFFER_BIT);
  glEnable(GL_DEPTH_TEST);
  draw(front, 0.5f);
  draw(back, -0.5f);
  EXPECT_TRUE(shows(buffers[0], front) && shows(buffers[1], front));
  EXPECT_TRUE(object.detach(second, 1));
  glDisable(GL_DEPTH_TEST);
  glReadBuffer(buffers[0]);
  draw(back);
  EXPECT_TRUE(object.attach(second, 1));
  EXPECT_TRUE(shows(buffers[0], back) && shows(buffers[1], front));
}

TEST(omFrameBufferObjectTest, DepthNeedsADepthTexture)
{
  const Context context;
  const Texture colour(GL_RGBA);
  const Texture depth(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT);
  const PrintCapture capture(4);
  OmFrameBufferObject other;
  EXPECT_FALSE(other.init(colour, OmFrameBufferObject::Depth, 0));
  EXPECT_EQ(capture.messages(), (Messages{{4, "Mismatched texture formats for FBO.\n"}}));
  EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING_EXT), 0);
  EXPECT_TRUE(other.isValid() && !!other);          // initialised; the window's frame buffer is complete
  other.init(depth, OmFrameBufferObject::Depth, 0); // in the depth buffer's place
  other.bind();
  glDrawBuffer(GL_NONE);
  glReadBuffer(GL_NONE);
  EXPECT_TRUE(other.isValid());
}
