#include "tools/infoCommand.h"

#include "render/omGL.h"
#include "tools/glInformation.h"
#include "tools/libraryLog.h"

#include <cstdio>
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

#define OM_CAPABILITY(name)                                                                                            \
  {                                                                                                                    \
#name, OmGL::name                                                                                                  \
  }
constexpr Capability Capabilities[] = {
    OM_CAPABILITY(SupportOpenGL),
    OM_CAPABILITY(SupportVSync),
    OM_CAPABILITY(SupportPBuffer),
    OM_CAPABILITY(SupportNPOT),
    OM_CAPABILITY(SupportShaders),
    OM_CAPABILITY(SupportFloatTexture),
    OM_CAPABILITY(SupportFloatClamp),
    OM_CAPABILITY(SupportFBO),
    OM_CAPABILITY(SupportVBO),
    OM_CAPABILITY(SupportDrawBuffers),
    OM_CAPABILITY(SupportTextureRectangle),
    OM_CAPABILITY(SupportNVFloatBuffer),
    OM_CAPABILITY(SupportGeometryShader),
    OM_CAPABILITY(SupportOcclusionQuery),
    OM_CAPABILITY(SupportIntegerTexture),
    OM_CAPABILITY(SupportGPUShader4),
    OM_CAPABILITY(SupportGL13),
    OM_CAPABILITY(SupportGL20),
};
#undef OM_CAPABILITY

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

void printText(const GLInformation& gl)
{
  std::cout << std::left;
  for (const Text& text : Texts)
    std::cout << std::setw(28) << text.label << gl.*text.value << '\n';
  for (const Limit& limit : Limits)
    std::cout << std::setw(28) << limit.label << (gl.*limit.value ? std::to_string(gl.*limit.value) : "not supported")
              << '\n';
  for (const Capability& capability : Capabilities)
    std::cout << std::setw(28) << capability.name << (isSet(gl, capability) ? "yes" : "no") << '\n';
}

/// A JSON string. Bytes outside ASCII count as Latin-1, so that the result is valid whatever a driver calls itself.
OmString jsonString(const OmString& text)
{
  OmString json = "\"";
  for (const char character : text)
  {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x20 && byte < 0x7f && character != '"' && character != '\\')
    {
      json += character;
      continue;
    }
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(byte));
    json += escape;
  }
  return json + '"';
}

void printJson(const GLInformation& gl)
{
  std::cout << "{\n";
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
  std::cout << "\n  }\n}\n";
}

} // namespace

void addInfoCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("info", "Tell what the OpenGL of the display offers");
  const auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "Print JSON; a limit of something that is not supported is null");
  command->footer("Examples:\n"
                  "  omrender info\n"
                  "  omrender info --json | jq .limits.textureSize\n"
                  "  OM_PRINT_LEVEL=1 omrender info    # with the library's own report on standard error");
  command->callback(
      [json, &log]
      {
        const GLInformation gl = queryGL(log);
        if (*json)
          printJson(gl);
        else
          printText(gl);
      });
}
