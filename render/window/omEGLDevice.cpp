#include "render/window/omEGLDevice.h"

#include "foundation/common/omUtils.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace
{

/// The numbers of a PCI address, "65:00.0" or with a domain before it. Empty for other texts.
std::vector<unsigned> pciNumbers(const OmString& text)
{
  if (text.find_first_not_of("0123456789abcdefABCDEF:.") != OmString::npos)
    return {};
  std::vector<unsigned> numbers(4);
  int length = 0;
  const char* const address = text.c_str();
  if (std::sscanf(address, "%x:%x:%x.%x%n", &numbers[0], &numbers[1], &numbers[2], &numbers[3], &length) == 4 &&
      !address[length])
    return numbers;
  numbers[0] = 0;
  if (std::sscanf(address, "%x:%x.%x%n", &numbers[1], &numbers[2], &numbers[3], &length) == 3 && !address[length])
    return numbers;
  return {};
}

OmString textOrNothing(const char* text)
{
  return text ? text : "";
}

} // namespace

OmEGLDevice::OmEGLDevice(EGLDeviceEXT handle, int number) : m_handle(handle)
{
  m_description.number = number;
}

std::vector<OmEGLDevice> OmEGLDevice::all(const OmEGL& egl)
{
  std::vector<OmEGLDevice> devices;
  const bool lists = egl.hasExtension("EGL_EXT_device_enumeration") || egl.hasExtension("EGL_EXT_device_base");
  EGLint count = 0;
  if (lists && egl.hasExtension("EGL_EXT_platform_device") && egl.queryDevices(0, nullptr, &count) && count > 0)
  {
    std::vector<EGLDeviceEXT> handles(static_cast<std::size_t>(count));
    if (!egl.queryDevices(count, handles.data(), &count))
      count = 0;
    for (int number = 0; number < count; ++number)
    {
      devices.push_back(OmEGLDevice(handles[static_cast<std::size_t>(number)], number));
      devices.back().describe(egl);
    }
  }
  if (devices.empty() && egl.hasExtension("EGL_MESA_platform_surfaceless"))
    devices.push_back(OmEGLDevice(EGL_NO_DEVICE_EXT, 0));
  return devices;
}

void OmEGLDevice::describe(const OmEGL& egl)
{
  // Without an answer here the user may not use the device, and some drivers crash when they are asked for more.
  const char* const extensions = egl.queryDeviceString(m_handle, EGL_EXTENSIONS);
  if (!extensions)
  {
    m_description.answer = egl.failure("eglQueryDeviceStringEXT");
    return;
  }
  m_description.isSoftware = OmEGL::isListed(extensions, "EGL_MESA_device_software");
  if (OmEGL::isListed(extensions, "EGL_EXT_device_drm_render_node"))
    m_description.renderNode = textOrNothing(egl.queryDeviceString(m_handle, EGL_DRM_RENDER_NODE_FILE_EXT));
  if (OmEGL::isListed(extensions, "EGL_EXT_device_persistent_id"))
    m_description.driver = textOrNothing(egl.queryDeviceString(m_handle, EGL_DRIVER_NAME_EXT));
  EGLAttrib cudaNumber = 0;
  if (OmEGL::isListed(extensions, "EGL_NV_device_cuda") &&
      egl.queryDeviceAttrib(m_handle, EGL_CUDA_DEVICE_NV, &cudaNumber))
    m_description.cudaNumber = static_cast<int>(cudaNumber);
  const bool hasCard = OmEGL::isListed(extensions, "EGL_EXT_device_drm");
  const OmString card = textOrNothing(hasCard ? egl.queryDeviceString(m_handle, EGL_DRM_DEVICE_FILE_EXT) : nullptr);
  findPciAddress(m_description.renderNode.empty() ? card : m_description.renderNode);
}

/// EGL names a device's files only; Linux knows where on the bus each of them is.
void OmEGLDevice::findPciAddress(const OmString& file)
{
  const OmString link = "/sys/class/drm/" + file.substr(file.rfind('/') + 1) + "/device";
  std::array<char, PATH_MAX> target = {};
  if (file.empty() || readlink(link.c_str(), target.data(), target.size() - 1) < 0)
    return;
  const OmString path = target.data(); // "../../../0000:65:00.0"
  const OmString last = path.substr(path.rfind('/') + 1);
  if (!pciNumbers(last).empty())
    m_description.pciAddress = last;
}

OmString OmEGLDevice::names() const
{
  const Description& d = m_description;
  OmString others;
  for (const OmString& name :
       {d.renderNode, d.pciAddress, d.cudaNumber < 0 ? "" : "cuda:" + OmINT2STRING(d.cudaNumber, 10),
        OmString(d.isSoftware ? "software" : "")})
    if (!name.empty())
      others += (others.empty() ? " (" : ", ") + name;
  return OmINT2STRING(d.number, 10) + others + (others.empty() ? "" : ")");
}

bool OmEGLDevice::isNamed(const OmString& name) const
{
  const Description& d = m_description;
  if (name == "software")
    return d.isSoftware;
  if (name == "hardware") // what EGL_MESA_platform_surfaceless takes is not known before it opens
    return !d.isSoftware && m_handle != EGL_NO_DEVICE_EXT;
  if (name == OmINT2STRING(d.number, 10) || name == d.renderNode)
    return true;
  if (d.cudaNumber >= 0 && name == "cuda:" + OmINT2STRING(d.cudaNumber, 10))
    return true;
  const std::vector<unsigned> address = pciNumbers(name);
  return !address.empty() && address == pciNumbers(d.pciAddress);
}

EGLDisplay OmEGLDevice::open(const OmEGL& egl)
{
  if (!m_description.answer.empty())
    return EGL_NO_DISPLAY;
  const bool isListed = m_handle != EGL_NO_DEVICE_EXT;
  const EGLDisplay display = isListed
                                 ? egl.getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, m_handle, nullptr)
                                 : egl.getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display == EGL_NO_DISPLAY)
    m_description.answer = egl.failure("eglGetPlatformDisplayEXT") + reasonOfNode();
  else if (!egl.initialize(display, nullptr, nullptr))
    m_description.answer = egl.failure("eglInitialize") + reasonOfNode();
  else if (!OmEGL::isListed(egl.queryString(display, EGL_CLIENT_APIS), "OpenGL"))
    m_description.answer = "it has no OpenGL, only OpenGL ES";
  m_description.opens = m_description.answer.empty();
  if (!m_description.opens)
    return EGL_NO_DISPLAY;

  const char* const extensions = egl.queryString(display, EGL_EXTENSIONS);
  if (m_description.driver.empty() && OmEGL::isListed(extensions, "EGL_MESA_query_driver"))
    m_description.driver = textOrNothing(egl.getDisplayDriverName(display));
  if (m_description.driver.empty())
    m_description.driver = textOrNothing(egl.queryString(display, EGL_VENDOR));
  // EGL_MESA_platform_surfaceless does not say what it took; these are the names of Mesa's software renderers.
  if (!isListed)
    m_description.isSoftware = m_description.driver == "swrast" || m_description.driver == "kms_swrast";
  return display;
}

/// What the render node adds to a failure.
OmString OmEGLDevice::reasonOfNode() const
{
  const OmString& node = m_description.renderNode;
  if (node.empty() || access(node.c_str(), R_OK | W_OK) == 0)
    return "";
  if (errno == EACCES)
    return ", no permission on " + node + " (add the user to the group render)";
  return OmString(", ") + std::strerror(errno) + " for " + node + " (give the container the device)";
}
