#ifndef OM_TOOLS_FILTER_OPTIONS_H
#define OM_TOOLS_FILTER_OPTIONS_H

#include "tools/omrender/filter/filterPipeline.h"

#include <CLI/App.hpp>

/// Adds the options that describe a filter, except those for its back end.
void addFilterOptions(CLI::App& command, FilterSettings& settings);

/// The paths of the files that make a filter: its shaders and the pictures of --texture. Throws a Failure when there is
/// no such shader.
std::vector<OmString> filterFiles(const FilterSettings& settings);

/// Lets Mesa's software renderer draw with all processors that there are, unless the environment says otherwise: a
/// filter may take longer than reading and writing. Mesa itself does not know the limits of containers. To be called
/// before a context is opened.
void setDrawingThreads();

#endif
