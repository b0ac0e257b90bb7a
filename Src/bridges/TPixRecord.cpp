// Records as they are, without their frames; and what older code asks of the screen.
#include <cstring>

#include "VideoFrame/TPix.h"

namespace {

// Products of lines and bytes keep 32 bits, as older code computes them.
std::int32_t Product(std::int32_t inLeft, std::int32_t inRight) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(inLeft) *
                                     static_cast<std::uint32_t>(inRight));
}

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint32_t kWhite = 0x00FFFFFF;

}  // namespace

void tpixGetBounds(TPixHand inHandle, tagRECT* outBounds) {
    *outBounds = (*inHandle)->bounds;
}

std::int32_t tpixGetRowbytes(TPixHand inHandle) {
    return (*inHandle)->rowbytes;
}

void* tpixGetPixels(TPixHand inHandle) {
    return (*inHandle)->pixels;
}

int tpixLockPixels(TPixHand) {
    return 0;
}

int tpixUnlockPixels(TPixHand) {
    return 0;
}

void* tpixTopLine(void* inPixels, std::int32_t inRowBytes, std::int32_t inLines) {
    return static_cast<std::byte*>(inPixels) + Product(inLines - 1, inRowBytes);
}

void* tpixNextLine(void* inLine, std::int32_t inRowBytes) {
    return static_cast<std::byte*>(inLine) - inRowBytes;
}

int tpixCalcNextSkip(int inRowBytes, int inWidth) {
    return -inRowBytes - 4 * inWidth;
}

std::uint32_t tpixGetPixel(TPixHand inHandle, std::int32_t inX, std::int32_t inY) {
    const TPix& record = **inHandle;
    const tagRECT& bounds = record.bounds;
    if (inX < 0 || inX >= bounds.right || inY < 0 || inY >= bounds.bottom) return kWhite;
    const std::int64_t line = bounds.bottom - bounds.top - 1 - inY;
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, record.pixels + line * record.rowbytes + inX * std::int64_t{kPixelBytes},
                kPixelBytes);
    return pixel & kWhite;
}

void tpixFillAlpha(TPixHand inHandle, std::uint8_t inAlpha) {
    const TPix& record = **inHandle;
    const std::int32_t width = record.bounds.right - record.bounds.left;
    const std::int32_t height = record.bounds.bottom - record.bounds.top;
    const std::uint32_t alpha = std::uint32_t{inAlpha} << 24;
    for (std::int32_t y = 0; y < height; ++y) {
        std::uint8_t* const line = record.pixels + std::int64_t{y} * record.rowbytes;
        for (std::int32_t x = 0; x < width; ++x) {
            std::uint8_t* const place = line + x * std::int64_t{kPixelBytes};
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, place, kPixelBytes);
            pixel = (pixel & kWhite) | alpha;
            std::memcpy(place, &pixel, kPixelBytes);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Sizes of rows

namespace {

/// Bytes before rounding, in 32 bits.
std::uint32_t TightRowBytes(std::uint32_t inWidth, std::int32_t inDepth) {
    switch (inDepth) {
        case 1:
            return inWidth / 8 + (inWidth % 8 != 0 ? 1 : 0);
        case 4:
            return inWidth / 2 + inWidth % 2;
        case 8:
            return inWidth;
        case 16:
            return inWidth * 2;
        case 24:
            return inWidth * 3;
        default:
            return 0;
    }
}

}  // namespace

std::uint32_t CalcRowBytes(std::uint32_t inWidth, std::int32_t inDepth) {
    if (inDepth == 32) return inWidth * 4;
    const std::uint32_t bytes = TightRowBytes(inWidth, inDepth);
    return (bytes & 0xFFFC) + ((bytes & 3) != 0 ? 4 : 0);
}

// ---------------------------------------------------------------------------------------------
// The screen

namespace {

/// The screen's device context, for a scope.
class ScreenContext {
  public:
    ScreenContext() : context_(GetDC(nullptr)) {}
    ~ScreenContext() { ReleaseDC(nullptr, context_); }
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;

    int Get(int inIndex) const { return GetDeviceCaps(context_, inIndex); }

  private:
    HDC context_;
};

}  // namespace

int GetScreenColors() {
    const ScreenContext screen;
    return screen.Get((screen.Get(RASTERCAPS) & RC_PALETTE) != 0 ? SIZEPALETTE : NUMCOLORS);
}

std::int16_t GetScreenDepth() {
    const ScreenContext screen;
    const int planes = screen.Get(PLANES);
    return static_cast<std::int16_t>(planes >= 2 ? planes : screen.Get(BITSPIXEL));
}
