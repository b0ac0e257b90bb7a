// Device contexts and what they draw with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Objects.h"

namespace win32 {

/// What DeleteObject deletes.
struct GraphicsObject : Object {
    bool isStock = false;   ///< deleting it makes no difference
    HDC context = nullptr;  ///< that it is selected into
};

struct Bitmap : GraphicsObject {
    Bitmap(int inWidth, int inHeight, int inBitsPerPixel, bool inIsBottomUp);

    std::size_t Bytes() const { return lineBytes * static_cast<std::size_t>(height); }
    /// From one line of the picture down to the next.
    std::ptrdiff_t Step() const;
    /// A line of the picture; 0 is the top one.
    std::uint8_t* Line(int inLine) const;

    const int width;
    const int height;
    const int bitsPerPixel;
    const bool isBottomUp;
    const std::size_t lineBytes;
    const std::unique_ptr<std::uint8_t[]> bytes;
};

struct Brush : GraphicsObject {
    explicit Brush(bool inIsWhite) : isWhite(inIsWhite) {}

    const bool isWhite;
};

struct Context : Object {
    explicit Context(const Screen& inScreen) : screen(inScreen) {}

    const Screen screen;
    std::shared_ptr<Bitmap> bitmap;  ///< null: this is the screen's
    HBITMAP bitmapHandle = nullptr;
    HBITMAP firstBitmap = nullptr;  ///< which it had from the start, and nobody else can use
};

/// What contexts made from now on show. Only while objects are locked.
Screen& TheScreen();

/// Whether the header is of an uncompressed 32-bit bitmap of a size that can be; null is not.
bool IsPlain(const BITMAPINFOHEADER* inHeader);

/// Where a context draws; null for one that is not there or does not draw into memory.
std::shared_ptr<Bitmap> BitmapOf(HDC inContext);

/// Fills a rectangle, cut to the bitmap.
void Fill(const Bitmap& inBitmap, const RECT& inRect, bool inIsWhite);

}  // namespace win32
