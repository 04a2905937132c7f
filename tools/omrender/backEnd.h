#ifndef OM_TOOLS_BACK_END_H
#define OM_TOOLS_BACK_END_H

#include "render/omWindow.h"

#include <CLI/App.hpp>

#include <optional>

class LibraryLog;

/// What the user wants a window to be opened by.
struct BackEndChoice
{
  std::optional<OmWindow::ImplType> type; ///< by --backend
  OmString device;                        ///< by --device, as OmWindow::Impl::EGL::setDevice() takes it
};

/// What comes first when the user leaves the choice.
enum class BackEndOrder
{
  HardwareFirst, ///< EGL on hardware, then the display, then EGL in software
  DisplayFirst   ///< the display, then EGL, hardware before software
};

/// Adds the option --device.
void addDeviceOption(CLI::App& command, OmString& device);

/// Adds the options --backend and --device. `order` says in the help what comes first.
void addBackEndOptions(CLI::App& command, BackEndChoice& choice, const OmString& order);

/// Opens a window by the first back end that can; a device that the user names, by --device or OM_RENDER_DEVICE, is
/// EGL's. When none can, throws a Failure, and each back end has a line on standard error that says why.
void openWindow(OmWindow& window, const BackEndChoice& choice, BackEndOrder order, LibraryLog& log);

#endif
