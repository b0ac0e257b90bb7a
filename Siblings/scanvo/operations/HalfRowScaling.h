// Scales of 8- and 10-bit pictures with half chroma, without leaving their numbers.
#pragma once

#include "formats/Picture.h"
#include "rows/Filters.h"

namespace scanvo {

/// Between two pictures of half chroma that lies alike in both, in one matrix: luma and chroma are
/// filtered each on its own grid, chroma of field pictures within its field. False, with nothing
/// written, for others, for very small ones, where one is many times larger than the other, and
/// where there are no vectors for it.
bool ScaleHalfRows(const Source& inSource, const Destination& outDestination, const Axis& inDown);

}  // namespace scanvo
