// Fast roads between R'G'B' and Y'CbCr of 8 and 10 bits, in 4:4:4 and 4:2:2.
#pragma once

#include "fast/FastRows.h"

namespace scanvo {

/// Null when the pair is not one of these.
ConvertRow FindColourRow(const Format& inSource, const Format& inDestination);

/// Converts the means of two by two pixels: inWidth of them, from two rows twice as wide. Reads and
/// writes the bytes of these pixels only.
using HalveRow = void (*)(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                          std::int32_t inWidth);

/// From 8-bit 4:2:2 to pixels of four bytes, chroma spread before it is halved; null when the pair
/// is not one of these.
HalveRow FindHalvingColourRow(const Format& inSource, const Format& inDestination);

}  // namespace scanvo
