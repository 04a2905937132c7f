#ifndef OM_TOOLS_INFO_COMMAND_H
#define OM_TOOLS_INFO_COMMAND_H

#include <CLI/App.hpp>

class LibraryLog;

/// Adds `omrender info`: what the OpenGL of a window offers, and which devices there are.
void addInfoCommand(CLI::App& program, LibraryLog& log);

#endif
