#include "render/omGL.h"
#include "support/printCapture.h"

#include <gtest/gtest.h> // before X11's macros

#include <GL/glx.h>

#include <map>
#include <set>
#include <string>

// GL and GLX as this test wants them to be. No display is needed.
namespace
{

const char* s_version = "2.1 test";
std::string s_extensions;
bool s_hasExtensions = true;
bool s_hasGLXDisplay = true;
const char* s_glxExtensions = "GLX_SGI_swap_control";
std::set<std::string> s_unresolved;
std::vector<std::string> s_resolved; // the names asked for, in order
std::vector<GLenum> s_errors;
char s_code[256]; // stands in for the entry points: each name has an address of its own

void* addressOf(const std::string& name)
{
  static std::map<std::string, int> indices;
  return s_code + indices.emplace(name, static_cast<int>(indices.size())).first->second;
}

template <class Pointer>
void* valueOf(Pointer pointer)
{
  return reinterpret_cast<void*>(pointer);
}

} // namespace

extern "C"
{
  const GLubyte* glGetString(GLenum name)
  {
    const char* text = name == GL_VERSION ? s_version : s_hasExtensions ? s_extensions.c_str() : nullptr;
    return reinterpret_cast<const GLubyte*>(text);
  }
  GLenum glGetError()
  {
    if (s_errors.empty())
      return GL_NO_ERROR;
    const GLenum error = s_errors.front();
    s_errors.erase(s_errors.begin());
    return error;
  }
  Display* glXGetCurrentDisplay()
  {
    return s_hasGLXDisplay ? reinterpret_cast<Display*>(s_code) : nullptr;
  }
  const char* glXQueryExtensionsString(Display* display, int)
  {
    EXPECT_NE(display, nullptr);
    return s_glxExtensions;
  }
  void (*glXGetProcAddress(const GLubyte* name))()
  {
    const std::string text = reinterpret_cast<const char*>(name);
    s_resolved.push_back(text);
    return s_unresolved.count(text) ? nullptr : reinterpret_cast<void (*)()>(addressOf(text));
  }
}

namespace
{

constexpr char EveryExtension[] =
    "GL_ARB_draw_buffers GL_ARB_texture_float GL_ARB_color_buffer_float GL_ARB_texture_non_power_of_two "
    "GL_ARB_texture_rectangle GL_NV_float_buffer GL_ARB_shader_objects GL_ARB_shading_language_100 "
    "GL_ARB_fragment_shader GL_ARB_vertex_shader GL_ARB_vertex_buffer_object GL_ARB_occlusion_query "
    "GL_EXT_framebuffer_object GL_EXT_geometry_shader4 GL_EXT_texture_integer GL_EXT_gpu_shader4";

std::string without(const std::string& name)
{
  std::string all = EveryExtension;
  return all.replace(all.find(name), name.size(), "GL_nothing");
}

constexpr OmU32 Everything = 0xffffu & ~OmU32(OmGL::SupportPBuffer);

class omGL : public ::testing::Test
{
protected:
  omGL() { s_extensions = EveryExtension; }

  /// The bits that init() finds, without the version's.
  OmU32 detect()
  {
    EXPECT_TRUE(OmGL::init());
    return OmGL::supportStatus & 0xffffu;
  }

  PrintCapture m_capture{2}; // no report
};

} // namespace

