#ifndef OM_VERSION_H
#define OM_VERSION_H

/// \file
/// The version.

/// The version of the library that a file was compiled with. `strings` finds it in each object file of the library.
__attribute__((used)) static const char omVersion[] = "3.0.0";

#endif
