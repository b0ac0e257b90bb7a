#include "Patterns.h"

namespace manipulators_test {
namespace {

// Pixels also where the runs begin and end in which pixels are looked at.
TEST(AlphaBounds, HoldEveryCoveredPixel) {
    constexpr std::int32_t kWidth = 700;
    for (const std::int32_t left : {0, 1, 187, 188, 255, 256, 257, 443, 444, 511, 512, 698, 699}) {
        for (const std::int32_t right : {0, 100, 188, 256, 443, 512, 699}) {
            const Canvas canvas = PaintPlain(kWidth, 9);
            canvas.Set(left, 7, {0, 0, 0, 1});
            canvas.Set(right, 7, {0, 0, 0, 255});
            canvas.Set(350, 2, {0, 0, 0, 255});
            Brix::Rect bounds;
            CalculateAlphaBounds(canvas.frame, bounds);
            const auto [first, last] = std::minmax({left, right, 350});
            EXPECT_EQ(bounds, (Brix::Rect{first, 2, last + 1, 8}));
        }
    }
}

TEST(AlphaBounds, KnowTheAlphaOfEachFormat) {
    using namespace tulomediatypes;
    constexpr Brix::Rect kNone{}, kPixel{1, 0, 2, 1}, kAll{0, 0, 4, 2};
    // Bytes at the end of the pixel at (1, 0), and what is in them.
    const std::tuple<PixelFormat, std::uint32_t, std::uint64_t, Brix::Rect> kCases[] = {
        {kPixelFormat_VUYA_4444_8u, 4, 0x01000000, kPixel},
        {kPixelFormat_VUYA_4444_8u_709, 4, 0x00FFFFFF, kNone},
        {kPixelFormat_BGRA_4444_16u, 8, 0x0001000000000000, kPixel},
        {kPixelFormat_VUYA_4444_16u, 8, 0x0000FFFFFFFFFFFF, kNone},
        // -0.5, not a number, -0
        {kPixelFormat_BGRA_4444_32f, 4, 0xBF000000, kPixel},
        {kPixelFormat_VUYA_4444_32f, 4, 0x7FC00000, kPixel},
        {kPixelFormat_VUYA_4444_32f_709, 4, 0x80000000, kNone},
        {kPixelFormat_ARGB_4444_8u, 4, 0, kAll},
        {kPixelFormat_BGRA_4444_15u, 8, 0, kAll},
        {kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601, 0, 0, kAll},
    };
    for (const auto& [format, bytes, pixelEnd, expected] : kCases) {
        const VF::VideoFrameRef frame = MakeFrame(4, 2, format);
        const auto memory = Ask<VF::IVideoFrameMemoryAccess>(frame);
        std::memset(memory->GetData(), 0, memory->GetDataSize());
        if (bytes != 0) {
            const auto rows = Ask<VF::IVideoFrame2DPixelMemoryAccess>(frame);
            const std::uint32_t end = rows->GetRowBytes() + 2 * rows->GetPixelSize();
            std::memcpy(Data(frame) + end - bytes, &pixelEnd, bytes);
        }
        frame->SetReadOnly(true);
        Brix::Rect bounds;
        CalculateAlphaBounds(frame, bounds);
        EXPECT_EQ(bounds, expected) << std::hex << format.code;
    }
}

TEST(Alpha, IsInvertedOrMadeOpaqueWhereItCounts) {
    const auto withAlpha = [](int first, int step) {
        return [=](std::int32_t x, std::int32_t y) {
            Pixel pixel = PatternAt(x, y);
            pixel[3] = static_cast<std::uint8_t>(first + step * x);
            return pixel;
        };
    };
    const Canvas canvas = Paint(3, 6, withAlpha(0, 40));
    InvertAlpha(canvas.frame);
    ExpectPixels(canvas, withAlpha(255, -40));
    OpaqueAlpha(canvas.frame);
    ExpectPixels(canvas, PatternAt);
    EXPECT_EQ(canvas.frame->GetAlphaType(), 3u);
    InvertAlpha(canvas.frame);
    ExpectPixels(canvas, PatternAt);

    const Canvas ignored{MakeFrame(3, 6, tulomediatypes::kPixelFormat_BGRX_4444_8u)};
    std::memset(Data(ignored.frame), 7, 72);
    InvertAlpha(ignored.frame);
    OpaqueAlpha(ignored.frame);
    ExpectPixels(ignored, [](std::int32_t, std::int32_t) { return Pixel{7, 7, 7, 7}; });
    EXPECT_EQ(ignored.frame->GetAlphaType(), 1u);
}

}  // namespace
}  // namespace manipulators_test
