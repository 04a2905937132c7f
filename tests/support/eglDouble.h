#ifndef OM_TESTS_EGL_DOUBLE_H
#define OM_TESTS_EGL_DOUBLE_H

#define EGL_NO_X11
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <map>
#include <string>
#include <vector>

/// A device that the double lists. One that works is the real EGL's first.
struct EGLDoubleDevice
{
  bool works = true;
  std::string extensions;
  std::map<EGLint, std::string> strings = {}; // of eglQueryDeviceStringEXT
  int cudaNumber = -1;
};

/// How the libEGL.so.1 of support/eglDouble.cpp differs from the real one, which it stands in front of. With what is
/// here at first, in nothing.
struct EGLDouble
{
  std::vector<EGLDoubleDevice> devices; // in the place of the real ones
  std::string clientExtensions;         // in the place of the real ones
  bool hasPbuffers = true;              //
  std::string failing;                  // this function fails
  std::map<std::string, int> calls;     // how often each function was called
};

/// The double's state; the library finds it by this name.
extern "C" EGLDouble* eglDouble();

#endif
