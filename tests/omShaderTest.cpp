#include "render/omShader.h"

#include "foundation/core/omApplication.h"
#include "render/omGL.h"
#include "support/printCapture.h"
#include "support/xDouble.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace
{

GLhandleARB nextHandle = 5;
GLhandleARB inUse = 0;
GLint compiled = GL_TRUE;
GLint linked = GL_TRUE;
GLint attachedCount = 0;
std::string infoLog;

/// Puts recording functions into the entry points; the process needs no context then.
void recordCalls()
{
  OmGL::supportStatus = OmGL::SupportOpenGL | OmGL::SupportShaders;
  glCreateShaderObjectARB = [](auto... arguments) { return note("create", arguments...), nextHandle++; };
  glDeleteObjectARB = [](auto... arguments) { note("delete", arguments...); };
  glShaderSourceARB = [](GLhandleARB handle, GLsizei count, const GLcharARB** text, const GLint* lengths)
  { note("source", handle, count, *text, lengths ? "lengths" : "terminated"); };
  glCompileShaderARB = [](auto... arguments) { note("compile", arguments...); };
  glGetObjectParameterivARB = [](GLhandleARB handle, GLenum name, GLint* value)
  {
    note("get", handle, name);
    *value = name == GL_OBJECT_COMPILE_STATUS_ARB     ? compiled
             : name == GL_OBJECT_LINK_STATUS_ARB      ? linked
             : name == GL_OBJECT_ATTACHED_OBJECTS_ARB ? attachedCount
                                                      : static_cast<GLint>(infoLog.size() + 1);
  };
  glGetInfoLogARB = [](GLhandleARB handle, GLsizei size, GLsizei* written, GLcharARB* text)
  { note("log", handle, size), *written = static_cast<GLsizei>(infoLog.copy(text, infoLog.size())); };
  glCreateProgramObjectARB = [] { return note("program"), nextHandle++; };
  glGetHandleARB = [](auto... arguments) { return note("inUse", arguments...), inUse; };
  glGetAttachedObjectsARB = [](GLhandleARB handle, GLsizei most, GLsizei*, GLhandleARB* handles)
  { note("attached", handle, most), std::fill_n(handles, std::min(attachedCount, most), 0xaau); };
  glDetachObjectARB = [](auto... arguments) { note("detach", arguments...); };
  glAttachObjectARB = [](auto... arguments) { note("attach", arguments...); };
  glLinkProgramARB = [](auto... arguments) { note("link", arguments...); };
  glUseProgramObjectARB = [](auto... arguments) { note("use", arguments...); };
  glGetUniformLocationARB = [](GLhandleARB program, const GLcharARB* name)
  { return note("uniform", program, name), *name == 'n' ? -1 : 3; };
}

} // namespace

TEST(omShaderTest, NothingHappensBeforeTheFirstLoadAndWithoutShaders)
{
  recordCalls();
  const PrintCapture capture;
  OmGL::supportStatus = OmGL::SupportOpenGL;
  OmShader shader;
  EXPECT_FALSE(shader.init() || shader.loadShaderFromString("text", OmShader::Vertex));
  EXPECT_FALSE(shader.attach(true) || shader.attach(false) || shader.enable() || shader.disable());
  EXPECT_TRUE(shader.getProgramId() == 0 && shader.getUniformLocation("none") == 0);
  EXPECT_EQ(takeCalls(), "");
  EXPECT_EQ(capture.messages(), Messages());
  OmGL::supportStatus |= OmGL::SupportShaders; // asked again
  EXPECT_TRUE(shader.loadShaderFromString("text", OmShader::Vertex));
  EXPECT_EQ(OmShader::getVertexShader(),
            "void main(){  gl_Position = ftransform();  gl_TexCoord[0] = gl_TextureMatrix[0] * gl_MultiTexCoord0;  "
            "gl_TexCoord[1] = gl_MultiTexCoord1;}");
}

TEST(omShaderTest, LoadingReplacesTheShaderOfTheStage)
{
  recordCalls();
  const PrintCapture capture;
  const struct
  {
    OmShader::ShaderType type;
    GLhandleARB handle; // what GL returns
    GLint compiled;
    std::string created;
  } cases[] = {{OmShader::Fragment, 5, 1, "create 35632"},
               {OmShader::Geometry, 6, 1, "create 36313"},
               {OmShader::Vertex, 7, 1, "create 35633"},
               {OmShader::Vertex, 8, 1, "create 35633; delete 7"},
               {OmShader::Vertex, 8, 2, "create 35633"}};
  {
    OmShader shader;
    for (const auto& c : cases)
    {
      nextHandle = c.handle;
      compiled = c.compiled;
      EXPECT_EQ(shader.loadShaderFromString("text", c.type), compiled == GL_TRUE);
      const std::string name = std::to_string(c.handle);
      EXPECT_EQ(takeCalls(), c.created + "; source " + name + " 1 text terminated; compile " + name + "; get " + name +
                                 " 35713; get " + name + " 35716");
    }
    EXPECT_FALSE(shader.loadShaderFromString("text", static_cast<OmShader::ShaderType>(0x1234)));
    takeCalls();
    nextHandle = 10;
    EXPECT_TRUE(shader.attach(false)); // the one that did not compile included
    EXPECT_EQ(takeCalls(), "program; attach 10 8; attach 10 6; attach 10 5");
    nextHandle = 0; // no geometry shaders here, say
    compiled = GL_FALSE;
    EXPECT_FALSE(shader.loadShaderFromString("text", OmShader::Geometry));
    takeCalls();
    EXPECT_TRUE(shader.attach(false));
    EXPECT_EQ(takeCalls(), "inUse 35648; program; attach 1 8; attach 1 5");
  }
  EXPECT_EQ(takeCalls(), ""); // nothing is deleted in the end
  const Messages messages = {{4, "OmShader: Invalid ShaderType\n"},
                             {4, "OmShader: The GL made no shader object: it has none of the type, or no context is "
                                 "current on this thread.\n"}};
  EXPECT_EQ(capture.messages(), messages);
}

