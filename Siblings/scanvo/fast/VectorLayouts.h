// The loads and stores of RowLayouts.h with vectors.
#pragma once

#include "rows/RowLayouts.h"

namespace scanvo {

struct RowFunctions {
    LoadRow load = nullptr;
    StoreRow store = nullptr;
};

/// Null for a layout without vector forms, and where there are no vectors.
RowFunctions VectorLayoutOf(const Format& inFormat);

}  // namespace scanvo
