#ifndef OM_TYPES_H
#define OM_TYPES_H

/// \file
/// The types of numbers, flags and texts in the interfaces of the libraries.

#include <cstdint>
#include <string>

/// Marks a class, function or datum as part of a shared library's interface; everything else stays inside it.
#define OM_EXPORT __attribute__((visibility("default")))

/// Keeps a private operation of such a class inside the library.
#define OM_INTERNAL __attribute__((visibility("hidden")))

using OmU8 = std::uint8_t;    ///< An unsigned byte: one channel of one pixel.
using OmU32 = std::uint32_t;  ///< An unsigned 32-bit integer: sizes in pixels, GL names and GL enumerants.
using OmBoolean = bool;       ///< What an operation that can fail returns: true on success.
using OmString = std::string; ///< A byte string. Its encoding is the caller's: no byte is converted.

#endif
