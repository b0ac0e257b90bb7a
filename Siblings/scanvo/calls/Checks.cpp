#include "calls/Checks.h"

#include <limits>

namespace scanvo {
namespace {

// Rows that overlap would be written over one another.
bool AreRowsApart(std::int64_t inRowBytes, std::int64_t inUsedRowBytes) {
    return inRowBytes >= inUsedRowBytes || inRowBytes <= -inUsedRowBytes;
}

}  // namespace

bool IsReachable(std::int64_t inRowBytes, std::int32_t inRow) {
    const std::int64_t limit = std::numeric_limits<std::int64_t>::max() / (std::int64_t{inRow} + 1);
    return inRowBytes >= -limit && inRowBytes <= limit;
}

std::int32_t CheckPicture(const void* inStart, std::int64_t inRowBytes, std::int32_t inWidth,
                          std::int32_t inHeight, const std::optional<Format>& inFormat) {
    if (inStart == nullptr) return kSV_NullPointer;
    if (!inFormat || inFormat->layout == Layout::Compressed) return kSV_UnsupportedFormat;
    if (inFormat->layout == Layout::Planar)
        return PictureBytes(*inFormat, inWidth, inHeight) > 0 ? kSV_Success : kSV_BadSize;
    if (inWidth <= 0 || inHeight <= 0 || !IsReachable(inRowBytes, inHeight)) return kSV_BadSize;
    if (inHeight > 1 && !AreRowsApart(inRowBytes, UsedRowBytes(*inFormat, inWidth))) {
        return kSV_BadSize;
    }
    return kSV_Success;
}

}  // namespace scanvo
