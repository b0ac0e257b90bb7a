// Memory contexts that tests draw into and read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "contracts/Win32.h"

namespace win32_test {

/// A memory context with a bitmap.
class Canvas {
  public:
    Canvas(HBITMAP inBitmap, int inWidth)
        : width_(inWidth), bitmap_(inBitmap), before_(SelectObject(context_, bitmap_)) {}
    Canvas(int inWidth, int inHeight)
        : Canvas(CreateBitmap(inWidth, inHeight, 1, 1, nullptr), inWidth) {}
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() {
        SelectObject(context_, before_);
        DeleteObject(bitmap_);
        DeleteDC(context_);
    }

    HDC Context() const { return context_; }

    /// Of a 1-bit bitmap: whether each pixel is white, line after line.
    std::vector<bool> Bits(int inHeight) const {
        const int lineBytes = (width_ + 15) / 16 * 2;
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(lineBytes * inHeight));
        GetBitmapBits(bitmap_, static_cast<LONG>(bytes.size()), bytes.data());
        std::vector<bool> bits;
        for (int y = 0; y < inHeight; ++y) {
            for (int x = 0; x < width_; ++x)
                bits.push_back(
                    (bytes[static_cast<std::size_t>(y * lineBytes + x / 8)] >> (7 - x % 8) & 1) !=
                    0);
        }
        return bits;
    }

    /// Of a 32-bit bitmap.
    std::vector<std::uint32_t> Pixels(int inHeight) const {
        std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width_ * inHeight));
        GetBitmapBits(bitmap_, static_cast<LONG>(pixels.size() * 4), pixels.data());
        return pixels;
    }

  private:
    int width_;
    HDC context_ = CreateCompatibleDC(nullptr);
    HBITMAP bitmap_;
    HGDIOBJ before_;
};

inline HBRUSH White() {
    return static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
}

inline HBRUSH Black() {
    return static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
}

inline BITMAPINFOHEADER Header(int inWidth, int inHeight) {
    return {sizeof(BITMAPINFOHEADER), inWidth, inHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
}

/// A bitmap of 32 bits a pixel, bottom-up unless the height is negative.
inline HBITMAP Section(int inWidth, int inHeight, void** outBits) {
    const BITMAPINFO info{Header(inWidth, inHeight), {}};
    return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, outBits, nullptr, 0);
}

}  // namespace win32_test
