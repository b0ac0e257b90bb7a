// Fast roads that keep the colour: other byte orders, other component depths, other forms of alpha.
#pragma once

#include "fast/FastRows.h"

namespace scanvo {

/// Null when the pair is not one of these.
ConvertRow FindDepthRow(const Format& inSource, const Format& inDestination);

}  // namespace scanvo
