#include "render/omGL.h"

#include "foundation/common/omUtils.h"
#include "foundation/core/omPrint.h"
#include "render/omSimpleWindow.h"
#include "render/omVersion.h"
#include "render/window/omCurrentEGL.h"

#include <GL/glx.h>

#include <cstdio>
#include <cstring>
#include <ostream>

// The pointers' storage. GL's own name is a weak alias of it in the same section, so that a copy relocation moves both
// names together.
#define OM_GL_ENTRY_POINT(group, type, name)                                                                           \
  type name = nullptr;                                                                                                 \
  OM_EXPORT extern type om_alias_##name __asm__(#name) __attribute__((weak, alias("om_" #name)));
#include "render/omGLEntryPoints.def"

OmU32 OmGL::supportStatus = 0;

namespace
{

OmBoolean s_firstInit = true; // missing features are reported once in a process

enum class Group
{
  Nothing,
  DrawBuffers,
  ColorClamp,
  ShaderObjects,
  VertexBuffers,
  OcclusionQueries,
  FramebufferObjects,
  GeometryShaders,
  IntegerTextures,
  GPUShader4,
  SwapControl
};

struct EntryPoint
{
  Group group;
  const char* name;
  void* pointer; // the exported pointer that takes the resolved address
};

constexpr EntryPoint EntryPoints[] = {
#define OM_GL_ENTRY_POINT(group, type, name) {Group::group, #name, &name},
#include "render/omGLEntryPoints.def"
};

enum class Match
{
  Any,
  All
};

/// One step of the detection. It is skipped if its bit is already set, or if a bit that it builds on is not set.
struct Step
{
  OmU32 bit;
  OmU32 buildsOn;
  Match match;
  const char* extensions[4]; // unused ones are null; names with GLX_ are looked up in GLX's list
  Group group;               // the entry points to load, if any
  const char* substitute;    // load the group's only pointer by this name, and store it only if found
  const char* missing;       // the message if the feature is missing, or null for none
  const char* unresolved;    // the message if an entry point is not found; null: `missing`
};

// clang-format off
constexpr Step Steps[] = {
    {OmGL::SupportDrawBuffers, 0, Match::Any,
     {"GL_ARB_draw_buffers"}, Group::DrawBuffers,
     nullptr, nullptr, nullptr},
    {OmGL::SupportDrawBuffers, 0, Match::Any,
     {"GL_ATI_draw_buffers"}, Group::DrawBuffers,
     "glDrawBuffersATI", "No support for ARB_draw_buffers.\n", "No support for ATI_draw_buffers.\n"},
    {OmGL::SupportFloatTexture, 0, Match::Any,
     {"GL_ARB_texture_float", "GL_ATI_texture_float"}, Group::Nothing,
     nullptr, nullptr, nullptr},
    {OmGL::SupportFloatClamp, OmGL::SupportFloatTexture, Match::Any,
     {"GL_ARB_color_buffer_float"}, Group::ColorClamp,
     nullptr, "No support for unclamping float textures.\n", nullptr},
    {OmGL::SupportNPOT, 0, Match::Any,
     {"GL_ARB_texture_non_power_of_two"}, Group::Nothing,
     nullptr, nullptr, nullptr},
    {OmGL::SupportTextureRectangle, 0, Match::Any,
     {"GL_ARB_texture_rectangle", "GL_NV_texture_rectangle"}, Group::Nothing,
     nullptr, nullptr, nullptr},
    {OmGL::SupportNVFloatBuffer, OmGL::SupportTextureRectangle, Match::Any,
     {"GL_NV_float_buffer"}, Group::Nothing,
     nullptr, nullptr, nullptr},
    {OmGL::SupportShaders, 0, Match::All,
     {"GL_ARB_shader_objects", "GL_ARB_shading_language_100",
      "GL_ARB_fragment_shader", "GL_ARB_vertex_shader"}, Group::ShaderObjects,
     nullptr, "No support for OpenGL shading.\n", nullptr},
    {OmGL::SupportVBO, 0, Match::Any,
     {"GL_ARB_vertex_buffer_object"}, Group::VertexBuffers,
     nullptr, "No support for Vertex Buffer Objects.\n", nullptr},
    {OmGL::SupportOcclusionQuery, 0, Match::Any,
     {"GL_ARB_occlusion_query"}, Group::OcclusionQueries,
     nullptr, "No support for Occlusion Query functions.\n", nullptr},
    {OmGL::SupportFBO, 0, Match::Any,
     {"GL_EXT_framebuffer_object"}, Group::FramebufferObjects,
     nullptr, "No support for Framebuffer Object.\n", nullptr},
    {OmGL::SupportGeometryShader, 0, Match::Any,
     {"GL_EXT_geometry_shader4"}, Group::GeometryShaders,
     nullptr, "No support for Geometry Shaders.\n", nullptr},
    {OmGL::SupportIntegerTexture, 0, Match::Any,
     {"GL_EXT_texture_integer"}, Group::IntegerTextures,
     nullptr, "No support for Integer Textures.\n", nullptr},
    {OmGL::SupportGPUShader4, 0, Match::Any,
     {"GL_EXT_gpu_shader4"}, Group::GPUShader4,
     nullptr, "No support for GPU Shader4.\n", nullptr},
    {OmGL::SupportVSync, 0, Match::Any,
     {"GLX_SGI_swap_control"}, Group::SwapControl,
     "glXSwapIntervalSGI", "No support for GLX_SGI_swap_control\n", nullptr},
};
// clang-format on

/// A line of the capability report. It is written if all bits of `when` are set and not all bits of `unless` are.
struct ReportLine
{
  OmU32 when;
  OmU32 unless;
  const char* text;
};

constexpr ReportLine ReportLines[] = {
    {OmGL::SupportVSync, 0, "Vertical Sync control\n"},
    {OmGL::SupportFBO, 0, "Off-Screen FrameBuffer\n"},
    {OmGL::SupportPBuffer, OmGL::SupportFBO, "Off-Screen PixelBuffer\n"},
    {OmGL::SupportGPUShader4, 0, "GPU-Accelerated Imaging version 4\n"},
    {OmGL::SupportShaders, OmGL::SupportGPUShader4, "GPU-Accelerated Imaging\n"},
    {OmGL::SupportNPOT, 0, "Non-Power-Of-Two Texture Acceleration\n"},
    {OmGL::SupportTextureRectangle, 0, "NPOT Texture Rectangle\n"},
    {OmGL::SupportTextureRectangle | OmGL::SupportNVFloatBuffer, 0, "  with nVidia-specific Float Support\n"},
    {OmGL::SupportFloatTexture, 0, "Floating Point Textures\n"},
    {OmGL::SupportFloatTexture | OmGL::SupportFloatClamp, 0, "  with Clamping Control\n"},
    {OmGL::SupportVBO, 0, "Vertex Buffer Objects\n"},
    {OmGL::SupportDrawBuffers, 0, "Render to Multiple Buffers\n"},
    {OmGL::SupportGeometryShader, 0, "Support for Geometry Shaders\n"},
    {OmGL::SupportOcclusionQuery, 0, "Support for Occlusion Query\n"},
    {OmGL::SupportIntegerTexture, 0, "Support for Integer Textures\n"},
};

constexpr char Ruler[] = "--------------------------------";
constexpr char InitSignature[] = "static OmBoolean OmGL::init()";

using Address = void (*)();

Address resolve(const char* name)
{
  return OmCurrentEGL::isCurrent() ? OmCurrentEGL::resolve(name)
                                   : glXGetProcAddress(reinterpret_cast<const GLubyte*>(name));
}

void store(Address address, void* pointer)
{
  std::memcpy(pointer, &address, sizeof address);
}

/// Loads a step's entry points in order, up to the first that is not found. A null is stored for that one, unless it is
/// a substitute.
bool loadEntryPoints(const Step& step)
{
  for (const EntryPoint& entryPoint : EntryPoints)
  {
    if (entryPoint.group != step.group)
      continue;
    const Address address = resolve(step.substitute ? step.substitute : entryPoint.name);
    if (address || !step.substitute)
      store(address, entryPoint.pointer);
    if (!address)
      return false;
  }
  return true;
}

/// The GLX extensions of screen 0, even for a window on another screen: a driver offers the same on all screens.
/// None for a context that EGL made.
const char* glxExtensions()
{
  if (OmCurrentEGL::isCurrent())
    return nullptr;
  Display* const display = glXGetCurrentDisplay();
  return display ? glXQueryExtensionsString(display, 0) : nullptr;
}

bool matches(const Step& step, const char* extensions)
{
  for (const char* name : step.extensions)
  {
    if (!name)
      break;
    const bool found = extensions && std::strstr(extensions, name);
    if (found != (step.match == Match::All))
      return found;
  }
  return step.match == Match::All;
}

void reportMissing(const char* line)
{
  if (s_firstInit && line)
    Om::Print::instance().ostream(Om::Print::Report, InitSignature) << line;
}

void detect(const Step& step, const char* glExtensions)
{
  if ((OmGL::supportStatus & step.bit) == step.bit || (OmGL::supportStatus & step.buildsOn) != step.buildsOn)
    return;
  const bool isGLX = std::strncmp(step.extensions[0], "GLX_", 4) == 0;
  if (!matches(step, isGLX ? glxExtensions() : glExtensions))
    reportMissing(step.missing);
  else if (!loadEntryPoints(step))
    reportMissing(step.unresolved ? step.unresolved : step.missing);
  else
    OmGL::setExtension(step.bit);
}

void applyVersion(int major, int minor)
{
  if (major == 1 && minor > 2)
    OmGL::setExtension(OmGL::SupportGL13);
  else if (major == 1 && minor >= 0)
    Om::Print::instance().ostream(Om::Print::Warning, InitSignature)
        << "Don't have minimum level of OpenGL support.  Found " << major << "." << minor << std::endl;
  else if (major == 2)
    OmGL::setExtension(OmGL::SupportGL13 | OmGL::SupportGL20);
}

void report(int major, int minor)
{
  Om::Print& print = Om::Print::instance();
  if (print.printLevel() > Om::Print::Trace)
    return;
  print.ostream(Om::Print::Report, InitSignature)
      << "OpenGL Hardware Features Supported (version " << major << "." << minor << ")\n";
  print.ostream(Om::Print::Report, InitSignature) << Ruler << "\n";
  for (const ReportLine& line : ReportLines)
    if (OmGL::isSupported(line.when) && !(line.unless && OmGL::isSupported(line.unless)))
      print.ostream(Om::Print::Report, InitSignature) << line.text;
  print.ostream(Om::Print::Report, InitSignature) << Ruler << std::endl;
}

/// Opens a hidden window, which runs OmGL::init() in its context, and closes it.
void detectInHiddenWindow()
{
  // No longer 0, so that isSupported() starts no second detection while the window opens. If no window can be opened,
  // the process does not try again.
  OmGL::supportStatus = OmGL::SupportOpenGL;
  OmSimpleWindow window;
  window.setHideWindow(true);
  window.init();
}

struct ErrorName
{
  GLenum code;
  const char* text;
};

constexpr ErrorName ErrorNames[] = {
    {GL_INVALID_ENUM, "Invalid enum"},
    {GL_INVALID_VALUE, "Invalid value"},
    {GL_INVALID_OPERATION, "Invalid operation"},
    {GL_STACK_OVERFLOW, "Stack Overflow"},
    {GL_STACK_UNDERFLOW, "Stack Underflow"},
    {GL_OUT_OF_MEMORY, "Out of Memory"},
    {GL_INVALID_FRAMEBUFFER_OPERATION, "Invalid framebuffer operation"},
    {GL_TABLE_TOO_LARGE, "Table too large"},
};

OmString errorText(GLenum code)
{
  for (const ErrorName& name : ErrorNames)
    if (name.code == code)
      return name.text;
  return "glError " + OmINT2STRING(code, 10);
}

const char* glString(GLenum name)
{
  return reinterpret_cast<const char*>(glGetString(name));
}

} // namespace

