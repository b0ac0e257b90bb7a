// Memory contexts, bitmaps, brushes and fills.

#include "Contexts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace win32 {
namespace {

std::size_t LineBytes(int inWidth, int inBitsPerPixel) {
    const auto width = static_cast<std::size_t>(inWidth);
    return inBitsPerPixel == 1 ? (width + 15) / 16 * 2 : width * 4;
}

// Null when the screen context is not there; null itself stands for the screen.
std::shared_ptr<Context> NewMemoryContext(HDC inScreen) {
    const LockedObjects objects;
    if (!inScreen) return std::make_shared<Context>(TheScreen());
    const auto likeness = objects->Find<Context>(inScreen);
    return likeness ? std::make_shared<Context>(likeness->screen) : nullptr;
}

// Adds a context with the bitmap that it draws into at first; both or none.
HDC Add(const std::shared_ptr<Context>& inContext, const std::shared_ptr<Bitmap>& inBitmap) {
    inBitmap->isStock = true;
    inBitmap->isCounted = false;
    inContext->bitmap = inBitmap;
    const LockedObjects objects;
    const HANDLE handle = objects->Add(inContext);
    try {
        inContext->firstBitmap = static_cast<HBITMAP>(objects->Add(inBitmap));
    } catch (...) {
        objects->Remove<Context>(handle);
        throw;
    }
    inContext->bitmapHandle = inContext->firstBitmap;
    inBitmap->context = static_cast<HDC>(handle);
    return inBitmap->context;
}

// Whether the bitmap may be selected: a first one belongs to its context for good.
bool IsFor(const Bitmap& inBitmap, const Context& inContext, HDC inHandle, HBITMAP inBitmapHandle) {
    if (inBitmap.isStock) return inBitmapHandle == inContext.firstBitmap;
    return !inBitmap.context || inBitmap.context == inHandle;
}

// ---------------------------------------------------------------------------------------------
// Fills

// Sets or clears bits inFrom to inTo of a byte, counted from the most significant one.
void FillBits(std::uint8_t& ioByte, int inFrom, int inTo, bool inIsSet) {
    const auto bits = static_cast<std::uint8_t>((0xFF >> inFrom) & (0xFF00 >> inTo));
    ioByte = static_cast<std::uint8_t>(inIsSet ? ioByte | bits : ioByte & ~bits);
}

void FillBitLine(std::uint8_t* outLine, int inLeft, int inRight, bool inIsSet) {
    const int first = inLeft / 8;
    const int last = inRight / 8;
    if (first == last) return FillBits(outLine[first], inLeft % 8, inRight % 8, inIsSet);
    FillBits(outLine[first], inLeft % 8, 8, inIsSet);
    std::memset(outLine + first + 1, inIsSet ? 0xFF : 0,
                static_cast<std::size_t>(last - first - 1));
    if (inRight % 8 != 0) FillBits(outLine[last], 0, inRight % 8, inIsSet);
}

void FillColourLine(std::uint8_t* outLine, int inLeft, int inRight, bool inIsWhite) {
    const std::uint8_t value = inIsWhite ? 0xFF : 0;
    const std::array<std::uint8_t, 4> pixel{value, value, value, 0};
    for (std::ptrdiff_t x = inLeft; x < inRight; ++x)
        std::memcpy(outLine + x * 4, pixel.data(), pixel.size());
}

HANDLE AddStockBrush(bool inIsWhite) {
    auto brush = std::make_shared<Brush>(inIsWhite);
    brush->isStock = true;
    brush->isCounted = false;
    return LockedObjects()->Add(std::move(brush));
}

}  // namespace

Bitmap::Bitmap(int inWidth, int inHeight, int inBitsPerPixel, bool inIsBottomUp)
    : width(inWidth),
      height(inHeight),
      bitsPerPixel(inBitsPerPixel),
      isBottomUp(inIsBottomUp),
      lineBytes(LineBytes(inWidth, inBitsPerPixel)),
      bytes(std::make_unique<std::uint8_t[]>(Bytes())) {}

std::ptrdiff_t Bitmap::Step() const {
    const auto step = static_cast<std::ptrdiff_t>(lineBytes);
    return isBottomUp ? -step : step;
}

std::uint8_t* Bitmap::Line(int inLine) const {
    const int stored = isBottomUp ? height - 1 - inLine : inLine;
    return bytes.get() + lineBytes * static_cast<std::size_t>(stored);
}

bool IsPlain(const BITMAPINFOHEADER* inHeader) {
    return inHeader && inHeader->biSize >= sizeof(BITMAPINFOHEADER) && inHeader->biWidth > 0 &&
           inHeader->biHeight != 0 && inHeader->biHeight != std::numeric_limits<LONG>::min() &&
           inHeader->biPlanes == 1 && inHeader->biBitCount == 32 &&
           inHeader->biCompression == BI_RGB;
}

std::shared_ptr<Bitmap> BitmapOf(HDC inContext) {
    const LockedObjects objects;
    const auto context = objects->Find<Context>(inContext);
    return context ? context->bitmap : nullptr;
}

