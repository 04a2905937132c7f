#include "render/omShareGroup.h"

#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "render/omShader.h"
#include "tests/support/pictures.h"
#include "tests/support/printCapture.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{

constexpr GLuint MostNames = 64; // drivers hand out small names

/// How many textures there are in the current window's share group.
GLuint textureCount()
{
  GLuint count = 0;
  for (GLuint name = 1; name < MostNames; ++name)
    count += glIsTexture(name) == GL_TRUE;
  return count;
}

/// Framebuffer objects and their depth buffers.
GLuint framebufferCount()
{
  GLuint count = 0;
  for (GLuint name = 1; name < MostNames; ++name)
    count += (glIsFramebufferEXT(name) == GL_TRUE) + (glIsRenderbufferEXT(name) == GL_TRUE);
  return count;
}

template <class Window>
std::unique_ptr<Window> open(const OmWindow* partner = nullptr)
{
  auto window = std::make_unique<Window>();
  window->setWindowSize(8, 8);
  window->setHideWindow(true);
  window->setImpl(OmWindow::Impl::newImpl());
  window->share(partner);
  return window->init() ? std::move(window) : nullptr;
}

/// A texture that only a helper function of a test holds.
OmImage picture()
{
  return makePicture(3, 8, 8);
}

constexpr char White[] = "void main() { gl_FragColor = vec4(1.0); }";

bool load(OmShader& shader, const char* source = White)
{
  return shader.loadShaderFromString(source, OmShader::Fragment) &&
         shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex) && shader.attach(true);
}

const Messages NotCurrent(const char* operation)
{
  return {{4, std::string(operation) + " - No window of the texture's share group is current.\n"}};
}

} // namespace

TEST(omShareGroupTest, NamesAreCurrentInTheirGroupOnly)
{
  EXPECT_TRUE(OmShareGroup().isCurrent());
  const auto first = open<OmSimpleWindow>();
  ASSERT_TRUE(first);
  const OmShareGroup group = OmShareGroup::current();
  const OmShareGroup context = OmShareGroup::currentContext();
  EXPECT_TRUE(group.isCurrent());
  EXPECT_TRUE(context.isCurrent());
  EXPECT_FALSE(OmShareGroup().isCurrent());

  auto partner = open<OmSimpleWindow>(first.get());
  EXPECT_TRUE(group.isCurrent());
  EXPECT_FALSE(context.isCurrent());
  const auto stranger = open<OmSimpleWindow>();
  EXPECT_FALSE(group.isCurrent());
  partner.reset(); // leaves no window current
  EXPECT_FALSE(group.isCurrent());
  EXPECT_TRUE(OmShareGroup().isCurrent());
  first->makeCurrent();
  EXPECT_TRUE(group.isCurrent());
  first->closeWindow();
  ASSERT_TRUE(first->init());
  EXPECT_FALSE(group.isCurrent()); // the last window of the group was closed
}

TEST(omShareGroupTest, WhatIsLetGoOfLateIsDeletedWithTheNextWindow)
{
  const auto window = open<OmSimpleWindow>();
  ASSERT_TRUE(window && window->setImageBuffer(picture(), true));
  const GLuint before = textureCount();
  {
    auto first = open<OmFBOWindow>(window.get());
    auto second = open<OmFBOWindow>(window.get());
    auto shown = open<OmSimpleWindow>(window.get());
    ASSERT_TRUE(first && second && shown && shown->setImageBuffer(picture(), true));
    first->setOffScreenRendering(true);
    ASSERT_TRUE(first->setImageBuffer(picture(), true) && second->setImageBuffer(picture(), true));
    EXPECT_EQ(textureCount(), before + 5);
    first.reset(); // leaves no window current, so the others have to wait
    second.reset();
    shown.reset();
  }
  window->makeCurrent();
  EXPECT_EQ(textureCount(), before);

  // A framebuffer object waits for its own context.
  auto framebuffer = std::make_unique<OmFrameBufferObject>();
  OmTexture target;
  ASSERT_TRUE(target.loadShell(8, 8, OmTextureParameters()));
  ASSERT_TRUE(framebuffer->init(target, OmFrameBufferObject::ColorAndDepth, 0));
  EXPECT_EQ(framebufferCount(), 2u);
  const auto partner = open<OmSimpleWindow>(window.get());
  framebuffer.reset();
  partner->closeWindow();
  window->makeCurrent();
  EXPECT_EQ(framebufferCount(), 0u);
}

TEST(omShareGroupTest, NothingForeignIsDeleted)
{
  auto first = open<OmSimpleWindow>();
  auto texture = std::make_unique<OmTexture>();
  ASSERT_TRUE(texture->loadFromImage(picture(), OmTextureParameters()));
  const auto second = open<OmSimpleWindow>();
  OmTexture others[4];
  for (OmTexture& other : others)
    ASSERT_TRUE(other.loadFromImage(picture(), OmTextureParameters()));
  const auto shown = open<OmSimpleWindow>();
  ASSERT_TRUE(shown->setImageBuffer(picture(), true));
  second->makeCurrent();
  const GLuint count = textureCount();
  texture.reset();
  shown->closeWindow();
  first.reset();
  second->makeCurrent();
  EXPECT_EQ(textureCount(), count);
}

