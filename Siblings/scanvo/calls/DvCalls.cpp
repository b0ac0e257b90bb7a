// Merges of compressed frames.
#include <cstring>
#include <memory>

#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "dv/DvCodec.h"
#include "dv/DvSegments.h"

namespace scanvo {
namespace {

constexpr SV_PixelFormat kDv25Lines525{0x01000021};
constexpr SV_PixelFormat kDv25Lines625{0x02000021};

// What differs is decoded and encoded anew; everything else stays as it is. The output may be an
// input, so it is written last.
std::int32_t Merge(const void* inFirst, const void* inSecond, void* outFrame,
                   const Format& inFormat) {
    if (inFirst == nullptr || inSecond == nullptr || outFrame == nullptr) return kSV_NullPointer;
    const auto* const first = static_cast<const std::byte*>(inFirst);
    const auto* const second = static_cast<const std::byte*>(inSecond);
    const auto bytes = static_cast<std::size_t>(PictureBytes(inFormat, 1, 1));
    if (!HoldsDifSequences(first, bytes) || !HoldsDifSequences(second, bytes)) return kSV_BadData;
    if (HaveSameVideo(first, second, bytes)) {
        std::memmove(outFrame, inFirst, bytes);
        return kSV_Success;
    }
    return Run([&]() -> std::int32_t {
        std::optional<DvPicture> merged = DecodeDv(inFirst, inFormat);
        const std::optional<DvPicture> other = DecodeDv(inSecond, inFormat);
        if (!merged || !other || !TakeSecondField(*other, *merged)) return kSV_BadData;
        const auto encoded = std::make_unique_for_overwrite<std::byte[]>(bytes);
        if (!EncodeDv(*merged, encoded.get())) return kSV_UnsupportedFormat;
        TakeMergedSegments(first, second, encoded.get(), static_cast<std::byte*>(outFrame), bytes);
        return kSV_Success;
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
