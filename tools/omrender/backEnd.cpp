#include "tools/omrender/backEnd.h"

#include "render/omWindowImplEGL.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/parsedOption.h"

#include <cstdlib>
#include <vector>

namespace
{

struct Attempt
{
  OmWindow::ImplType type;
  OmString device;           ///< EGL's; empty for the first that opens
  bool isTriedAgain = false; ///< a later attempt reports what this one found as well
};

bool isSet(const char* variable)
{
  const char* const value = std::getenv(variable);
  return value && *value;
}

std::vector<Attempt> attempts(const BackEndChoice& choice, BackEndOrder order)
{
  const Attempt display{OmWindow::ImplX11, {}};
  const Attempt egl{OmWindow::ImplEGL, choice.device};
  if (choice.type == OmWindow::ImplX11 && !choice.device.empty())
    throw CLI::ValidationError("--device", "names a device of EGL; leave out --backend x11");
  if (choice.type)
    return {*choice.type == OmWindow::ImplX11 ? display : egl};
  if (!choice.device.empty() || isSet("OM_RENDER_DEVICE"))
    return {egl};
  if (order == BackEndOrder::DisplayFirst)
    return {display, egl};
  if (!isSet("DISPLAY"))
    return {egl, display};
  // To look for hardware EGL only lists its devices; opening the software one would cost as much as the display.
  return {{OmWindow::ImplEGL, "hardware", true}, display, egl};
}

std::optional<OmWindow::ImplType> readBackEnd(const OmString& text)
{
  if (text == "egl")
    return OmWindow::ImplEGL;
  if (text == "x11")
    return OmWindow::ImplX11;
  return std::nullopt;
}

} // namespace

void addDeviceOption(CLI::App& command, OmString& device)
{
  command.add_option("--device", device, "The device, for egl; omrender info --devices lists them")->type_name("NAME");
}

void addBackEndOptions(CLI::App& command, BackEndChoice& choice, const OmString& order)
{
  addParsedOption(command, "--backend", "egl|x11", choice.type, readBackEnd, "egl or x11",
                  "What opens the window (" + order + ")");
  addDeviceOption(command, choice.device);
}

void openWindow(OmWindow& window, const BackEndChoice& choice, BackEndOrder order, LibraryLog& log)
{
  std::vector<OmString> failures;
  for (const Attempt& attempt : attempts(choice, order))
  {
    OmWindow::setImplType(attempt.type);
    OmWindow::Impl::EGL::setDevice(attempt.device);
    window.setImpl({});
    const OmString failure = tryToOpen(window, log);
    if (failure.empty())
      return;
    if (!attempt.isTriedAgain)
      failures.push_back(failure);
  }
  const OmString last = failures.back();
  failures.pop_back();
  for (const OmString& failure : failures)
    printFailure("omrender", failure);
  throw Failure(last, NoCard);
}
