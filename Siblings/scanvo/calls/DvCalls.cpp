// Merges of compressed frames.
#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "dv/DvCodec.h"

namespace scanvo {
namespace {

constexpr SV_PixelFormat kDv25Lines525{0x01000021};
constexpr SV_PixelFormat kDv25Lines625{0x02000021};

// The output may be an input, so it is written last.
std::int32_t Merge(const void* inFirst, const void* inSecond, void* outFrame,
                   const Format& inFormat) {
    if (inFirst == nullptr || inSecond == nullptr || outFrame == nullptr) return kSV_NullPointer;
    return Run([&]() -> std::int32_t {
        std::optional<DvPicture> merged = DecodeDv(inFirst, inFormat);
        const std::optional<DvPicture> second = DecodeDv(inSecond, inFormat);
        if (!merged || !second || !TakeSecondField(*second, *merged)) return kSV_BadData;
        return EncodeDv(*merged, outFrame) ? kSV_Success : kSV_UnsupportedFormat;
    });
}

}  // namespace
}  // namespace scanvo

using namespace scanvo;

std::int32_t SV_MergeDV(const void* inFirst, const void* inSecond, void* outFrame,
                        std::int32_t inFrameBytes, std::int32_t) {
    for (const SV_PixelFormat code : {kDv25Lines525, kDv25Lines625}) {
        const Format format = *DecodeFormat(code);
        if (PictureBytes(format, 1, 1) == inFrameBytes) {
            return Merge(inFirst, inSecond, outFrame, format);
        }
    }
    return kSV_BadSize;
}

std::int32_t SV_MergeDVCPRO(const void* inFirst, const void* inSecond, void* outFrame,
                            SV_PixelFormat inFormat, std::int32_t) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    const bool isOwn = format && format->layout == Layout::Compressed &&
                       inFormat != kDv25Lines525 && inFormat != kDv25Lines625;
    return isOwn ? Merge(inFirst, inSecond, outFrame, *format) : kSV_UnsupportedFormat;
}