void Fill(const Bitmap& inBitmap, const RECT& inRect, bool inIsWhite) {
    const int left = std::max(inRect.left, 0);
    const int right = std::min(inRect.right, inBitmap.width);
    const int bottom = std::min(inRect.bottom, inBitmap.height);
    if (left >= right) return;
    const auto fillLine = inBitmap.bitsPerPixel == 1 ? FillBitLine : FillColourLine;
    for (int y = std::max(inRect.top, 0); y < bottom; ++y)
        fillLine(inBitmap.Line(y), left, right, inIsWhite);
}

}  // namespace win32

using namespace win32;

// ---------------------------------------------------------------------------------------------
// Contexts

HDC CreateCompatibleDC(HDC inContext) try {
    const auto context = NewMemoryContext(inContext);
    if (!context || !MayAllocate()) return nullptr;
    return Add(context, std::make_shared<Bitmap>(1, 1, 1, false));
} catch (const std::bad_alloc&) {
    return nullptr;
}

BOOL DeleteDC(HDC inContext) {
    const LockedObjects objects;
    const auto context = objects->Find<Context>(inContext);
    if (!context || !context->bitmap) return false;
    context->bitmap->context = nullptr;
    objects->Remove<Bitmap>(context->firstBitmap);
    return objects->Remove<Context>(inContext);
}

HGDIOBJ SelectObject(HDC inContext, HGDIOBJ inObject) {
    const LockedObjects objects;
    const auto context = objects->Find<Context>(inContext);
    const auto bitmap = objects->Find<Bitmap>(inObject);
    const auto handle = static_cast<HBITMAP>(inObject);
    if (!context || !context->bitmap || !bitmap || !IsFor(*bitmap, *context, inContext, handle))
        return nullptr;
    context->bitmap->context = nullptr;
    bitmap->context = inContext;
    context->bitmap = bitmap;
    return std::exchange(context->bitmapHandle, handle);
}

// ---------------------------------------------------------------------------------------------
// Bitmaps and brushes

HBITMAP CreateBitmap(int inWidth, int inHeight, UINT inPlanes, UINT inBitsPerPixel,
                     const void* inBits) {
    const bool isKnown = inPlanes == 1 && (inBitsPerPixel == 1 || inBitsPerPixel == 32);
    if (!isKnown || inWidth <= 0 || inHeight <= 0) return nullptr;
    const HANDLE handle = Make<Bitmap>(inWidth, inHeight, static_cast<int>(inBitsPerPixel), false);
    if (!handle || !inBits) return static_cast<HBITMAP>(handle);
    // Nobody else knows the handle yet.
    const auto bitmap = LockedObjects()->Find<Bitmap>(handle);
    std::memcpy(bitmap->bytes.get(), inBits, bitmap->Bytes());
    return static_cast<HBITMAP>(handle);
}

HBITMAP CreateDIBSection(HDC inContext, const BITMAPINFO* inInfo, UINT inUsage, void** outBits,
                         HANDLE inSection, DWORD inOffset) {
    if (!outBits) return nullptr;
    *outBits = nullptr;
    const bool hasContext = !inContext || LockedObjects()->Find<Context>(inContext);
    if (!hasContext || inUsage != DIB_RGB_COLORS || inSection || inOffset != 0) return nullptr;
    if (!inInfo || !IsPlain(&inInfo->bmiHeader)) return nullptr;
    const BITMAPINFOHEADER& header = inInfo->bmiHeader;
    const LONG lines = header.biHeight;
    const HANDLE handle = Make<Bitmap>(header.biWidth, lines < 0 ? -lines : lines, 32, lines > 0);
    if (handle) *outBits = LockedObjects()->Find<Bitmap>(handle)->bytes.get();
    return static_cast<HBITMAP>(handle);
}

LONG GetBitmapBits(HBITMAP inBitmap, LONG inBytes, LPVOID outBits) {
    const auto bitmap = LockedObjects()->Find<Bitmap>(inBitmap);
    if (!bitmap || !outBits || inBytes <= 0) return 0;
    const std::size_t bytes = std::min(static_cast<std::size_t>(inBytes), bitmap->Bytes());
    auto* const out = static_cast<std::uint8_t*>(outBits);
    int line = 0;
    for (std::size_t done = 0; done < bytes; done += bitmap->lineBytes)
        std::memcpy(out + done, bitmap->Line(line++), std::min(bitmap->lineBytes, bytes - done));
    return static_cast<LONG>(bytes);
}

BOOL DeleteObject(HGDIOBJ inObject) {
    const LockedObjects objects;
    const auto object = objects->Find<GraphicsObject>(inObject);
    if (!object) return false;
    if (object->isStock) return true;
    return !object->context && objects->Remove<GraphicsObject>(inObject);
}

HGDIOBJ GetStockObject(int inIndex) try {
    static const HANDLE white = AddStockBrush(true);
    static const HANDLE black = AddStockBrush(false);
    if (inIndex == WHITE_BRUSH) return white;
    return inIndex == BLACK_BRUSH ? black : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Rectangles

int FillRect(HDC inContext, const RECT* inRect, HBRUSH inBrush) {
    const auto bitmap = BitmapOf(inContext);
    const auto brush = LockedObjects()->Find<Brush>(inBrush);
    if (!bitmap || !brush || !inRect) return 0;
    Fill(*bitmap, *inRect, brush->isWhite);
    return 1;
}
