#include "rows/Chroma.h"

#include <algorithm>

#include "fast/VectorColour.h"
#include "formats/FormatCode.h"

namespace scanvo {

void PlainSpreadChroma(const float* inHalf, std::int32_t inWidth, float* __restrict outFull) {
    const std::int32_t last = HalfWidth(inWidth) - 1;
    for (std::int32_t x = 0; x < last; ++x) {
        outFull[2 * x] = inHalf[x];
        outFull[2 * x + 1] = 0.5f * (inHalf[x] + inHalf[x + 1]);
    }
    outFull[2 * last] = inHalf[last];
    if (inWidth % 2 == 0) outFull[inWidth - 1] = inHalf[last];
}

void PlainHalveChroma(const float* inFull, std::int32_t inWidth, std::int32_t inFirst,
                      std::int32_t inEnd, float* __restrict outHalf) {
    for (std::int32_t x = inFirst; x < inEnd; ++x) {
        const float left = inFull[std::max(2 * x - 1, 0)];
        const float right = inFull[std::min(2 * x + 1, inWidth - 1)];
        outHalf[x] = 0.25f * (left + right) + 0.5f * inFull[2 * x];
    }
}

void SpreadChroma(const float* inHalf, std::int32_t inWidth, float* __restrict outFull) {
    const std::int32_t done = SpreadChromaVectors(inHalf, inWidth, outFull);
    PlainSpreadChroma(inHalf + done, inWidth - 2 * done, outFull + 2 * done);
}

void HalveChroma(const float* inFull, std::int32_t inWidth, float* __restrict outHalf) {
    PlainHalveChroma(inFull, inWidth, 0, 1, outHalf);
    const std::int32_t done = HalveChromaVectors(inFull, inWidth, outHalf);
    PlainHalveChroma(inFull, inWidth, done, HalfWidth(inWidth), outHalf);
}

}  // namespace scanvo
