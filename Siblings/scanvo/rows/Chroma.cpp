#include "rows/Chroma.h"

#include "formats/FormatCode.h"

namespace scanvo {

void SpreadChroma(const float* inHalf, std::int32_t inWidth, float* __restrict outFull) {
    const std::int32_t last = HalfWidth(inWidth) - 1;
    for (std::int32_t x = 0; x < last; ++x) {
        outFull[2 * x] = inHalf[x];
        outFull[2 * x + 1] = 0.5f * (inHalf[x] + inHalf[x + 1]);
    }
    outFull[2 * last] = inHalf[last];
    if (inWidth % 2 == 0) outFull[inWidth - 1] = inHalf[last];
}

void HalveChroma(const float* inFull, std::int32_t inWidth, float* __restrict outHalf) {
    const auto filtered = [](float left, float centre, float right) {
        return 0.25f * (left + right) + 0.5f * centre;
    };
    const std::int32_t last = HalfWidth(inWidth) - 1;
    const auto leftOf = [inFull](std::int32_t x) { return x > 0 ? inFull[2 * x - 1] : inFull[0]; };
    outHalf[0] = filtered(leftOf(0), inFull[0], inFull[inWidth > 1 ? 1 : 0]);
    for (std::int32_t x = 1; x < last; ++x) {
        outHalf[x] = filtered(inFull[2 * x - 1], inFull[2 * x], inFull[2 * x + 1]);
    }
    outHalf[last] = filtered(leftOf(last), inFull[2 * last], inFull[inWidth - 1]);
}

}  // namespace scanvo