TEST(omShareGroupTest, TexturesOfOtherGroupsAreRefused)
{
  const auto home = open<OmFBOWindow>();
  const auto texture = boost::make_shared<OmTexture>();
  ASSERT_TRUE(home && texture->loadFromImage(picture(), OmTextureParameters()));
  const auto other = open<OmSimpleWindow>();
  ASSERT_TRUE(other->setImageBuffer(makePicture(3, 8, 8, 7), true)); // may have the same GL name

  PrintCapture print(4);
  EXPECT_FALSE(texture->load(picture().data(), 192));
  EXPECT_FALSE(texture->drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f));
  EXPECT_EQ(print.messages().size(), 2u);
  print.clear();
  EXPECT_FALSE(other->setImageBuffer(texture, true));
  EXPECT_EQ(print.messages(), NotCurrent("OmTexture::bind"));
  print.clear();
  EXPECT_FALSE(other->renderScene(true));
  EXPECT_EQ(print.messages(), NotCurrent("OmTexture::bind"));
  print.clear();
  OmFrameBufferObject framebuffer;
  EXPECT_FALSE(framebuffer.init(*texture, OmFrameBufferObject::Color, 0));
  EXPECT_EQ(print.messages(), NotCurrent("OmFrameBufferObject::init"));

  print.clear();
  OmTexture own;
  ASSERT_TRUE(own.loadShell(8, 8, OmTextureParameters()));
  ASSERT_TRUE(framebuffer.init(own, OmFrameBufferObject::Color, 0));
  EXPECT_FALSE(framebuffer.attach(*texture, 1));
  EXPECT_EQ(print.messages(), NotCurrent("OmFrameBufferObject::attach"));
  print.clear();
  home->makeCurrent();
  framebuffer.bind();
  GLint bound = -1;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &bound);
  EXPECT_EQ(bound, 0);
  EXPECT_EQ(print.messages(),
            (Messages{{4, "OmFrameBufferObject::bind - The window that was current in init() is not.\n"}}));
  print.clear();
  EXPECT_TRUE(framebuffer.init(*texture, OmFrameBufferObject::Color, 0)); // starts again
  framebuffer.bind();
  OmFrameBufferObject::unbind();
  ASSERT_TRUE(home->setImageBuffer(texture, true));
  EXPECT_TRUE(print.messages().empty());
}

TEST(omShareGroupTest, NothingIsLoadedWithoutAContext)
{
  const auto window = open<OmSimpleWindow>();
  OmTexture texture;
  ASSERT_TRUE(window && texture.loadFromImage(picture(), OmTextureParameters()));
  const auto refuses = [&]
  {
    const PrintCapture print(4);
    OmTexture fresh;
    OmShader shader;
    EXPECT_FALSE(texture.load(picture().data(), 192) || fresh.loadFromImage(picture(), OmTextureParameters()));
    EXPECT_FALSE(load(shader));
    for (const auto& [type, text] : print.messages())
      EXPECT_TRUE(type == 4 && text.find("context is current on this thread") != std::string::npos) << text;
    EXPECT_GE(print.messages().size(), 3u);
  };
  std::thread(refuses).join();
  EXPECT_TRUE(texture.load(picture().data(), 192));
  window->closeWindow();
  refuses();
}

TEST(omShareGroupTest, AShaderOutlivesItsWindow)
{
  auto window = open<OmSimpleWindow>();
  OmShader shader;
  ASSERT_TRUE(window && load(shader));
  window->closeWindow();
  ASSERT_TRUE(window->init());
  // What the new context has may bear the same numbers.
  OmShader other;
  ASSERT_TRUE(load(other, "uniform float value; void main() { gl_FragColor = vec4(value); }"));
  {
    const PrintCapture print(4);
    EXPECT_FALSE(shader.enable());
    EXPECT_EQ(shader.getUniformLocation("value"), -1);
    EXPECT_EQ(print.messages(),
              (Messages{{4, "OmShader::enable - No window of the program's share group is current.\n"},
                        {4, "OmShader::getUniformLocation - No window of the program's share group is current.\n"}}));
  }
  EXPECT_FALSE(shader.attach(true)); // nothing is loaded here yet
  ASSERT_TRUE(load(shader));
  EXPECT_NE(shader.getProgramId(), other.getProgramId());
  ASSERT_TRUE(other.enable());
  EXPECT_GE(other.getUniformLocation("value"), 0);
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST(omShareGroupTest, AProgramThatDoesNotLinkIsReportedOnce)
{
  const auto window = open<OmSimpleWindow>();
  OmShader shader;
  ASSERT_TRUE(window && shader.loadShaderFromString("vec4 missing(); void main() { gl_FragColor = missing(); }",
                                                    OmShader::Fragment));
  const PrintCapture print(4);
  EXPECT_TRUE(shader.attach(true));
  const Messages once = print.messages();
  ASSERT_EQ(once.size(), 1u);
  EXPECT_EQ(once[0].first, 4);
  EXPECT_EQ(once[0].second.find("OmShader: Program Shader InfoLog:\nerror: "), 0u) << once[0].second;
  EXPECT_TRUE(shader.enable());
  EXPECT_EQ(print.messages(), once);
  EXPECT_FALSE(shader.loadShaderFromString("nonsense", OmShader::Fragment)); // says so itself
  EXPECT_TRUE(shader.attach(true));
  EXPECT_EQ(print.messages().size(), 3u);
}
