#ifndef OM_TOOLS_WORK_LINE_H
#define OM_TOOLS_WORK_LINE_H

#include "tools/omrender/filter/taskList.h"

/// Reads a line of a list of pictures: a name, or a JSON object {"in": …, "out": …, "set": {…}} with the picture, and
/// if it likes the file for its result and uniforms. Leaves the result empty if the line has none. Throws a Failure if
/// the line makes no sense; then the task has what was read before, the picture first.
void readWorkLine(const OmString& line, FilterTask& task);

#endif
