// Conversions by way of rows of 16-bit numbers with half chroma.
#pragma once

#include "formats/Picture.h"

namespace scanvo {

/// Between pictures of one size, of 8 or 10 bits, of which at least one has half chroma. False,
/// with nothing written, for others and where there are no vectors.
bool ConvertByHalfRows(const Source& inSource, const Destination& outDestination);

}  // namespace scanvo
