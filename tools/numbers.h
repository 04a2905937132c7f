#ifndef OM_TOOLS_NUMBERS_H
#define OM_TOOLS_NUMBERS_H

#include "image/omImageBlock.h"

#include <optional>
#include <utility>
#include <vector>

/// The numbers that users write. Each reader takes the whole text, without spaces, and gives nothing when it is not
/// what is asked for.

/// A duration in seconds, 0 to 1000000, fractions included.
std::optional<double> readSeconds(const OmString& text);
/// "X,Y", each from 0 to `largest`.
std::optional<OmPixel> readPosition(const OmString& text, OmU32 largest);
/// "X,Y,WIDTH,HEIGHT" with neither size 0.
std::optional<OmImageBlock> readBlock(const OmString& text);
/// "WIDTHxHEIGHT", neither 0.
std::optional<std::pair<OmU32, OmU32>> readSize(const OmString& text);
/// A whole number from 1 to `largest`.
std::optional<int> readCount(const OmString& text, int largest);
/// Up to three numbers with commas between them, each one that a float can hold.
std::optional<std::vector<float>> readFloats(const OmString& text);
/// "iN" or "iN,iM": one or two whole numbers.
std::optional<std::vector<int>> readIntegers(const OmString& text);

#endif
