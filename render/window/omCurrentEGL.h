#ifndef OM_CURRENT_EGL_H
#define OM_CURRENT_EGL_H

/// What the rest of the library asks about EGL, without EGL's headers. Neither function makes an EGL call in a process
/// that has opened no EGL window.
class OmCurrentEGL
{
public:
  using Address = void (*)();

  OmCurrentEGL() = delete;

  /// Whether EGL made the calling thread's current context.
  static bool isCurrent();
  /// The address of a GL function for that context; null when there is none.
  static Address resolve(const char* name);
  /// Releases the calling thread's current context when EGL made it. GLX refuses to make one current beside it, by an X
  /// error, which ends the process.
  static void release();
};

#endif
