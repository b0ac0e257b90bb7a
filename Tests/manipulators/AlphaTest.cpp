#include <limits>
#include <random>

#include "Patterns.h"

namespace manipulators_test {
namespace {

TEST(AlphaBounds, HoldEveryCoveredPixel) {
    std::mt19937 random(3);
    Brix::Rect bounds;
    for (int round = 0; round < 60; ++round) {
        const std::int32_t width = round % 2 == 0 ? 700 : 40;
        const Canvas canvas = PaintPlain(width, 9);
        Brix::Rect expected{width, 9, 0, 0};
        for (int i = 0; i < 1 + round % 4; ++i) {
            // The first one also where a run of pixels begins.
            const auto x =
                static_cast<std::int32_t>((i == 0 ? 64 * static_cast<unsigned>(round) : random()) %
                                          static_cast<unsigned>(width));
            const auto y = static_cast<std::int32_t>(random() % 9);
            canvas.Set(x, y, {0, 0, 0, i == 0 ? std::uint8_t{1} : std::uint8_t{255}});
            expected = {std::min(expected.left, x), std::min(expected.top, y),
                        std::max(expected.right, x + 1), std::max(expected.bottom, y + 1)};
        }
        CalculateAlphaBounds(canvas.frame, bounds);
        ASSERT_EQ(bounds, expected) << round;
    }
}

TEST(AlphaBounds, KnowTheAlphaOfEachFormat) {
    using namespace tulomediatypes;
    constexpr Brix::Rect kNone{};
    constexpr Brix::Rect kPixel{1, 0, 2, 1};
    constexpr Brix::Rect kAll{0, 0, 4, 2};
    constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
    const auto bitsOf = [](float value) { return std::bit_cast<std::uint32_t>(value); };
    // Bytes at the end of the pixel at (1, 0), and what is in them.
    const std::tuple<PixelFormat, std::uint32_t, std::uint64_t, Brix::Rect> kCases[] = {
        {kPixelFormat_VUYA_4444_8u, 4, 0x01000000, kPixel},
        {kPixelFormat_VUYA_4444_8u_709, 4, 0x00FFFFFF, kNone},
        {kPixelFormat_BGRA_4444_16u, 8, 0x0001000000000000, kPixel},
        {kPixelFormat_VUYA_4444_16u, 8, 0x0000FFFFFFFFFFFF, kNone},
        {kPixelFormat_BGRA_4444_32f, 4, bitsOf(-0.5f), kPixel},
        {kPixelFormat_VUYA_4444_32f, 4, bitsOf(kNotANumber), kPixel},
        {kPixelFormat_VUYA_4444_32f_709, 4, bitsOf(-0.0f), kNone},
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
    const Canvas canvas = Paint(6, 3, withAlpha(0, 40));
    InvertAlpha(canvas.frame);
    ExpectPixels(canvas, withAlpha(255, -40));
    OpaqueAlpha(canvas.frame);
    ExpectPixels(canvas, PatternAt);
    EXPECT_EQ(canvas.frame->GetAlphaType(), 3u);
    InvertAlpha(canvas.frame);
    ExpectPixels(canvas, PatternAt);

    const Canvas ignored{MakeFrame(6, 3, tulomediatypes::kPixelFormat_BGRX_4444_8u)};
    std::memset(Data(ignored.frame), 7, 72);
    InvertAlpha(ignored.frame);
    OpaqueAlpha(ignored.frame);
    ExpectPixels(ignored, [](std::int32_t, std::int32_t) { return Pixel{7, 7, 7, 7}; });
    EXPECT_EQ(ignored.frame->GetAlphaType(), 1u);
    canvas.frame->SetReadOnly(true);
    for (const auto call : {InvertAlpha, OpaqueAlpha}) {
        ExpectBroken("inDestFrame->GetReadOnly() == false", kFile, 0, [&] { call(canvas.frame); });
    }
}

}  // namespace
}  // namespace manipulators_test