TEST_F(omGL, EntryPointsAreResolvedGroupByGroup)
{
  EXPECT_EQ(glBindFramebufferEXT, nullptr);
  EXPECT_EQ(detect(), Everything);
  EXPECT_TRUE(m_capture.messages().empty());

  std::vector<std::string> names;
  std::vector<void*> values;
#define OM_GL_ENTRY_POINT(group, type, name)                                                                           \
  names.push_back(#name);                                                                                              \
  values.push_back(valueOf(name));
#include "render/omGLEntryPoints.def"
  ASSERT_EQ(names.size(), 66u);
  names.back() = "glXSwapIntervalSGI"; // glSwapInterval
  EXPECT_EQ(s_resolved, names);
  for (std::size_t i = 0; i < names.size(); ++i)
    EXPECT_EQ(values[i], addressOf(names[i])) << names[i];

  // What is found again is loaded again and overwritten.
  glBindBufferARB = nullptr;
  detect();
  EXPECT_EQ(valueOf(glBindBufferARB), addressOf("glBindBufferARB"));
}

TEST_F(omGL, MissingFeaturesAreReportedOnceInAProcess)
{
  struct Case
  {
    const char* missing;
    OmU32 bits;
    const char* line;
  };
  const Case cases[] = {
      {"GL_ARB_draw_buffers", OmGL::SupportDrawBuffers, "No support for ARB_draw_buffers.\n"},
      {"GL_ARB_texture_float", OmGL::SupportFloatTexture | OmGL::SupportFloatClamp, nullptr},
      {"GL_ARB_color_buffer_float", OmGL::SupportFloatClamp, "No support for unclamping float textures.\n"},
      {"GL_ARB_texture_non_power_of_two", OmGL::SupportNPOT, nullptr},
      {"GL_ARB_texture_rectangle", OmGL::SupportTextureRectangle | OmGL::SupportNVFloatBuffer, nullptr},
      {"GL_NV_float_buffer", OmGL::SupportNVFloatBuffer, nullptr},
      {"GL_ARB_shading_language_100", OmGL::SupportShaders, "No support for OpenGL shading.\n"},
      {"GL_ARB_vertex_shader", OmGL::SupportShaders, "No support for OpenGL shading.\n"},
      {"GL_ARB_vertex_buffer_object", OmGL::SupportVBO, "No support for Vertex Buffer Objects.\n"},
      {"GL_ARB_occlusion_query", OmGL::SupportOcclusionQuery, "No support for Occlusion Query functions.\n"},
      {"GL_EXT_framebuffer_object", OmGL::SupportFBO, "No support for Framebuffer Object.\n"},
      {"GL_EXT_geometry_shader4", OmGL::SupportGeometryShader, "No support for Geometry Shaders.\n"},
      {"GL_EXT_texture_integer", OmGL::SupportIntegerTexture, "No support for Integer Textures.\n"},
      {"GL_EXT_gpu_shader4", OmGL::SupportGPUShader4, "No support for GPU Shader4.\n"},
  };
  for (const Case& c : cases)
  {
    // A first detection happens once in a process: each runs in a child.
    const auto first = [&c]
    {
      PrintCapture capture(2);
      s_extensions = without(c.missing);
      const Messages expected = c.line ? Messages{{3, c.line}} : Messages{};
      const bool good =
          OmGL::init() && (OmGL::supportStatus & 0xffffu) == (Everything & ~c.bits) && capture.messages() == expected;
      capture.clear();
      std::_Exit(good && OmGL::init() && capture.messages().empty() ? 0 : 1);
    };
    EXPECT_EXIT(first(), ::testing::ExitedWithCode(0), "") << c.missing;
  }
}

TEST_F(omGL, AGroupStopsAtTheFirstEntryPointThatDoesNotResolve)
{
  s_unresolved = {"glDeleteRenderbuffersEXT"};
  const auto previous = glRenderbufferStorageEXT = reinterpret_cast<PFNGLRENDERBUFFERSTORAGEEXTPROC>(&s_code[255]);
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportFBO));
  EXPECT_EQ(valueOf(glDeleteFramebuffersEXT), addressOf("glDeleteFramebuffersEXT"));
  EXPECT_EQ(glDeleteRenderbuffersEXT, nullptr);
  EXPECT_EQ(glFramebufferRenderbufferEXT, nullptr);
  EXPECT_EQ(glRenderbufferStorageEXT, previous);
  EXPECT_EQ(m_capture.messages(), (Messages{{3, "No support for Framebuffer Object.\n"}}));
}

TEST_F(omGL, ShaderEntryPointsAreLeftAloneWithoutAllFourExtensions)
{
  s_extensions = without("GL_ARB_vertex_shader");
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportShaders));
  EXPECT_EQ(glAttachObjectARB, nullptr);
}

TEST_F(omGL, DrawBuffersFallBackToATI)
{
  s_extensions = without("GL_ARB_draw_buffers") + " GL_ATI_draw_buffers";
  EXPECT_EQ(detect(), Everything);
  EXPECT_EQ(valueOf(glDrawBuffersARB), addressOf("glDrawBuffersATI"));

  s_extensions = std::string(EveryExtension) + " GL_ATI_draw_buffers";
  s_unresolved = {"glDrawBuffersARB"};
  EXPECT_EQ(detect(), Everything);
  EXPECT_EQ(valueOf(glDrawBuffersARB), addressOf("glDrawBuffersATI"));

  s_unresolved = {"glDrawBuffersARB", "glDrawBuffersATI"};
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportDrawBuffers));
  EXPECT_EQ(glDrawBuffersARB, nullptr);
}

TEST_F(omGL, UnresolvedDrawBuffersNameTheATIExtension)
{
  s_extensions = without("GL_ARB_draw_buffers") + " GL_ATI_draw_buffers";
  s_unresolved = {"glDrawBuffersATI"};
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportDrawBuffers));
  EXPECT_EQ(m_capture.messages(), (Messages{{3, "No support for ATI_draw_buffers.\n"}}));
}

TEST_F(omGL, SwapControlKeepsItsPointerAndAsksNoNullDisplay)
{
  detect();
  const auto previous = glSwapInterval;
  s_unresolved = {"glXSwapIntervalSGI"};
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportVSync));
  EXPECT_EQ(glSwapInterval, previous);
  s_unresolved.clear();
  s_glxExtensions = nullptr;
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportVSync));
  s_hasGLXDisplay = false;
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportVSync));
}

