#ifndef OM_TOOLS_SHOW_COMMAND_H
#define OM_TOOLS_SHOW_COMMAND_H

#include <CLI/App.hpp>

class LibraryLog;

/// Adds `omrender show`: shows pictures in a window and captures what it shows.
void addShowCommand(CLI::App& program, LibraryLog& log);

#endif