OmBoolean OmGL::init()
{
  const Om::Print::ScopedPrint scope(InitSignature, "");
  supportStatus = 0;

  const char* const extensions = glString(GL_EXTENSIONS);
  const char* const version = glString(GL_VERSION);
  int major = 0;
  int minor = 0;
  if (!version || !extensions || std::sscanf(version, "%d.%d", &major, &minor) != 2)
  {
    Om::Print::instance().ostream(Om::Print::Error, InitSignature)
        << "OpenGL has not been initialized yet." << std::endl;
    return false;
  }

  applyVersion(major, minor);
  setExtension(SupportOpenGL);
  for (const Step& step : Steps)
    detect(step, extensions);
  report(major, minor);
  s_firstInit = false;
  return true;
}

OmBoolean OmGL::isSupported(OmU32 mask)
{
  if (supportStatus == 0)
    detectInHiddenWindow();
  return (supportStatus & mask) == mask;
}

void OmGL::setExtension(OmU32 bits)
{
  supportStatus |= bits;
}

OmBoolean OmGL::printGLError(const GLchar* file, GLuint line)
{
  const GLenum code = glGetError();
  if (code == GL_NO_ERROR)
    return true;
  Om::Print::instance().ostream(Om::Print::Error, "static OmBoolean OmGL::printGLError(const GLchar*, GLuint)")
      << "OpenGL Error: File " << (file ? file : "(null)") << ", line " << line << ": " << errorText(code) << std::endl;
  return false;
}

unsigned int OmGL::powerOf2(unsigned int value)
{
  if (value <= 2)
    return value;
  unsigned int power = 4;
  while (power < value && power < 0x80000000u)
    power *= 2;
  return power;
}