TEST_F(omGL, Versions)
{
  struct Case
  {
    const char* version;
    OmU32 bits;
    const char* warning;
  };
  const Case cases[] = {
      {"1.2.1", 0, "Don't have minimum level of OpenGL support.  Found 1.2\n"},
      {"1.0", 0, "Don't have minimum level of OpenGL support.  Found 1.0\n"},
      {"1.5 vendor", OmGL::SupportGL13, nullptr},
      {"2.1", OmGL::SupportGL13 | OmGL::SupportGL20, nullptr},
      {"3.0", 0, nullptr},
      {"4.6", 0, nullptr},
  };
  for (const Case& c : cases)
  {
    s_version = c.version;
    m_capture.clear();
    EXPECT_TRUE(OmGL::init());
    EXPECT_EQ(OmGL::supportStatus, c.bits | Everything) << c.version;
    EXPECT_EQ(m_capture.messages(), c.warning ? (Messages{{5, c.warning}}) : Messages{}) << c.version;
  }
}

TEST_F(omGL, WithoutAContextNothingIsDetected)
{
  const std::pair<const char*, bool> cases[] = {{nullptr, true}, {"2.1", false}, {"OpenGL ES 2.0", true}, {"3", true}};
  for (const auto& [version, hasExtensions] : cases)
  {
    OmGL::supportStatus = Everything;
    s_version = version;
    s_hasExtensions = hasExtensions;
    m_capture.clear();
    EXPECT_FALSE(OmGL::init());
    EXPECT_EQ(OmGL::supportStatus, 0u);
    EXPECT_EQ(m_capture.messages(), (Messages{{4, "OpenGL has not been initialized yet.\n"}}));
  }
}

TEST_F(omGL, Report)
{
  Om::Print::instance().setPrintLevel(1);
  const std::string ruler = "--------------------------------";
  detect();
  const char* const full[] = {"OpenGL Hardware Features Supported (version 2.1)\n",
                              "--------------------------------\n",
                              "Vertical Sync control\n",
                              "Off-Screen FrameBuffer\n",
                              "GPU-Accelerated Imaging version 4\n",
                              "Non-Power-Of-Two Texture Acceleration\n",
                              "NPOT Texture Rectangle\n",
                              "  with nVidia-specific Float Support\n",
                              "Floating Point Textures\n",
                              "  with Clamping Control\n",
                              "Vertex Buffer Objects\n",
                              "Render to Multiple Buffers\n",
                              "Support for Geometry Shaders\n",
                              "Support for Occlusion Query\n",
                              "Support for Integer Textures\n",
                              "--------------------------------\n"};
  Messages expected;
  for (const char* line : full)
    expected.emplace_back(3, line);
  EXPECT_EQ(m_capture.messages(), expected);

  s_version = "4.5";
  s_extensions = "GL_ARB_shader_objects GL_ARB_shading_language_100 GL_ARB_fragment_shader GL_ARB_vertex_shader";
  s_glxExtensions = "";
  m_capture.clear();
  detect();
  EXPECT_EQ(m_capture.messages(), (Messages{{3, "OpenGL Hardware Features Supported (version 4.5)\n"},
                                            {3, ruler + "\n"},
                                            {3, "GPU-Accelerated Imaging\n"},
                                            {3, ruler + "\n"}}));
}

TEST_F(omGL, MasksNeedEveryBit)
{
  OmGL::supportStatus = OmGL::SupportFBO;
  EXPECT_TRUE(OmGL::isSupported(0));
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportFBO));
  EXPECT_FALSE(OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportVBO));
  OmGL::setExtension(OmGL::SupportVBO);
  EXPECT_TRUE(OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportVBO));
}

TEST_F(omGL, ErrorsAreReportedOneAtATime)
{
  s_errors = {GL_INVALID_OPERATION, 0x0506, 0x8031, 0x0507};
  const char* const lines[] = {"OpenGL Error: File a.cpp, line 120: Invalid operation\n",
                               "OpenGL Error: File a.cpp, line 120: Invalid framebuffer operation\n",
                               "OpenGL Error: File a.cpp, line 120: Table too large\n",
                               "OpenGL Error: File (null), line 120: glError 1287\n"};
  for (const char* line : lines)
  {
    m_capture.clear();
    EXPECT_FALSE(OmGL::printGLError(s_errors.size() > 1 ? "a.cpp" : nullptr, 120));
    EXPECT_EQ(m_capture.messages(), (Messages{{4, line}}));
  }
  m_capture.clear();
  EXPECT_TRUE(OmGL::printGLError("a.cpp", 1));
  EXPECT_TRUE(m_capture.messages().empty());
}

TEST_F(omGL, PowersOfTwo)
{
  const std::pair<unsigned int, unsigned int> cases[] = {{0, 0},
                                                         {1, 1},
                                                         {2, 2},
                                                         {3, 4},
                                                         {4, 4},
                                                         {5, 8},
                                                         {1000, 1024},
                                                         {1024, 1024},
                                                         {0x80000000u, 0x80000000u},
                                                         {0x80000001u, 0x80000000u}};
  for (const auto& [value, power] : cases)
    EXPECT_EQ(OmGL::powerOf2(value), power);
}
