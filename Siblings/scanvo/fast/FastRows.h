// Fast roads: conversions of rows between two packed formats in one go, laid over the general road
// of RowPlan.h. A pair without one takes the general road; the results differ by no more than
// rounding.
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/FormatCode.h"

namespace scanvo {

/// Converts inWidth pixels. Reads and writes the bytes of these pixels only. The rows may be the
/// same when a pixel has as many bytes in both formats, and must not overlap otherwise.
using ConvertRow = void (*)(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth);

/// Null when the pair has no fast road.
ConvertRow FastRowBetween(const Format& inSource, const Format& inDestination);

}  // namespace scanvo
