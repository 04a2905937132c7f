#include "render/omShader.h"

#include "foundation/core/omApplication.h"
#include "render/omGL.h"
#include "support/printCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace
{

std::string calls;
GLhandleARB nextHandle = 5;
GLhandleARB inUse = 0;
GLint compiled = GL_TRUE;
GLint linked = GL_TRUE;
GLint attachedCount = 0;
std::string infoLog;

template <class... Arguments>
void record(const char* name, Arguments... arguments)
{
  std::ostringstream text;
  text << name << std::hex;
  ((text << ' ' << arguments), ...);
  calls += text.str() + '\n';
}

std::string takeCalls()
{
  return std::exchange(calls, {});
}

/// Puts recording functions into the entry points; the process needs no context then.
void recordCalls()
{
  OmGL::supportStatus = OmGL::SupportOpenGL | OmGL::SupportShaders;
  glCreateShaderObjectARB = [](auto... arguments) { return record("create", arguments...), nextHandle++; };
  glDeleteObjectARB = [](auto... arguments) { record("delete", arguments...); };
  glShaderSourceARB = [](GLhandleARB handle, GLsizei count, const GLcharARB** text, const GLint* lengths)
  { record("source", handle, count, *text, lengths ? "lengths" : "terminated"); };
  glCompileShaderARB = [](auto... arguments) { record("compile", arguments...); };
  glGetObjectParameterivARB = [](GLhandleARB handle, GLenum name, GLint* value)
  {
    record("get", handle, name);
    *value = name == GL_OBJECT_COMPILE_STATUS_ARB     ? compiled
             : name == GL_OBJECT_LINK_STATUS_ARB      ? linked
             : name == GL_OBJECT_ATTACHED_OBJECTS_ARB ? attachedCount
                                                      : static_cast<GLint>(infoLog.size() + 1);
  };
  glGetInfoLogARB = [](GLhandleARB handle, GLsizei size, GLsizei* written, GLcharARB* text)
  { record("log", handle, size), *written = static_cast<GLsizei>(infoLog.copy(text, infoLog.size())); };
  glCreateProgramObjectARB = [] { return record("program"), nextHandle++; };
  glGetHandleARB = [](auto... arguments) { return record("inUse", arguments...), inUse; };
  glGetAttachedObjectsARB = [](GLhandleARB handle, GLsizei most, GLsizei*, GLhandleARB* handles)
  { record("attached", handle, most), std::fill_n(handles, std::min(attachedCount, most), 0xaau); };
  glDetachObjectARB = [](auto... arguments) { record("detach", arguments...); };
  glAttachObjectARB = [](auto... arguments) { record("attach", arguments...); };
  glLinkProgramARB = [](auto... arguments) { record("link", arguments...); };
  glUseProgramObjectARB = [](auto... arguments) { record("use", arguments...); };
  glGetUniformLocationARB = [](GLhandleARB program, const GLcharARB* name)
  { return record("uniform", program, name), *name == 'n' ? -1 : 3; };
}

} // namespace

TEST(omShader, NothingHappensBeforeTheFirstLoadAndWithoutShaders)
{
  recordCalls();
  const PrintCapture capture;
  OmGL::supportStatus = OmGL::SupportOpenGL;
  OmShader shader;
  EXPECT_FALSE(shader.init() || shader.loadShaderFromString("text", OmShader::Vertex));
  EXPECT_FALSE(shader.attach(true) || shader.attach(false) || shader.enable() || shader.disable());
  EXPECT_TRUE(shader.getProgramId() == 0 && shader.getUniformLocation("none") == 0);
  EXPECT_EQ(calls, "");
  EXPECT_EQ(capture.messages(), Messages());
  OmGL::supportStatus |= OmGL::SupportShaders; // asked again
  EXPECT_TRUE(shader.loadShaderFromString("text", OmShader::Vertex));
  EXPECT_EQ(OmShader::getVertexShader(),
            "void main(){  gl_Position = ftransform();  gl_TexCoord[0] = gl_TextureMatrix[0] * gl_MultiTexCoord0;  "
            "gl_TexCoord[1] = gl_MultiTexCoord1;}");
}

TEST(omShader, LoadingReplacesTheShaderOfTheStage)
{
  recordCalls();
  const PrintCapture capture;
  constexpr auto Unknown = static_cast<OmShader::ShaderType>(0x1234);
  const struct
  {
    OmShader::ShaderType type;
    GLhandleARB handle; // what the GL gives
    GLint compiled;
    std::string expected;
  } cases[] = {
      {OmShader::Fragment, 5, 1, "create 8b30\nsource 5 1 text terminated\ncompile 5\nget 5 8b81\nget 5 8b84\n"},
      {OmShader::Geometry, 6, 1, "create 8dd9\nsource 6 1 text terminated\ncompile 6\nget 6 8b81\nget 6 8b84\n"},
      {OmShader::Vertex, 7, 1, "create 8b31\nsource 7 1 text terminated\ncompile 7\nget 7 8b81\nget 7 8b84\n"},
      {OmShader::Vertex, 8, 1,
       "create 8b31\ndelete 7\nsource 8 1 text terminated\ncompile 8\nget 8 8b81\nget 8 8b84\n"},
      {OmShader::Vertex, 8, 2, "create 8b31\nsource 8 1 text terminated\ncompile 8\nget 8 8b81\nget 8 8b84\n"},
      {Unknown, 9, 1, "create 1234\n"}};
  {
    OmShader shader;
    for (const auto& c : cases)
    {
      nextHandle = c.handle;
      compiled = c.compiled;
      EXPECT_EQ(shader.loadShaderFromString("text", c.type), compiled == GL_TRUE && c.type != Unknown);
      EXPECT_EQ(takeCalls(), c.expected);
    }
    EXPECT_TRUE(shader.attach(false)); // the one that did not compile included
    EXPECT_EQ(takeCalls(), "program\nattach a 8\nattach a 6\nattach a 5\n");
    nextHandle = 0; // no geometry shaders here, say
    compiled = GL_FALSE;
    EXPECT_FALSE(shader.loadShaderFromString("text", OmShader::Geometry));
    takeCalls();
    EXPECT_TRUE(shader.attach(false));
    EXPECT_EQ(takeCalls(), "inUse 8b40\nprogram\nattach 1 8\nattach 1 5\n");
  }
  EXPECT_EQ(calls, ""); // nothing is deleted in the end
  const Messages messages = {{4, "OmShader: Invalid ShaderType\n"},
                             {4, "OmShader: The GL made no shader object: it has none of the type, or no context is "
                                 "current on this thread.\n"}};
  EXPECT_EQ(capture.messages(), messages);
}

