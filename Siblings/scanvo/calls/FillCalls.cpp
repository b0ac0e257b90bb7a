// Fills.
#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "operations/Fill.h"

namespace scanvo {
namespace {

std::int32_t Fill(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                  std::int32_t inHeight, SV_PixelFormat inFormat, FillValue inValue) {
    Destination destination;
    const std::int32_t result =
        MakePicture(outBuffer, inRowBytes, inWidth, inHeight, inFormat, destination);
    if (result != kSV_Success) return result;
    FillWithValue(destination, inValue);
    return kSV_Success;
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

std::int32_t SV_FillWithOpaqueBlack(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                    std::int32_t inHeight, SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::OpaqueBlack);
}

std::int32_t SV_FillWithOpaqueWhite(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                    std::int32_t inHeight, SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::OpaqueWhite);
}

std::int32_t SV_FillWithTransparentBlack(void* outBuffer, std::int64_t inRowBytes,
                                         std::int32_t inWidth, std::int32_t inHeight,
                                         SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::TransparentBlack);
}

std::int32_t SV_FillWithTransparentWhite(void* outBuffer, std::int64_t inRowBytes,
                                         std::int32_t inWidth, std::int32_t inHeight,
                                         SV_PixelFormat inFormat) {
    return Fill(outBuffer, inRowBytes, inWidth, inHeight, inFormat, FillValue::TransparentWhite);
}

std::int32_t SV_FillWithColor(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                              std::int32_t inHeight, SV_PixelFormat inFormat, const void* inPixel,
                              SV_PixelFormat inPixelFormat) {
    Destination destination;
    std::int32_t result =
        MakePicture(outBuffer, inRowBytes, inWidth, inHeight, inFormat, destination);
    if (result != kSV_Success) return result;
    Source pixel;
    result = MakePicture(inPixel, 0, 1, 1, inPixelFormat, pixel);
    if (result != kSV_Success) return result;
    FillWithPixel(destination, pixel);
    return kSV_Success;
}
