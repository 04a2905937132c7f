#ifndef OM_TOOLS_INFO_COMMAND_H
#define OM_TOOLS_INFO_COMMAND_H

#include <CLI/App.hpp>

class LibraryLog;

/// Adds `omrender info`: what the OpenGL of the display offers.
void addInfoCommand(CLI::App& program, LibraryLog& log);

#endif
