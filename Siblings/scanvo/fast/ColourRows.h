// Fast roads between R'G'B' and Y'CbCr of 8 and 10 bits, in 4:4:4 and 4:2:2.
#pragma once

#include "fast/FastRows.h"

namespace scanvo {

/// Null when the pair is not one of these.
ConvertRow FindColourRow(const Format& inSource, const Format& inDestination);

}  // namespace scanvo
