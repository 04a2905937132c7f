#ifndef OM_WAIT_FOR_INPUT_H
#define OM_WAIT_FOR_INPUT_H

#include <vector>

/// Waits until one of the descriptors can be read, or for that many seconds, or for ever if those are negative. -1 is
/// no descriptor. Returns whether one can be read. A signal that the program handles ends the wait.
bool omWaitForInput(double seconds, const std::vector<int>& descriptors);

#endif
