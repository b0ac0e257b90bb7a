// Pixels of 8-bit 4:4:4:4 frames, in display coordinates.
#pragma once

#include "support/Frames.h"

namespace support {

/// One 8-bit pixel of four bytes.
using Pixel = std::array<std::uint8_t, 4>;

/// 8-bit 4:4:4:4 frames.
struct Canvas {
    VF::VideoFrameRef frame;

    std::int32_t Width() const { return frame->GetBounds().Width(); }
    std::int32_t Height() const { return frame->GetBounds().Height(); }

    std::byte* Place(std::int32_t inX, std::int32_t inY) const {
        const auto rows = Ask<VF::IVideoFrame2DPixelMemoryAccess>(frame);
        const std::int64_t rowBytes = static_cast<std::int32_t>(rows->GetRowBytes());
        return Data(frame) + rowBytes * (Height() - 1 - inY) + 4 * inX;
    }
    Pixel At(std::int32_t inX, std::int32_t inY) const {
        Pixel pixel;
        std::memcpy(pixel.data(), Place(inX, inY), 4);
        return pixel;
    }
    void Set(std::int32_t inX, std::int32_t inY, const Pixel& inPixel) const {
        std::memcpy(Place(inX, inY), inPixel.data(), 4);
    }
};

template <class ColourAt>
Canvas Paint(std::int32_t inWidth, std::int32_t inHeight, const ColourAt& inColourAt) {
    const Canvas canvas{
        MakeFrame(static_cast<std::uint32_t>(inWidth), static_cast<std::uint32_t>(inHeight))};
    for (std::int32_t y = 0; y < inHeight; ++y) {
        for (std::int32_t x = 0; x < inWidth; ++x)
            canvas.Set(x, y, inColourAt(x, y));
    }
    return canvas;
}

template <class ColourAt>
void ExpectPixels(const Canvas& inCanvas, const ColourAt& inColourAt) {
    for (std::int32_t y = 0; y < inCanvas.Height(); ++y) {
        for (std::int32_t x = 0; x < inCanvas.Width(); ++x)
            ASSERT_EQ(inCanvas.At(x, y), inColourAt(x, y)) << "at " << x << ", " << y;
    }
}

}  // namespace support
