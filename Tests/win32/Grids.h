// Memory contexts that tests draw into and read.
#pragma once

#include "contracts/Win32.h"
#include "support/Testing.h"

namespace win32_test {

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

using Pixels = std::vector<std::uint32_t>;

template <class At>
Pixels Grid(int inWidth, int inHeight, const At& inAt) {
    Pixels pixels;
    for (int i = 0; i < inWidth * inHeight; ++i)
        pixels.push_back(inAt(i % inWidth, i / inWidth));
    return pixels;
}

/// A memory context with a bitmap.
class Canvas {
  public:
    Canvas(HBITMAP inBitmap, int inWidth, int inHeight, int inBits = 32)
        : width_(inWidth), height_(inHeight), bits_(inBits), bitmap_(inBitmap) {}
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() {
        SelectObject(context_, before_);
        DeleteObject(bitmap_);
        DeleteDC(context_);
    }

    HDC Context() const { return context_; }

    /// White ones of a 1-bit bitmap are 0xFFFFFF.
    Pixels Read() const {
        const int step = bits_ == 1 ? (width_ + 15) / 16 * 2 : width_ * 4;
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(step * height_));
        GetBitmapBits(bitmap_, static_cast<LONG>(bytes.size()), bytes.data());
        return Grid(width_, height_, [&](int x, int y) {
            const std::uint8_t* const line = bytes.data() + y * step;
            std::uint32_t pixel = 0;
            if (bits_ == 1) return (line[x / 8] >> (7 - x % 8) & 1) != 0 ? 0xFFFFFFU : 0U;
            std::memcpy(&pixel, line + x * 4, 4);
            return pixel;
        });
    }

  private:
    int width_, height_, bits_;
    HDC context_ = CreateCompatibleDC(nullptr);
    HBITMAP bitmap_;
    HGDIOBJ before_ = SelectObject(context_, bitmap_);
};

inline HBRUSH Brush(int inStock) {
    return static_cast<HBRUSH>(GetStockObject(inStock));
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