TEST(omShaderTest, ProgramsAreFilledLinkedAndUsed)
{
  recordCalls();
  const PrintCapture capture;
  OmShader shader;
  ASSERT_TRUE(shader.loadShaderFromString("", OmShader::Fragment)); // 5
  takeCalls();
  EXPECT_TRUE(shader.attach(true));
  EXPECT_EQ(takeCalls(), "program; attach 6 5; link 6; get 6 35714; use 6");
  EXPECT_EQ(capture.messages(), Messages());
  attachedCount = 2;
  inUse = 99; // some other program
  EXPECT_TRUE(shader.attach(false));
  EXPECT_EQ(takeCalls(), "inUse 35648; get 6 35717; attached 6 10; detach 6 170; detach 6 170; attach 6 5");
  attachedCount = 11;
  EXPECT_TRUE(shader.attach(false));
  const std::string many = takeCalls();
  EXPECT_EQ(std::count(many.begin(), many.end(), ';'), 3 + 10);
  inUse = 0;
  EXPECT_TRUE(shader.attach(false));
  EXPECT_EQ(takeCalls(), "inUse 35648; program; attach 7 5");
  EXPECT_EQ(shader.getProgramId(), 7u);

  EXPECT_EQ(shader.getUniformLocation("known"), 3);
  EXPECT_EQ(shader.getUniformLocation("no%s"), -1);
  EXPECT_EQ(takeCalls(), "uniform 7 known; uniform 7 no%s");
  EXPECT_EQ(capture.messages(), (Messages{{4, "OmShader: No such uniform named \"no%s\"\n"}}));
  infoLog = "0:1: 100% \"bad\"\n"; // a warning
  EXPECT_TRUE(shader.loadShaderFromString("", OmShader::Vertex));
  EXPECT_EQ(capture.messages().back(),
            (PrintCapture::Message{4, "OmShader: Vertex Shader InfoLog:\n" + infoLog + "\n\n"}));
}

TEST(omShaderTest, FilesArePassedOnAsTheyAre)
{
  struct Sources : OmShader
  {
    std::vector<std::pair<std::string, ShaderType>> loaded;
    OmBoolean loadShaderFromString(const OmString& source, ShaderType type) override
    {
      loaded.emplace_back(source, type);
      return source != "bad";
    }
  };
  const PrintCapture capture(4);
  const std::filesystem::path folder = testing::TempDir() + "omShaderTest" + std::to_string(getpid());
  std::filesystem::create_directories(folder / "folder.frag");
  Om::Application::addSearchPath(folder.string());
  for (const std::string& text : {std::string(), std::string("\xef\xbb\xbf\r\na\0b\n\x1a", 10)})
  {
    std::ofstream(folder / "both.frag", std::ios::binary) << text;
    std::ofstream(folder / "both.vert", std::ios::binary) << text << "v";
    Sources shader;
    EXPECT_TRUE(shader.loadShaders("both"));
    const decltype(shader.loaded) expected = {{text, OmShader::Fragment}, {text + "v", OmShader::Vertex}};
    EXPECT_EQ(shader.loaded, expected);
  }
  std::ofstream(folder / "both.frag") << "bad";
  Sources shader;
  EXPECT_FALSE(shader.loadShaders("both") || shader.loadShaders((folder / "folder").string()) ||
               shader.loadShaders("missing") ||
               shader.loadShaderFromFile("/proc/self/mem", OmShader::Vertex)); // opens, and its first page is unmapped
  EXPECT_EQ(shader.loaded.size(), 1u);                                         // a vertex shader after none of those
  EXPECT_EQ(capture.messages(),
            (Messages{{4, "OmShader::loadShaderFromFile - can't open " + (folder / "folder.frag").string() + ".\n"},
                      {4, "OmShader::loadShaderFromFile - can't open missing.frag.\n"},
                      {4, "OmShader::loadShaderFromFile - can't open /proc/self/mem.\n"}}));
  std::filesystem::remove_all(folder);
}
