#include "raster/BitMask.h"

#include <limits>

namespace VF {
namespace {

struct DeleteBitmap {
    using pointer = HBITMAP;
    void operator()(HBITMAP inBitmap) const { DeleteObject(inBitmap); }
};

struct DeleteContext {
    using pointer = HDC;
    void operator()(HDC inContext) const { DeleteDC(inContext); }
};

using Bitmap = std::unique_ptr<HBITMAP, DeleteBitmap>;
using MemoryContext = std::unique_ptr<HDC, DeleteContext>;

/// A bitmap whose bits are set where the region is; null when there is no memory.
Bitmap DrawRegion(HRGN inRegion, std::int32_t inWidth, std::int32_t inHeight) {
    Bitmap bitmap(CreateBitmap(inWidth, inHeight, 1, 1, nullptr));
    const MemoryContext context(CreateCompatibleDC(nullptr));
    if (!bitmap || !context) return nullptr;
    const HGDIOBJ before = SelectObject(context.get(), bitmap.get());
    const RECT whole = {0, 0, inWidth, inHeight};
    const bool isDrawn =
        FillRect(context.get(), &whole, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH))) != 0 &&
        FillRgn(context.get(), inRegion, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH))) != 0;
    SelectObject(context.get(), before);
    return isDrawn ? std::move(bitmap) : nullptr;
}

}  // namespace

MaskBlock MakeRegionMask(HRGN inRegion, std::int32_t inWidth, std::int32_t inHeight) {
    const std::int64_t bytes = MaskLineBytes(inWidth) * inHeight;
    if (bytes > std::numeric_limits<LONG>::max()) return nullptr;
    MaskBlock mask(static_cast<std::uint8_t*>(TvNewPtr(bytes)));
    if (!mask) return nullptr;
    const Bitmap bitmap = DrawRegion(inRegion, inWidth, inHeight);
    if (!bitmap || GetBitmapBits(bitmap.get(), static_cast<LONG>(bytes), mask.get()) != bytes)
        return nullptr;
    return mask;
}

}  // namespace VF