TEST(omShader, LogsGoOutWarningsIncluded)
{
  recordCalls();
  const PrintCapture capture;
  const std::pair<OmShader::ShaderType, const char*> stages[] = {
      {OmShader::Fragment, "Fragment"}, {OmShader::Vertex, "Vertex"}, {OmShader::Geometry, "Geometry"}};
  Messages expected;
  for (const GLint status : {GL_FALSE, GL_TRUE})
    for (const auto& [stage, label] : stages)
    {
      OmShader shader;
      compiled = status;
      infoLog = ""; // of length 1
      EXPECT_EQ(shader.loadShaderFromString("", stage), status == GL_TRUE);
      infoLog = status == GL_TRUE ? "0:1: 100% \"bad\"\n" : "!";
      EXPECT_EQ(shader.loadShaderFromString("", stage), status == GL_TRUE);
      expected.emplace_back(4, std::string("OmShader: ") + label + " Shader InfoLog:\n" + infoLog + "\n\n");
    }
  OmShader().printInfoLog(9, static_cast<OmShader::ShaderType>(GL_PROGRAM_OBJECT_ARB));
  expected.emplace_back(4, "OmShader: Program Shader InfoLog:\n" + infoLog + "\n\n");
  EXPECT_EQ(capture.messages(), expected);
}

TEST(omShader, ProgramsAreFilledLinkedAndUsed)
{
  recordCalls();
  const PrintCapture capture;
  OmShader shader;
  ASSERT_TRUE(shader.loadShaderFromString("", OmShader::Fragment)); // 5
  takeCalls();
  EXPECT_TRUE(shader.attach(true));
  EXPECT_EQ(takeCalls(), "program\nattach 6 5\nlink 6\nget 6 8b82\nuse 6\n");
  linked = GL_FALSE; // linked again at every turn, whatever comes of it
  EXPECT_TRUE(shader.enable() && shader.disable());
  EXPECT_EQ(takeCalls(), "get 6 8b82\nlink 6\nuse 6\nuse 0\n");

  attachedCount = 2;
  inUse = 99; // some other program
  EXPECT_TRUE(shader.attach(false));
  EXPECT_EQ(takeCalls(), "inUse 8b40\nget 6 8b85\nattached 6 a\ndetach 6 aa\ndetach 6 aa\nattach 6 5\n");
  attachedCount = 11;
  EXPECT_TRUE(shader.attach(false));
  const std::string many = takeCalls();
  EXPECT_EQ(std::count(many.begin(), many.end(), '\n'), 3 + 10 + 1);
  inUse = 0;
  EXPECT_TRUE(shader.attach(false));
  EXPECT_EQ(takeCalls(), "inUse 8b40\nprogram\nattach 7 5\n");
  EXPECT_EQ(shader.getProgramId(), 7u);

  EXPECT_EQ(shader.getUniformLocation("known"), 3);
  EXPECT_EQ(capture.messages(), Messages());
  EXPECT_EQ(shader.getUniformLocation("no%s"), -1);
  EXPECT_EQ(takeCalls(), "uniform 7 known\nuniform 7 no%s\n");
  EXPECT_EQ(capture.messages(), (Messages{{4, "OmShader: No such uniform named \"no%s\"\n"}}));
}

TEST(omShader, FilesArePassedOnAsTheyAre)
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
  for (const std::string& text :
       {std::string(), std::string("\xef\xbb\xbfvoid main()\r\n{}"), std::string("a\0b\n\x1a", 5)})
  {
    std::ofstream(folder / "both.frag", std::ios::binary) << text;
    std::ofstream(folder / "both.vert", std::ios::binary) << text << "v";
    Sources shader;
    EXPECT_TRUE(shader.loadShaders("both"));
    const decltype(shader.loaded) expected = {{text, OmShader::Fragment}, {text + "v", OmShader::Vertex}};
    EXPECT_EQ(shader.loaded, expected);
  }
  std::ofstream(folder / "both.frag") << "bad";
  std::ofstream(folder / "alone.frag") << "good";
  Sources shader;
  EXPECT_FALSE(shader.loadShaders("both") || shader.loadShaders("alone") ||
               shader.loadShaders((folder / "folder").string()) || shader.loadShaders("missing"));
  EXPECT_EQ(shader.loaded.size(), 2u); // a vertex shader after none of them
  EXPECT_EQ(capture.messages(),
            (Messages{{4, "OmShader::loadShaderFromFile - can't open alone.vert.\n"},
                      {4, "OmShader::loadShaderFromFile - can't open " + (folder / "folder.frag").string() + ".\n"},
                      {4, "OmShader::loadShaderFromFile - can't open missing.frag.\n"}}));
  std::filesystem::remove_all(folder);
}
