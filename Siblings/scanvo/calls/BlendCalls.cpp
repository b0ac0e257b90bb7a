// Mixes, alpha operations and composites.
#include <algorithm>
#include <cmath>

#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "operations/Alpha.h"
#include "operations/Dissolve.h"
#include "operations/MaskComposite.h"

namespace scanvo {
namespace {

constexpr std::int32_t kMaskBits = 8;

struct Pair {
    Source source;
    Destination destination;
};

std::int32_t MakePair(const void* inSource, std::int64_t inSourceRowBytes,
                      SV_PixelFormat inSourceFormat, void* outDestination,
                      std::int64_t inDestinationRowBytes, SV_PixelFormat inDestinationFormat,
                      std::int32_t inWidth, std::int32_t inHeight, Pair& outPair) {
    const std::int32_t result =
        MakePicture(inSource, inSourceRowBytes, inWidth, inHeight, inSourceFormat, outPair.source);
    if (result != kSV_Success) return result;
    return MakePicture(outDestination, inDestinationRowBytes, inWidth, inHeight,
                       inDestinationFormat, outPair.destination);
}

float Clamped(float inAmount) {
    return std::clamp(inAmount, 0.0f, 1.0f);
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

std::int32_t SV_CrossDissolve(const void* inFirst, std::int64_t inFirstRowBytes,
                              SV_PixelFormat inFirstFormat, const void* inSecond,
                              std::int64_t inSecondRowBytes, SV_PixelFormat inSecondFormat,
                              void* outBuffer, std::int64_t inRowBytes, SV_PixelFormat inFormat,
                              std::int32_t inWidth, std::int32_t inHeight, float inAmount,
                              std::int32_t) {
    Pair pair;
    std::int32_t result = MakePair(inFirst, inFirstRowBytes, inFirstFormat, outBuffer, inRowBytes,
                                   inFormat, inWidth, inHeight, pair);
    if (result != kSV_Success) return result;
    Source second;
    result = MakePicture(inSecond, inSecondRowBytes, inWidth, inHeight, inSecondFormat, second);
    if (result != kSV_Success) return result;
    if (std::isnan(inAmount)) return kSV_BadArgument;
    return Run([&] {
        DissolvePictures(pair.source, second, pair.destination, Clamped(inAmount));
        return kSV_Success;
    });
}

std::int32_t SV_InvertAlpha(const void* inSource, std::int64_t inSourceRowBytes,
                            void* outDestination, std::int64_t inDestinationRowBytes,
                            SV_PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight) {
    Pair pair;
    const std::int32_t result = MakePair(inSource, inSourceRowBytes, inFormat, outDestination,
                                         inDestinationRowBytes, inFormat, inWidth, inHeight, pair);
    if (result != kSV_Success) return result;
    return Run([&] {
        InvertAlpha(pair.source, pair.destination);
        return kSV_Success;
    });
}

std::int32_t SV_CopyAndSetAlpha(const void* inSource, std::int64_t inSourceRowBytes,
                                void* outDestination, std::int64_t inDestinationRowBytes,
                                SV_PixelFormat inFormat, std::int32_t inWidth,
                                std::int32_t inHeight, float inAlpha) {
    Pair pair;
    const std::int32_t result = MakePair(inSource, inSourceRowBytes, inFormat, outDestination,
                                         inDestinationRowBytes, inFormat, inWidth, inHeight, pair);
    if (result != kSV_Success) return result;
    if (std::isnan(inAlpha)) return kSV_BadArgument;
    return Run([&] {
        CopyAndSetAlpha(pair.source, pair.destination, inAlpha);
        return kSV_Success;
    });
}

std::int32_t SV_CompositeToBlack(const void* inSource, std::int64_t inSourceRowBytes,
                                 SV_PixelFormat inSourceFormat, void* outDestination,
                                 std::int64_t inDestinationRowBytes,
                                 SV_PixelFormat inDestinationFormat, std::int32_t inWidth,
                                 std::int32_t inHeight, float inOpacity, std::int32_t) {
    Pair pair;
    const std::int32_t result =
        MakePair(inSource, inSourceRowBytes, inSourceFormat, outDestination, inDestinationRowBytes,
                 inDestinationFormat, inWidth, inHeight, pair);
    if (result != kSV_Success) return result;
    if (std::isnan(inOpacity)) return kSV_BadArgument;
    return Run([&] {
        CompositeToBlack(pair.source, pair.destination, Clamped(inOpacity));
        return kSV_Success;
    });
}

std::int32_t SV_OneBitMaskComposite(const void* inA, std::int64_t inARowBytes,
                                    SV_PixelFormat inAFormat, const void* inB,
                                    std::int64_t inBRowBytes, SV_PixelFormat inBFormat,
                                    const void* inMask, std::int64_t inMaskRowBytes,
                                    std::int32_t inMaskBitOffset, void* outBuffer,
                                    std::int64_t inRowBytes, SV_PixelFormat inFormat,
                                    std::int32_t inWidth, std::int32_t inHeight, std::int32_t) {
    Pair pair;
    std::int32_t result = MakePair(inA, inARowBytes, inAFormat, outBuffer, inRowBytes, inFormat,
                                   inWidth, inHeight, pair);
    if (result != kSV_Success) return result;
    Source second;
    result = MakePicture(inB, inBRowBytes, inWidth, inHeight, inBFormat, second);
    if (result != kSV_Success) return result;
    if (inMask == nullptr) return kSV_NullPointer;
    if (!IsReachable(inMaskRowBytes, inHeight)) return kSV_BadSize;
    if (inMaskBitOffset < 0 || inMaskBitOffset >= kMaskBits) return kSV_BadArgument;
    const BitMask mask{static_cast<const std::byte*>(inMask), inMaskRowBytes, inMaskBitOffset};
    return Run([&] {
        CompositeByMask(pair.source, second, mask, pair.destination);
        return kSV_Success;
    });
}
