#ifndef OM_TOOLS_OPTION_VALUES_H
#define OM_TOOLS_OPTION_VALUES_H

#include "image/omImageBlock.h"

#include <cstdint>
#include <optional>
#include <utility>

/// Readers for the values of options. Each takes the whole text, without spaces, and returns nothing when the text is
/// not of its form.

/// A number from `smallest` to `largest`, fractions included.
std::optional<double> readNumber(const OmString& text, double smallest, double largest);
/// A duration in seconds, 0 to 1000000, fractions included.
std::optional<double> readSeconds(const OmString& text);
/// "X,Y", each from 0 to `largest`.
std::optional<OmPixel> readPosition(const OmString& text, OmU32 largest);
/// The name of a file to write as PNG: with the suffix .png, in capitals too, or without one. Not "-", the usual name
/// of the standard output.
std::optional<OmString> readPngName(const OmString& text);
/// What readPngName() takes, for messages.
constexpr char PngNameForm[] = "the name of a file, with the suffix .png or without one";
/// "X,Y,WIDTH,HEIGHT" with neither size 0.
std::optional<OmImageBlock> readBlock(const OmString& text);
/// "WIDTHxHEIGHT", neither 0.
std::optional<std::pair<OmU32, OmU32>> readSize(const OmString& text);
/// A whole number from 1 to `largest`.
std::optional<int> readCount(const OmString& text, int largest);
/// A size in bytes of at least 1: a whole number, or one with K, M, G or T behind it, powers of 1024.
std::optional<std::uint64_t> readBytes(const OmString& text);

#endif
