#ifndef OM_TOOLS_FILTER_COMMAND_LINE_H
#define OM_TOOLS_FILTER_COMMAND_LINE_H

#include "tools/omrender/filter/filterPipeline.h"

/// The command line that filters a picture with these settings into the file `out`, as a shell takes it.
OmString filterCommandLine(const FilterSettings& settings, const OmString& picture, const OmString& out);

#endif
