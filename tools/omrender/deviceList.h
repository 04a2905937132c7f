#ifndef OM_TOOLS_DEVICE_LIST_H
#define OM_TOOLS_DEVICE_LIST_H

class LibraryLog;

/// Prints EGL's devices, and the OpenGL of those that open, as text or as JSON. Throws a Failure when there are none.
void printDevices(bool json, LibraryLog& log);

#endif
