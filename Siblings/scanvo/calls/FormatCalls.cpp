// Questions about formats and memory, and the calls that bracket all others.
//
// No call keeps anything between calls but memory, so all work outside SV_Initialize and
// SV_Terminate too.
#include <atomic>
#include <optional>

#include "calls/Checks.h"
#include "contracts/Scanvo.h"
#include "fast/Bytes.h"
#include "rows/KeptTables.h"
#include "rows/Scratch.h"

namespace scanvo {
namespace {

std::atomic<std::int32_t> initializeCount{0};

}  // namespace
}  // namespace scanvo

using namespace scanvo;

void SV_Initialize() {
    ++initializeCount;
}

void SV_Terminate() {
    std::int32_t count = initializeCount;
    while (count > 0 && !initializeCount.compare_exchange_weak(count, count - 1)) {
    }
    if (count != 1) return;
    ReleaseThreadScratch();
    ReleaseThreadTables();
}

std::int32_t SV_ClipBufferToRect(void* inBuffer, std::int64_t inRowBytes, std::int32_t inWidth,
                                 std::int32_t inHeight, SV_PixelFormat inFormat,
                                 std::int32_t inLeft, std::int32_t inTop, void** outPixel) {
    if (inBuffer == nullptr || outPixel == nullptr) return kSV_NullPointer;
    const std::optional<Format> format = DecodeFormat(inFormat);
    if (!format) return kSV_UnsupportedFormat;
    if (inWidth < 0 || inHeight < 0 || inLeft < 0 || inTop < 0) return kSV_BadSize;
    if (inLeft == 0 && inTop == 0) {
        *outPixel = inBuffer;
        return kSV_Success;
    }
    if (!HasAddressableRows(*format) || inLeft % format->unitPixels != 0 ||
        !IsReachable(inRowBytes, inTop)) {
        return kSV_BadSize;
    }
    // As a number, since the place need not lie in the buffer.
    const auto distance = static_cast<std::uintptr_t>(inRowBytes * inTop);
    *outPixel = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(inBuffer) + distance +
                                        static_cast<std::uintptr_t>(UsedRowBytes(*format, inLeft)));
    return kSV_Success;
}

std::int64_t SV_PixelFormatSize(SV_PixelFormat inFormat, std::int32_t inWidth,
                                std::int32_t inHeight) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    return format ? PictureBytes(*format, inWidth, inHeight) : 0;
}

bool SV_IsOriginBottomLeft(SV_PixelFormat inFormat) {
    const std::optional<Format> format = DecodeFormat(inFormat);
    return format && HasAddressableRows(*format);
}

void SV_CopyMemory(void* outDestination, const void* inSource, std::uint64_t inByteCount) {
    if (outDestination == nullptr || inSource == nullptr) return;
    CopyBytes(outDestination, inSource, inByteCount);
}
