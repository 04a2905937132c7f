// A libEGL.so.1 that passes everything on to the real one, save what the test says. As the library finds all functions
// by eglGetProcAddress(), that is all it exports.

#include "tests/support/eglDouble.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace
{

using Address = void (*)();

/// The devices that OM_TEST_DEVICES names, for tests of whole programs: "card", a "locked" one, "software".
EGLDouble fromEnvironment()
{
  EGLDouble result;
  const char* const devices = std::getenv("OM_TEST_DEVICES");
  std::istringstream words(devices ? devices : "");
  for (std::string word; words >> word;)
  {
    EGLDoubleDevice device;
    device.works = word != "locked";
    device.extensions = word == "software" ? "EGL_MESA_device_software" : "EGL_EXT_device_drm_render_node";
    device.strings[EGL_DRM_RENDER_NODE_FILE_EXT] = "/dev/dri/no-" + word;
    result.devices.push_back(device);
  }
  return result;
}

EGLDouble s_double = fromEnvironment();

template <typename Function>
Function real(const char* name)
{
  static void* const library = dlopen(OM_REAL_EGL, RTLD_LAZY | RTLD_LOCAL);
  const auto getAddress = reinterpret_cast<Address (*)(const char*)>(dlsym(library, "eglGetProcAddress"));
  return reinterpret_cast<Function>(getAddress(name));
}

/// Counts a call; whether the function is to fail.
bool fails(const char* name)
{
  ++s_double.calls[name];
  return s_double.failing == name;
}

EGLDeviceEXT realDevice()
{
  EGLDeviceEXT device = EGL_NO_DEVICE_EXT;
  EGLint count = 0;
  real<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT")(1, &device, &count);
  return device;
}

bool isReal(const void* device)
{
  return s_double.devices.empty() || device < &s_double.devices.front() || device > &s_double.devices.back();
}

const EGLDoubleDevice& asDouble(const void* device)
{
  return *static_cast<const EGLDoubleDevice*>(device);
}

const char* queryString(EGLDisplay display, EGLint name)
{
  if (display == EGL_NO_DISPLAY && name == EGL_EXTENSIONS && !s_double.clientExtensions.empty())
    return s_double.clientExtensions.c_str();
  return real<decltype(&eglQueryString)>("eglQueryString")(display, name);
}

EGLBoolean queryDevices(EGLint most, EGLDeviceEXT* devices, EGLint* count)
{
  if (fails("eglQueryDevicesEXT"))
    return EGL_FALSE;
  if (s_double.devices.empty())
    return real<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT")(most, devices, count);
  *count = static_cast<EGLint>(s_double.devices.size());
  for (EGLint i = 0; devices && i < most && i < *count; ++i)
    devices[i] = &s_double.devices[static_cast<std::size_t>(i)];
  return EGL_TRUE;
}

const char* queryDeviceString(EGLDeviceEXT device, EGLint name)
{
  if (isReal(device))
    return real<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT")(device, name);
  const EGLDoubleDevice& fake = asDouble(device);
  if (name == EGL_EXTENSIONS)
    return fake.extensions.c_str();
  const auto found = fake.strings.find(name);
  return found == fake.strings.end() ? nullptr : found->second.c_str();
}

EGLBoolean queryDeviceAttrib(EGLDeviceEXT device, EGLint, EGLAttrib* value)
{
  *value = asDouble(device).cudaNumber;
  return asDouble(device).cudaNumber >= 0;
}

EGLDisplay getPlatformDisplay(EGLenum platform, void* native, const EGLint* attributes)
{
  void* const device = platform != EGL_PLATFORM_DEVICE_EXT || isReal(native) ? native : realDevice();
  if (device != native && !asDouble(native).works)
    return native; // which eglInitialize() refuses
  return real<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT")(platform, device, attributes);
}

EGLBoolean chooseConfig(EGLDisplay display, const EGLint* attributes, EGLConfig* configs, EGLint size, EGLint* count)
{
  *count = 0;
  for (const EGLint* attribute = attributes; *attribute != EGL_NONE; attribute += 2)
    if (attribute[0] == EGL_SURFACE_TYPE && attribute[1] == EGL_PBUFFER_BIT && !s_double.hasPbuffers)
      return EGL_TRUE;
  return real<decltype(&eglChooseConfig)>("eglChooseConfig")(display, attributes, configs, size, count);
}

EGLContext createContext(EGLDisplay display, EGLConfig config, EGLContext shared, const EGLint* attributes)
{
  return fails("eglCreateContext")
             ? EGL_NO_CONTEXT
             : real<decltype(&eglCreateContext)>("eglCreateContext")(display, config, shared, attributes);
}

EGLSurface createPbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes)
{
  return fails("eglCreatePbufferSurface")
             ? EGL_NO_SURFACE
             : real<decltype(&eglCreatePbufferSurface)>("eglCreatePbufferSurface")(display, config, attributes);
}

EGLBoolean destroySurface(EGLDisplay display, EGLSurface surface)
{
  fails("eglDestroySurface");
  return real<decltype(&eglDestroySurface)>("eglDestroySurface")(display, surface);
}

EGLBoolean destroyContext(EGLDisplay display, EGLContext context)
{
  fails("eglDestroyContext");
  return real<decltype(&eglDestroyContext)>("eglDestroyContext")(display, context);
}

const struct
{
  const char* name;
  Address function;
} Functions[] = {
    {"eglQueryString", reinterpret_cast<Address>(queryString)},
    {"eglQueryDevicesEXT", reinterpret_cast<Address>(queryDevices)},
    {"eglQueryDeviceStringEXT", reinterpret_cast<Address>(queryDeviceString)},
    {"eglQueryDeviceAttribEXT", reinterpret_cast<Address>(queryDeviceAttrib)},
    {"eglGetPlatformDisplayEXT", reinterpret_cast<Address>(getPlatformDisplay)},
    {"eglChooseConfig", reinterpret_cast<Address>(chooseConfig)},
    {"eglCreateContext", reinterpret_cast<Address>(createContext)},
    {"eglCreatePbufferSurface", reinterpret_cast<Address>(createPbufferSurface)},
    {"eglDestroySurface", reinterpret_cast<Address>(destroySurface)},
    {"eglDestroyContext", reinterpret_cast<Address>(destroyContext)},
};

} // namespace

extern "C"
{
  __attribute__((visibility("default"))) EGLDouble* eglDouble()
  {
    return &s_double;
  }

  __attribute__((visibility("default"))) Address eglGetProcAddress(const char* name)
  {
    for (const auto& function : Functions)
      if (std::strcmp(function.name, name) == 0)
        return function.function;
    return real<Address>(name);
  }
}
