#include "Patterns.h"

namespace manipulators_test {
namespace {

bool Holds(const Brix::Rect& inRect, std::int32_t inX, std::int32_t inY) {
    return inX >= inRect.left && inX < inRect.right && inY >= inRect.top && inY < inRect.bottom;
}

TEST(CopyRect, TakesTheRowsOfTheRectangle) {
    constexpr Brix::Rect kNothing{};
    // clang-format off
    const struct {
        std::int32_t height;
        Brix::Rect source, destination;
        std::int32_t field;
        Brix::Rect written;  // what the clamped destination is
        std::int32_t x, y, step;  // source pixel of its top left, rows from one to the next
    } kCases[] = {
        {20, {0, 0, 30, 20}, {0, 0, 30, 20}, 3, {0, 0, 30, 20}, 0, 0, 1},
        {20, {2, 1, 12, 6}, {5, 7, 15, 12}, 3, {5, 7, 15, 12}, 2, 1, 1},
        {20, {-50, -50, 5000, 5000}, {-9, -9, 99, 99}, 2, {0, 0, 30, 20}, 0, 0, 1},
        {20, {25, 15, 90, 90}, {0, 0, 5, 5}, -1, {0, 0, 5, 5}, 25, 15, 1},
        // A field: even rows for 0 and odd ones for 1, the other way round in an odd height.
        {20, {0, 0, 30, 20}, {0, 5, 30, 15}, 0, {0, 5, 30, 15}, 0, 0, 2},
        {20, {0, 0, 30, 20}, {0, 5, 30, 15}, 1, {0, 5, 30, 15}, 0, 1, 2},
        {21, {0, 0, 30, 20}, {0, 5, 30, 15}, 0, {0, 5, 30, 15}, 0, 1, 2},
        {21, {0, 0, 30, 20}, {0, 5, 30, 15}, 1, {0, 5, 30, 15}, 0, 2, 2},
        // Outside, upside down, empty after clamping.
        {20, {40, 0, 60, 10}, {0, 0, 20, 10}, 3, kNothing, 0, 0, 1},
        {20, {0, 0, 30, 20}, {31, 0, 61, 20}, 3, kNothing, 0, 0, 1},
        {20, {0, 9, 30, 3}, {0, 0, 30, 6}, 3, kNothing, 0, 0, 1},
        {20, {4, 4, 4, 9}, {0, 0, 5, 5}, 3, kNothing, 0, 0, 1},
    };
    // clang-format on
    for (const auto& each : kCases) {
        const Canvas source = PaintPattern(30, each.height);
        const Canvas destination = PaintPlain(30, each.height);
        EXPECT_EQ(
            CopyRect(source.frame, each.source, destination.frame, each.destination, 4, each.field),
            0);
        ExpectPixels(destination, [&](std::int32_t x, std::int32_t y) {
            if (!Holds(each.written, x, y)) return Pixel{};
            return PatternAt(each.x + x - each.written.left,
                             each.y + each.step * (y - each.written.top));
        });
    }
}

TEST(CopyFrame, ReadsAlphaAsItsTypeSays) {
    for (const std::uint32_t type : {1U, 2U, 3U}) {
        const Canvas source = Paint(2, 2, [](int, int) { return Pixel{60, 40, 20, 51}; });
        source.frame->SetAlphaType(type);
        const Canvas copy{MakeFrame(2, 2, tulomediatypes::kPixelFormat_BGRP_4444_8u)};
        EXPECT_EQ(CopyFrame(source.frame, copy.frame, 4), 0);
        constexpr Pixel kExpected[] = {{12, 8, 4, 51}, {60, 40, 20, 51}, {60, 40, 20, 255}};
        EXPECT_EQ(copy.At(1, 1), kExpected[type - 1]);
    }
}

TEST(CopyFrame, CarriesPropertiesAcross) {
    const Canvas source = PaintPattern(12, 8);
    source.frame->SetFieldType(2);
    source.frame->SetAlphaType(2);
    source.frame->SetOrigin(7, 9);
    source.frame->SetDataRect({1, 2, 3, 4});
    // clang-format off
    const struct { std::uint32_t height; std::int32_t quality; std::uint32_t given, before, after; }
    kCases[] = {
        {8, 4, kFieldTypeOfSource, 3, 2}, {8, 4, kFieldTypeOfSource, 1, 2}, {8, 4, 1, 2, 2},
        {8, 4, 1, 3, 1}, {4, 2, kFieldTypeOfSource, 3, 0}, {4, 3, kFieldTypeOfSource, 3, 2},
        {4, 3, kFieldTypeOfSource, 1, 1}, {5, 2, kFieldTypeOfSource, 1, 1}};
    // clang-format on
    for (const auto& [height, quality, given, before, after] : kCases) {
        const VF::VideoFrameRef destination = MakeFrame(12, height);
        destination->SetFieldType(before);
        EXPECT_EQ(CopyFrameWithFields(source.frame, destination, quality, given), 0);
        EXPECT_EQ(destination->GetFieldType(), after) << height << ' ' << quality;
        EXPECT_EQ(destination->GetAlphaType(), 2u);
        EXPECT_EQ(destination->GetOrigin(), (OV::Point{7, 9}));
        Brix::Rect dataRect;
        destination->GetDataRect(dataRect);
        EXPECT_EQ(dataRect == (Brix::Rect{1, 2, 3, 4}), height == 8);
    }
    const Canvas copy{MakeFrame(12, 8)};
    EXPECT_EQ(CopyFrame(source.frame, copy.frame, 4), 0);
    ExpectPixels(copy, PatternAt);
}

TEST(MakeAddressable, KeepsOrConverts) {
    using namespace tulomediatypes;
    // clang-format off
    const struct { PixelFormat format, preferred; std::int32_t quality; std::uint32_t pixelSize; }
    kCases[] = {
        {kPixelFormat_BGRA_4444_8u, kPixelFormat_BGRA_4444_32f, 4, 4},
        {kPixelFormat_PRGB_4444_32f, kPixelFormat_BGRA_4444_8u, 4, 16},
        {kPixelFormat_UYVY_422_8u, kPixelFormat_BGRA_4444_8u, 2, 4},
        // A wide choice comes down to the width that is asked for, unless quality forbids.
        {kPixelFormat_V210_422_10u, kPixelFormat_BGRA_4444_8u, 4, 4},
        {kPixelFormat_V210_422_10u, kPixelFormat_BGRA_4444_8u, 5, 16},
        {kPixelFormat_V210_422_10u, kPixelFormat_UYVY_422_8u, 4, 16}};
    // clang-format on
    for (const auto& [format, preferred, quality, pixelSize] : kCases) {
        const VF::VideoFrameRef frame = MakeFrame(48, 4, format);
        frame->SetFieldType(2);
        VF::VideoFrameRef result;
        ASSERT_EQ(MakeAddressableVideoFrame(frame, result, preferred, quality), 0);
        EXPECT_EQ(result == frame, &format <= &kCases[1].format);
        EXPECT_EQ(Ask<VF::IVideoFrame2DPixelMemoryAccess>(result)->GetPixelSize(), pixelSize);
        EXPECT_EQ(result->GetFieldType(), 2u);
    }
    VF::VideoFrameRef untouched;
    EXPECT_LT(MakeAddressableVideoFrame(MakeCustomFrame(400), untouched, {}, 4), 0);
    EXPECT_FALSE(untouched);
}

TEST(ExternalBuffers, HoldTheFramesMemoryRows) {
    const Canvas source = PaintPattern(9, 7);
    std::vector<std::byte> buffer(44 * 7);
    StoreExternal(source.frame, buffer.data(), 44);
    EXPECT_EQ(std::memcmp(buffer.data(), source.Place(0, 6), 36), 0);
    EXPECT_EQ(std::memcmp(buffer.data() + 44 * 6, source.Place(0, 0), 36), 0);
    const Canvas back = PaintPlain(9, 7);
    LoadExternal(back.frame, buffer.data(), 44);
    ExpectPixels(back, PatternAt);

    const auto grey = [](std::int32_t, std::int32_t) { return Pixel{1, 2, 3, 255}; };
    StoreExternal(Paint(8, 8, grey).frame, buffer.data(), 4, 2, 44);
    const Canvas scaled = PaintPlain(3, 5);
    LoadExternal(scaled.frame, buffer.data(), 4, 2, 44);
    ExpectPixels(scaled, grey);
}

}  // namespace
}  // namespace manipulators_test
