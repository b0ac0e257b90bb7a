// Two rows of one format mixed component by component.
#pragma once

#include <cstddef>

#include "formats/FormatCode.h"

namespace scanvo {

/// Writes first + (second - first) * inAmount, the amount between 0 and 1, over inBytes bytes: a
/// whole number of components, of v210 a whole number of words. The output may be an input.
/// Integers are rounded to nearest, halves up; those of 8 and 10 bits take the amount in steps of
/// 1/32768.
using MixRow = void (*)(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                        std::size_t inBytes, float inAmount);

/// For a format whose rows are addressable.
MixRow FindMixRow(const Format& inFormat);

}  // namespace scanvo
