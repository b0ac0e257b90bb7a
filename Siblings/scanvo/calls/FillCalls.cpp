// Fills.
#include "calls/AnyPicture.h"
#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "operations/Fill.h"

namespace scanvo {
namespace {

// Opens the picture and lets inWork write it.
template <class Work>
std::int32_t RunOn(const DescribedDestination& inPicture, const Work& inWork) {
    return Run([&]() -> std::int32_t {
        Output output;
        const std::int32_t result = output.Open(inPicture);
        if (result != kSV_Success) return result;
        inWork(output.Picture());
        return output.Close();
    });
}

std::int32_t Fill(void* outBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                  std::int32_t inHeight, SV_PixelFormat inFormat, FillValue inValue) {
    return RunOn({outBuffer, inRowBytes, inWidth, inHeight, inFormat},
                 [inValue](const Destination& picture) { FillWithValue(picture, inValue); });
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
    Source pixel;
    const std::int32_t result = MakePicture(inPixel, 0, 1, 1, inPixelFormat, pixel);
    if (result != kSV_Success) return result;
    return RunOn({outBuffer, inRowBytes, inWidth, inHeight, inFormat},
                 [&](const Destination& picture) { FillWithPixel(picture, pixel); });
}
