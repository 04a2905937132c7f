// loadedByName LIBRARY: a program that knows the library only at run time and finds its entry points by name.

#include <GL/gl.h>
#include <GL/glext.h>
#include <dlfcn.h>

#include <cstdio>

int main(int, char** argv)
{
  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!library)
    return std::fprintf(stderr, "%s\n", dlerror()), 1;
  const auto isSupported = reinterpret_cast<bool (*)(unsigned int)>(dlsym(library, "_ZN4OmGL11isSupportedEj"));
  const auto genBuffers = static_cast<PFNGLGENBUFFERSARBPROC*>(dlsym(library, "glGenBuffersARB"));
  constexpr unsigned int SupportVBO = 0x100;
  if (!isSupported || !genBuffers || *genBuffers)
    return 2;
  if (!isSupported(SupportVBO) || !*genBuffers)
    return 3;
  return dlsym(library, "om_glGenBuffersARB") == genBuffers ? 0 : 4;
}
