#ifndef OM_GL_H
#define OM_GL_H

#include "foundation/core/omTypes.h"

#include <GL/gl.h>

#ifdef GL_GLEXT_PROTOTYPES
#error "render/omGL.h declares the GL extension entry points as pointers: include it without GL_GLEXT_PROTOTYPES"
#endif

/// \ingroup entryPoints
/// Sets how many vertical retraces of the screen pass between two swaps of the current context. Returns 0, or a GLX
/// error code. GLX_SGI_swap_control requires at least 1; some drivers also accept 0 (do not wait).
using OmSwapIntervalProc = int (*)(int interval);

// The extension entry points. render/omGLEntryPoints.def lists them in groups. All are null until OmGL::init() finds
// their group: test the group's bit with OmGL::isSupported() before calling through one. The linker name carries a
// prefix because the GL library exports functions of the same names. With the prefix, this library and its callers
// always mean the same pointer, whatever the order of the libraries at link time.
#define OM_GL_ENTRY_POINT(group, type, name) OM_EXPORT extern type name __asm__("om_" #name);
#include "render/omGLEntryPoints.def"

/// What the OpenGL of the current context offers.
///
/// init() runs whenever a window opens. A program with its own context calls init() once that context is current.
///
/// \code
///   if (OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportFloatTexture))
///     renderIntoFloatTexture();
/// \endcode
///
/// The capabilities are one word for the whole process, and init() writes it without a lock. Open the first window
/// before other threads ask.
class OM_EXPORT OmGL
{
public:
  /// The capability bits. A bit is set if its extensions are present and all their entry points were loaded.
  /// SupportFloatClamp also needs SupportFloatTexture, and SupportNVFloatBuffer needs SupportTextureRectangle.
  enum Support : OmU32
  {
    SupportOpenGL = 0x1,             ///< a GL version was read, or no window opened to read one
    SupportVSync = 0x2,              ///< GLX_SGI_swap_control: glSwapInterval; not with EGL
    SupportPBuffer = 0x4,            ///< off-screen pixel buffers; never detected; a caller sets it (setExtension())
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

  /// Reads the version and the extensions of the calling thread's current context, loads the entry points of the
  /// extensions it finds, and writes the result to supportStatus in place of the old one. Missing features are reported
  /// by the first successful call in a process (print type 3). A GL version below 1.3 gives a warning. At print level 1
  /// or 0 a report of all capabilities follows (print type 3). Returns false, with an error message and supportStatus
  /// 0, if it cannot read a version: no context is current, or the context is an OpenGL ES context or a core profile
  /// without an extension string.
  static OmBoolean init();

  /// Whether every bit of the mask is set. If supportStatus is 0, first opens a hidden window, runs init() in its
  /// context and closes the window; no window is current then and, with X11 and EGL, no GL context. If the hidden
  /// window does not open, the process does not try again.
  static OmBoolean isSupported(OmU32 mask);

  /// Sets capability bits. They stay set until the next init().
  static void setExtension(OmU32 bits);

  /// Takes one pending GL error from the current context and prints an error message with the caller's file name and
  /// line. Returns true if there was none. A null file name prints as "(null)".
  static OmBoolean printGLError(const GLchar* file, GLuint line);

  /// The smallest power of two that is not below the value. 0 for 0, and 2^31 for every value above 2^31.
  static unsigned int powerOf2(unsigned int value);

  /// The capability bits: those that the last init() found and those that setExtension() has added since. 0 before the
  /// first detection and after one that failed. SupportOpenGL alone if isSupported() could not open a window.
  static OmU32 supportStatus;
};

#endif
