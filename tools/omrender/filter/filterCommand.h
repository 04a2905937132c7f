#ifndef OM_TOOLS_FILTER_COMMAND_H
#define OM_TOOLS_FILTER_COMMAND_H

#include <CLI/App.hpp>

class LibraryLog;

/// Adds `omrender filter`: runs a fragment shader over pictures and writes the results.
void addFilterCommand(CLI::App& program, LibraryLog& log);

#endif
