#include "render/omGL.h"
#include "support/printCapture.h"

#include <gtest/gtest.h> // before X11's macros

#include <GL/glx.h>

#include <map>
#include <set>
#include <string>
#include <tuple>

// Doubles of GL and GLX, set by the variables below. No display is needed.
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
char s_code[256]; // its bytes stand for the entry points, one for each name

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

class omGLTest : public ::testing::Test
{
protected:
  omGLTest() { s_extensions = EveryExtension; }

  /// The bits that init() finds, without the version's.
  OmU32 detect()
  {
    EXPECT_TRUE(OmGL::init());
    return OmGL::supportStatus & 0xffffu;
  }

  PrintCapture m_capture{2}; // no report
};

} // namespace

TEST_F(omGLTest, EntryPointsAreResolvedGroupByGroup)
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

  EXPECT_TRUE(OmGL::isSupported(0) && OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportVBO));
  EXPECT_FALSE(OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportPBuffer)); // every bit is needed
}

TEST_F(omGLTest, MissingFeaturesAreReportedOnceInAProcess)
{
  const struct
  {
    const char* missing;
    OmU32 bits;
    const char* line;
  } cases[] = {
      {"GL_ARB_texture_float", OmGL::SupportFloatTexture | OmGL::SupportFloatClamp, nullptr},
      {"GL_ARB_color_buffer_float", OmGL::SupportFloatClamp, "No support for unclamping float textures.\n"},
      {"GL_ARB_texture_rectangle", OmGL::SupportTextureRectangle | OmGL::SupportNVFloatBuffer, nullptr},
      {"GL_ARB_vertex_shader", OmGL::SupportShaders, "No support for OpenGL shading.\n"},
      {"GL_ARB_vertex_buffer_object", OmGL::SupportVBO, "No support for Vertex Buffer Objects.\n"},
      {"GL_ARB_occlusion_query", OmGL::SupportOcclusionQuery, "No support for Occlusion Query functions.\n"},
      {"GL_EXT_framebuffer_object", OmGL::SupportFBO, "No support for Framebuffer Object.\n"},
      {"GL_EXT_geometry_shader4", OmGL::SupportGeometryShader, "No support for Geometry Shaders.\n"},
      {"GL_EXT_texture_integer", OmGL::SupportIntegerTexture, "No support for Integer Textures.\n"},
      {"GL_EXT_gpu_shader4", OmGL::SupportGPUShader4, "No support for GPU Shader4.\n"},
  };
  for (const auto& c : cases)
  {
    // A process has only one first detection, so each case runs in a child process.
    const auto first = [&c]
    {
      PrintCapture capture(2);
      s_extensions = without(c.missing);
      const Messages expected = c.line ? Messages{{3, c.line}} : Messages{};
      const bool good = OmGL::init() && (OmGL::supportStatus & 0xffffu) == (Everything & ~c.bits) &&
                        capture.messages() == expected && (c.bits == OmGL::SupportShaders) == !glAttachObjectARB;
      capture.clear();
      std::_Exit(good && OmGL::init() && capture.messages().empty() ? 0 : 1);
    };
    EXPECT_EXIT(first(), ::testing::ExitedWithCode(0), "") << c.missing;
  }
}

TEST_F(omGLTest, AGroupThatDoesNotResolveIsNotSupported)
{
  s_unresolved = {"glDeleteRenderbuffersEXT", "glDrawBuffersARB"};
  s_extensions += " GL_ATI_draw_buffers";
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportFBO));
  EXPECT_EQ(glDeleteRenderbuffersEXT, nullptr);
  EXPECT_EQ(valueOf(glDrawBuffersARB), addressOf("glDrawBuffersATI"));
  s_unresolved.insert("glDrawBuffersATI");
  EXPECT_EQ(detect(), Everything & ~OmU32(OmGL::SupportFBO | OmGL::SupportDrawBuffers));
}

TEST_F(omGLTest, SwapControlKeepsItsPointerAndAsksNoNullDisplay)
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

TEST_F(omGLTest, Versions)
{
  const std::tuple<const char*, OmU32, const char*> cases[] = {
      {"1.2.1", 0, "Don't have minimum level of OpenGL support.  Found 1.2\n"},
      {"1.5 vendor", OmGL::SupportGL13, nullptr},
      {"2.1", OmGL::SupportGL13 | OmGL::SupportGL20, nullptr},
      {"3.0", 0, nullptr},
  };
  for (const auto& [version, bits, warning] : cases)
  {
    s_version = version;
    m_capture.clear();
    EXPECT_TRUE(OmGL::init());
    EXPECT_EQ(OmGL::supportStatus, bits | Everything) << version;
    EXPECT_EQ(m_capture.messages(), warning ? (Messages{{5, warning}}) : Messages{}) << version;
  }
}

TEST_F(omGLTest, WithoutAContextNothingIsDetected)
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

TEST_F(omGLTest, TheReportListsWhatTheCardHas)
{
  Om::Print::instance().setPrintLevel(1);
  s_version = "4.5";
  s_extensions = without("GL_NV_float_buffer");
  detect();
  std::string text;
  for (const auto& [type, line] : m_capture.messages(3))
    text += line;
  const std::string rule = "--------------------------------\n";
  EXPECT_EQ(text, "OpenGL Hardware Features Supported (version 4.5)\n" + rule +
                      "Vertical Sync control\nOff-Screen FrameBuffer\nGPU-Accelerated Imaging version 4\n"
                      "Non-Power-Of-Two Texture Acceleration\nNPOT Texture Rectangle\nFloating Point Textures\n"
                      "  with Clamping Control\nVertex Buffer Objects\nRender to Multiple Buffers\n"
                      "Support for Geometry Shaders\nSupport for Occlusion Query\nSupport for Integer Textures\n" +
                      rule);
}

TEST_F(omGLTest, ErrorsAreReportedOneAtATime)
{
  s_errors = {0x0506, 0x0507};
  EXPECT_FALSE(OmGL::printGLError("a.cpp", 120) || OmGL::printGLError(nullptr, 120));
  EXPECT_EQ(m_capture.messages(), (Messages{{4, "OpenGL Error: File a.cpp, line 120: Invalid framebuffer operation\n"},
                                            {4, "OpenGL Error: File (null), line 120: glError 1287\n"}}));
  m_capture.clear();
  EXPECT_TRUE(OmGL::printGLError("a.cpp", 1));
  EXPECT_TRUE(m_capture.messages().empty());
}
