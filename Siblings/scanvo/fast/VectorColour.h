// The steps of Colour.h and Chroma.h with vectors.
#pragma once

#include "rows/Colour.h"

namespace scanvo {

/// Null for a step without a vector form, and where there are no vectors.
RunColourStep VectorColourStep(ColourStep inStep);

/// As SpreadChroma and HalveChroma, as far as vectors go: the chroma samples done, which are those
/// of whole vectors away from the ends of the row. Halving leaves out the first sample, which
/// counts as done.
std::int32_t SpreadChromaVectors(const float* inHalf, std::int32_t inWidth,
                                 float* __restrict outFull);
std::int32_t HalveChromaVectors(const float* inFull, std::int32_t inWidth,
                                float* __restrict outHalf);

}  // namespace scanvo
