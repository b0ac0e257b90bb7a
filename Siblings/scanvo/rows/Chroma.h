// Chroma between one sample for every pixel and one for every other pixel of a row.
//
// A sample of a 4:2:2 row lies on the first pixel of its pair (BT.601, BT.709). Rows are thought of
// as going on with their last sample. Both are what the weights of Filters.h give for a triangle
// between the two grids, written out.
#pragma once

#include <cstdint>

namespace scanvo {

/// To inWidth samples: pixels between two samples get their mean.
void SpreadChroma(const float* inHalf, std::int32_t inWidth, float* __restrict outFull);

/// From inWidth samples: every other one, filtered with 1/4, 1/2, 1/4.
void HalveChroma(const float* inFull, std::int32_t inWidth, float* __restrict outHalf);

/// Without vectors, for the ends of rows and to hold vectors against. The second gives the samples
/// from inFirst to before inEnd only.
void PlainSpreadChroma(const float* inHalf, std::int32_t inWidth, float* __restrict outFull);
void PlainHalveChroma(const float* inFull, std::int32_t inWidth, std::int32_t inFirst,
                      std::int32_t inEnd, float* __restrict outHalf);

}  // namespace scanvo
