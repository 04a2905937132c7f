#include "tools/omrender/deviceList.h"

#include "render/omWindowImplEGL.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/jsonString.h"
#include "tools/omrender/libraryLog.h"

#include <iomanip>
#include <iostream>
#include <vector>

namespace
{

struct ListedDevice
{
  OmWindow::Impl::EGL::Device device;
  GLInformation gl; ///< empty when the device does not open
};

/// A property in words, empty when it is not known.
struct Property
{
  const char* key;
  const char* label;
  bool isString; ///< in JSON
  OmString (*value)(const ListedDevice&);
};

OmString numberOrNothing(int number)
{
  return number < 0 ? "" : std::to_string(number);
}

constexpr Property Properties[] = {
    {"number", "device", false, [](const ListedDevice& listed) { return numberOrNothing(listed.device.number); }},
    {"driver", "driver", true, [](const ListedDevice& listed) { return listed.device.driver; }},
    {"software", "software", false,
     [](const ListedDevice& listed) { return OmString(listed.device.isSoftware ? "true" : "false"); }},
    {"renderNode", "render node", true, [](const ListedDevice& listed) { return listed.device.renderNode; }},
    {"pciAddress", "PCI address", true, [](const ListedDevice& listed) { return listed.device.pciAddress; }},
    {"cudaNumber", "CUDA number", false,
     [](const ListedDevice& listed) { return numberOrNothing(listed.device.cudaNumber); }},
    {"opens", "opens", false,
     [](const ListedDevice& listed) { return OmString(listed.device.opens ? "true" : "false"); }},
    {"answer", "answer", true, [](const ListedDevice& listed) { return listed.device.answer; }},
    {"renderer", "renderer", true, [](const ListedDevice& listed) { return listed.gl.renderer; }},
    {"version", "OpenGL version", true, [](const ListedDevice& listed) { return listed.gl.version; }},
    {"textureSize", "largest texture", false,
     [](const ListedDevice& listed) { return listed.gl.textureSize ? std::to_string(listed.gl.textureSize) : ""; }},
};

void printText(const ListedDevice& listed)
{
  for (const Property& property : Properties)
  {
    OmString value = property.value(listed);
    if (value == "true" || value == "false")
      value = value == "true" ? "yes" : "no";
    if (!value.empty())
      std::cout << std::left << std::setw(28) << property.label << value << '\n';
  }
}

void printJson(const ListedDevice& listed)
{
  const char* separator = "  {";
  for (const Property& property : Properties)
  {
    const OmString value = property.value(listed);
    std::cout << separator << "\n    \"" << property.key << "\": "
              << (value.empty()       ? "null"
                  : property.isString ? jsonString(value)
                                      : value);
    separator = ",";
  }
  std::cout << "\n  }";
}

/// Opens a window on each device. One that gives no OpenGL for a window does not open.
std::vector<ListedDevice> listDevices(LibraryLog& log)
{
  OmWindow::setImplType(OmWindow::ImplEGL);
  std::vector<ListedDevice> result;
  for (const OmWindow::Impl::EGL::Device& device : OmWindow::Impl::EGL::devices())
  {
    ListedDevice& listed = result.emplace_back(ListedDevice{device, {}});
    if (!device.opens)
      continue;
    OmWindow::Impl::EGL::setDevice(std::to_string(device.number));
    try
    {
      listed.gl = queryGL(log);
    }
    catch (const Failure& failure)
    {
      listed.device.opens = false;
      listed.device.answer = failure.what();
    }
  }
  return result;
}

} // namespace

void printDevices(bool json, LibraryLog& log)
{
  const std::vector<ListedDevice> devices = listDevices(log);
  if (devices.empty())
    queryGL(log); // fails and says why there are none
  const char* separator = json ? "[\n" : "";
  for (const ListedDevice& listed : devices)
  {
    std::cout << separator;
    json ? printJson(listed) : printText(listed);
    separator = json ? ",\n" : "\n";
  }
  if (json)
    std::cout << "\n]\n";
}
