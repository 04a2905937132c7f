#include "tools/omrender/infoCommand.h"

#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowImplEGL.h"
#include "tools/omrender/backEnd.h"
#include "tools/omrender/deviceList.h"
#include "tools/omrender/display.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/jsonString.h"

#include <boost/pointer_cast.hpp>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>

namespace
{

struct Capability
{
  const char* name;
  OmU32 bit;
};

constexpr Capability Capabilities[] = {
    {"SupportOpenGL", OmGL::SupportOpenGL},
    {"SupportVSync", OmGL::SupportVSync},
    {"SupportPBuffer", OmGL::SupportPBuffer},
    {"SupportNPOT", OmGL::SupportNPOT},
    {"SupportShaders", OmGL::SupportShaders},
    {"SupportFloatTexture", OmGL::SupportFloatTexture},
    {"SupportFloatClamp", OmGL::SupportFloatClamp},
    {"SupportFBO", OmGL::SupportFBO},
    {"SupportVBO", OmGL::SupportVBO},
    {"SupportDrawBuffers", OmGL::SupportDrawBuffers},
    {"SupportTextureRectangle", OmGL::SupportTextureRectangle},
    {"SupportNVFloatBuffer", OmGL::SupportNVFloatBuffer},
    {"SupportGeometryShader", OmGL::SupportGeometryShader},
    {"SupportOcclusionQuery", OmGL::SupportOcclusionQuery},
    {"SupportIntegerTexture", OmGL::SupportIntegerTexture},
    {"SupportGPUShader4", OmGL::SupportGPUShader4},
    {"SupportGL13", OmGL::SupportGL13},
    {"SupportGL20", OmGL::SupportGL20},
};

struct Text
{
  const char* key;
  const char* label;
  OmString GLInformation::*value;
};

constexpr Text Texts[] = {
    {"renderer", "renderer", &GLInformation::renderer},
    {"vendor", "vendor", &GLInformation::vendor},
    {"version", "OpenGL version", &GLInformation::version},
};

struct Limit
{
  const char* key;
  const char* label;
  OmU32 GLInformation::*value;
};

constexpr Limit Limits[] = {
    {"textureSize", "largest texture", &GLInformation::textureSize},
    {"rectangleTextureSize", "largest rectangle texture", &GLInformation::rectangleTextureSize},
    {"viewportWidth", "largest viewport width", &GLInformation::viewportWidth},
    {"viewportHeight", "largest viewport height", &GLInformation::viewportHeight},
    {"textureUnits", "texture units", &GLInformation::textureUnits},
    {"drawBuffers", "draw buffers", &GLInformation::drawBuffers},
    {"colorAttachments", "colour attachments", &GLInformation::colorAttachments},
};

bool isSet(const GLInformation& gl, const Capability& capability)
{
  return (gl.capabilities & capability.bit) == capability.bit;
}

/// Where the window is: on the display or on a device, the other of the two being empty.
struct Place
{
  OmString display;
  OmString device; ///< EGL's number
  OmString driver; ///< of that device
};

Place placeOf(const OmWindow& window)
{
  if (OmWindow::getImplType() != OmWindow::ImplEGL)
  {
    const char* const display = std::getenv("DISPLAY");
    return {display ? display : "", {}, {}};
  }
  const auto& device = boost::static_pointer_cast<OmWindow::Impl::EGL>(window.getImpl())->device();
  return {{}, std::to_string(device.number), device.driver};
}

OmString formatText(const OmImageReaderWriter::FormatSupport& format)
{
  if (!format.isRead)
    return "not built in";
  return format.isWritten ? "read and written" : "read";
}

void printText(const GLInformation& gl, const Place& place)
{
  std::cout << std::left << std::setw(28) << "opened on"
            << (place.device.empty() ? "the display " + place.display
                                     : "device " + place.device + " of EGL (" + place.driver + "), without a display")
            << '\n';
  for (const Text& text : Texts)
    std::cout << std::setw(28) << text.label << gl.*text.value << '\n';
  for (const Limit& limit : Limits)
    std::cout << std::setw(28) << limit.label << (gl.*limit.value ? std::to_string(gl.*limit.value) : "not supported")
              << '\n';
  for (const Capability& capability : Capabilities)
    std::cout << std::setw(28) << capability.name << (isSet(gl, capability) ? "yes" : "no") << '\n';
  for (const OmImageReaderWriter::FormatSupport& format : OmImageReaderWriter::formats())
    if (!format.suffixes.empty()) // raw pixels have no files
      std::cout << std::setw(28) << format.name + " pictures" << formatText(format) << '\n';
}

void printJson(const GLInformation& gl, const Place& place)
{
  const bool isEGL = !place.device.empty();
  std::cout << "{\n  \"backEnd\": " << (isEGL ? "\"egl\"" : "\"x11\"")
            << ",\n  \"display\": " << (isEGL ? "null" : jsonString(place.display))
            << ",\n  \"device\": " << (isEGL ? place.device : "null") << ",\n";
  for (const Text& text : Texts)
    std::cout << "  \"" << text.key << "\": " << jsonString(gl.*text.value) << ",\n";
  const char* separator = "";
  std::cout << "  \"limits\": {";
  for (const Limit& limit : Limits)
  {
    std::cout << separator << "\n    \"" << limit.key
              << "\": " << (gl.*limit.value ? std::to_string(gl.*limit.value) : "null");
    separator = ",";
  }
  separator = "";
  std::cout << "\n  },\n  \"capabilities\": {";
  for (const Capability& capability : Capabilities)
  {
    std::cout << separator << "\n    \"" << capability.name << "\": " << (isSet(gl, capability) ? "true" : "false");
    separator = ",";
  }
  separator = "";
  std::cout << "\n  },\n  \"formats\": {";
  for (const OmImageReaderWriter::FormatSupport& format : OmImageReaderWriter::formats())
    if (!format.suffixes.empty())
    {
      std::cout << separator << "\n    \"" << format.name << "\": {\"read\": " << (format.isRead ? "true" : "false")
                << ", \"written\": " << (format.isWritten ? "true" : "false") << "}";
      separator = ",";
    }
  std::cout << "\n  }\n}\n";
}

struct InfoOptions
{
  bool json = false;
  bool devices = false;
  BackEndChoice backEnd;
};

void info(const InfoOptions& options, LibraryLog& log)
{
  if (options.devices)
  {
    if (options.backEnd.type || !options.backEnd.device.empty())
      throw CLI::ValidationError("--devices", "lists them all; leave out --backend and --device");
    printDevices(options.json, log);
    return;
  }
  OmSimpleWindow window;
  window.setHideWindow(true);
  openWindow(window, options.backEnd, BackEndOrder::DisplayFirst, log);
  const GLInformation gl = currentGL();
  if (options.json)
    printJson(gl, placeOf(window));
  else
    printText(gl, placeOf(window));
}

} // namespace

void addInfoCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("info", "Tell what the OpenGL of a window offers");
  const auto options = std::make_shared<InfoOptions>();
  command->add_flag("--json", options->json, "Print JSON; what is not supported or not known is null");
  addBackEndOptions(*command, options->backEnd, "x11, else egl");
  command->add_flag("--devices", options->devices, "List instead the devices that EGL can open without a display");
  command->footer("Examples:\n"
                  "  omrender info\n"
                  "  omrender info --devices\n"
                  "  omrender info --json | jq .limits.textureSize\n"
                  "  OM_PRINT_LEVEL=1 omrender info    # also the library's own report");
  command->callback([options, &log] { info(*options, log); });
}
