#ifndef OM_GL_H
#define OM_GL_H

#include "foundation/core/omTypes.h"

#include <GL/gl.h>

#ifdef GL_GLEXT_PROTOTYPES
#error "render/omGL.h declares the GL extension entry points as pointers: include it without GL_GLEXT_PROTOTYPES"
#endif

/// \ingroup entryPoints
/// Sets how many vertical retraces lie between two swaps of the current context. Returns 0, or a GLX error code;
/// GLX_SGI_swap_control asks for at least 1, and drivers differ in whether they take 0 (do not wait).
using OmSwapIntervalProc = int (*)(int interval);

// The extension entry points, which render/omGLEntryPoints.def lists with the bits of their groups. All are null until
// OmGL::init() finds their group; test the group's bit with OmGL::isSupported() before calling through one. The linker
// name carries a prefix because the GL library exports functions of the same names: with it, this library and its
// callers always mean the same pointer, whatever the order of the libraries at link time.
#define OM_GL_ENTRY_POINT(group, type, name) OM_EXPORT extern type name __asm__("om_" #name);
#include "render/omGLEntryPoints.def"

/// What the OpenGL of the current context offers.
///
/// init() runs by itself whenever a window opens; a program with a context of its own calls it once that is current.
///
/// \code
///   if (OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportFloatTexture))
///     renderIntoFloatTexture();
/// \endcode
///
/// The answer is one word for the whole process, written by init() without a lock: let the first window initialise
/// before other threads ask.
class OM_EXPORT OmGL
{
public:
  /// The capability bits. A bit is set when its extensions are present and their entry points were loaded.
  enum Support : OmU32
  {
    SupportOpenGL = 0x1,             ///< a GL version was read, or a detection was at least attempted
    SupportVSync = 0x2,              ///< GLX_SGI_swap_control: glSwapInterval
    SupportPBuffer = 0x4,            ///< off-screen pixel buffers; never detected, for callers to declare
    SupportNPOT = 0x8,               ///< GL_ARB_texture_non_power_of_two: textures of any size
    SupportShaders = 0x10,           ///< GLSL programs by GL_ARB_shader_objects and its companions
    SupportFloatTexture = 0x20,      ///< GL_ARB_texture_float or GL_ATI_texture_float
    SupportFloatClamp = 0x40,        ///< GL_ARB_color_buffer_float: glClampColorARB
    SupportFBO = 0x80,               ///< GL_EXT_framebuffer_object
    SupportVBO = 0x100,              ///< GL_ARB_vertex_buffer_object
    SupportDrawBuffers = 0x200,      ///< GL_ARB_draw_buffers or GL_ATI_draw_buffers
    SupportTextureRectangle = 0x400, ///< GL_ARB_texture_rectangle or GL_NV_texture_rectangle
    SupportNVFloatBuffer = 0x800,    ///< GL_NV_float_buffer: float formats for rectangle textures
    SupportGeometryShader = 0x1000,  ///< GL_EXT_geometry_shader4
    SupportOcclusionQuery = 0x2000,  ///< GL_ARB_occlusion_query
    SupportIntegerTexture = 0x4000,  ///< GL_EXT_texture_integer
    SupportGPUShader4 = 0x8000,      ///< GL_EXT_gpu_shader4: unsigned-integer uniforms
    SupportGL13 = 0x10000000,        ///< GL 1.3 up to 2.x; not set for later versions
    SupportGL20 = 0x20000000         ///< GL 2.x; not set for later versions
  };

  OmGL() = delete;

  /// Reads version and extensions of the calling thread's current context, loads the entry points of what is there
  /// and keeps the result in supportStatus, which starts anew. What is missing is reported once in a process (print
  /// type 3); at print level 1 a report of all capabilities follows. Returns false, with a line of print type 4 and
  /// status 0, when no version can be read: no context is current, or the context is a core profile without an
  /// extension string.
  static OmBoolean init();

  /// Whether every bit of the mask is set. While no detection has run, a hidden window is opened for one first; it
  /// leaves no window and, with X11, no GL context current. A process without a display is asked only once.
  static OmBoolean isSupported(OmU32 mask);

  /// Adds bits to the capabilities.
  static void setExtension(OmU32 bits);

  /// Takes one pending GL error and reports it (print type 4) with the caller's file name and line. Returns true when
  /// there was none. A null file name prints as "(null)".
  static OmBoolean printGLError(const GLchar* file, GLuint line);

  /// The smallest power of two that is not below the value; 0 for 0, and 2^31 for every value above 2^31.
  static unsigned int powerOf2(unsigned int value);

  /// The capability bits: what the last init() found and setExtension() added since. 0 before the first detection and
  /// after a failed one; SupportOpenGL alone when no window could be opened for one.
  static OmU32 supportStatus;
};

#endif
