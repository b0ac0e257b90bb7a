#include "Area.h"

namespace scanvo_test {
namespace {

struct Size {
    std::int32_t width, height;
};

Area Scaled(Area& inSource, FormatCode inFormat, Size inSize, std::int32_t inQuality,
            std::uint32_t inFieldType = 0) {
    Area result(inFormat, inSize.width, inSize.height);
    EXPECT_EQ(Call(SV_ScaleConvert, inSource.Sized(), inFieldType, result.Sized(), inFieldType,
                   inQuality),
              0);
    result.ExpectGuardsIntact();
    return result;
}

constexpr std::pair<Size, Size> kSizes[] = {
    {{20, 10}, {40, 30}}, {{20, 30}, {33, 11}}, {{40, 40}, {10, 20}}, {{16, 90}, {16, 9}},
    {{90, 16}, {9, 16}},  {{99, 64}, {100, 9}}, {{7, 5}, {7, 9}},     {{7, 5}, {13, 5}},
    {{40, 30}, {7, 2}},   {{1, 1}, {5, 3}},     {{5, 3}, {1, 1}},     {{13, 9}, {12, 8}}};

// In both directions, since rows and columns are mixed by different code.
TEST(Scale, WeighsByTheFilterOfTheQuality) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::tuple<std::int32_t, std::vector<float>, std::vector<float>> kCases[] = {
        // The nearest; half way between two, the first.
        {0, {1, 2, 3}, {1, 1, 1, 2, 2, 2, 3, 3, 3}},
        {1, {1, 2, 4, 8}, {1, 4}},
        // Shrunk by what a pixel covers, whole or partly; what it does not even touch is left out.
        {2, {1, 2, 4, 8}, {1.5, 6}},
        {2, {1, 4, 7}, {2, 6}},
        {2, {1, 2, kInfinity, kInfinity}, {1.5, kInfinity}},
        {2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, {4.5, 12.5}},
        // Shrunk by a triangle.
        {3, {1, 2, 4, 8}, {1.75, 5.75}},
        // Enlarged linearly, with nothing new beyond the ends.
        {2, {0, 8}, {0, 2, 6, 8}},
        {3, {0, 8}, {0, 2, 6, 8}},
        {3, {5}, {5, 5, 5}},
        // Curves that overshoot, enlarged and shrunk.
        {4, {0, 8}, {-0.5625f, 1.625f, 6.375f, 8.5625f}},
        {4, {1, 3, 0}, {0.872f, 1.896f, 3, 1.224f, -0.192f}},
        {4, {1, 2, 4, 8}, {1.4453125f, 5.9140625f}},
        {5, {0, 8}, {-0.8252988f, 1.6831326f, 6.3168674f, 8.8252988f}},
        {5, {1, 2, 4, 8}, {1.2796665f, 5.9746614f}},
        // Equal sizes are left alone.
        {5, {1, kInfinity, 3}, {1, kInfinity, 3}},
    };
    ForEachTarget([&] {
        for (const auto& [quality, values, expected] : kCases) {
            const auto count = static_cast<std::int32_t>(values.size());
            const auto newCount = static_cast<std::int32_t>(expected.size());
            // Red differs from column to column, green from row to row.
            Area source(0x10C, count, count);
            for (std::int32_t i = 0; i < count * count; ++i) {
                source.Set(i / count, i % count * 4 + 2, values.begin()[i % count]);
                source.Set(i / count, i % count * 4 + 1, values.begin()[i / count]);
            }
            const Area scaled = Scaled(source, 0x10C, {newCount, newCount}, quality);
            for (std::int32_t i = 0; i < newCount; ++i) {
                SCOPED_TRACE(testing::Message() << count << ", quality " << quality);
                EXPECT_FLOAT_EQ(static_cast<float>(scaled.At(i, 0)[0]), expected.begin()[i]);
                EXPECT_FLOAT_EQ(static_cast<float>(scaled.At(0, i)[1]), expected.begin()[i]);
            }
        }
    });
}

// Pictures of floats are scaled by other code than those of bytes. Colour counts by how much it
// shows.
void ExpectWhatFloatsGive(Area& inSource, FormatCode inFloats, Size inSize, std::int32_t inQuality,
                          std::uint32_t inFieldType) {
    const FormatCode format = inSource.Format();
    Area floats = Converted(inSource, inFloats);
    Area scaled = Scaled(floats, inFloats, inSize, inQuality, inFieldType);
    const std::vector<Codes> expected = Converted(scaled, format).Pixels();
    const std::vector<Codes> actual =
        Scaled(inSource, format, inSize, inQuality, inFieldType).Pixels();
    const bool isStraight = (format.bits & 0xC) == 4;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            const double shown = isStraight && c < 3 ? expected[i][3] / 255 : 1;
            ASSERT_NEAR(actual[i][c] * shown, expected[i][c] * shown, 1.001)
                << std::hex << format.bits << std::dec << ", quality " << inQuality << ", pixel "
                << i;
        }
    }
}

TEST(Scale, GivesBytesWhatFloatsGive) {
    constexpr std::pair<FormatCode, FormatCode> kFormats[] = {
        {0x004, 0x104}, {0x1004, 0x1104}, {0x008, 0x108}, {0x00C, 0x10C}, {0x005, 0x105}};
    constexpr std::pair<Size, Size> kByteSizes[] = {
        {{64, 48}, {32, 24}}, {{50, 6}, {25, 3}},    {{77, 31}, {35, 14}},
        {{33, 20}, {50, 31}}, {{40, 9}, {131, 9}},   {{300, 40}, {13, 3}},
        {{172, 28}, {43, 7}}, {{16, 70}, {16, 150}}, {{3, 2}, {9, 5}}};
    ForEachTarget([&] {
        for (const auto& [size, newSize] : kByteSizes) {
            for (const auto& [format, floats] : kFormats) {
                // The rows of alpha that show wholly: all, some, none.
                for (const std::int32_t opaqueRows : {size.height, size.height / 2, 0}) {
                    Area source(format, size.width, size.height, RowOrder::Up);
                    source.Scatter();
                    for (std::int32_t i = format.IsReversed() ? 0 : 3;
                         i < opaqueRows * size.width * 4; i += 4)
                        source.Set(i / (4 * size.width), i % (4 * size.width), std::uint8_t{255});
                    for (const std::int32_t quality : {1, 2, 3, 4, 5})
                        ExpectWhatFloatsGive(source, floats, newSize, quality, quality == 3);
                }
            }
        }
    });
}

// 8-bit 4:2:2 has a road of its own to half the size.
TEST(Scale, Halves422ToWhatFloatsGive) {
    for (const FormatCode format : {0x011U, 0x1011U, 0x211U}) {
        const std::uint32_t matrix = format.bits & 0x200;
        const std::pair<FormatCode, FormatCode> kFormats[] = {
            {0x004, 0x104}, {0x100C, 0x110C}, {0x005 | matrix, 0x105 | matrix}};
        for (const std::int32_t width : {1, 2, 15, 16, 33, 100}) {
            Area source(format, 2 * width, 6);
            source.Scatter();
            for (const auto& kind : kFormats) {
                Area exact = Scaled(source, kind.second, {width, 3}, 2);
                const std::vector<Codes> expected = Converted(exact, kind.first).Pixels();
                ForEachTarget([&] {
                    Scaled(source, kind.first, {width, 3}, 2).ExpectLike(expected, 1.001);
                });
            }
        }
    }
}

TEST(Scale, KeepsOneColourInEveryFormatAndSize) {
    for (const FormatCode format : kPackedFormats) {
        const double step = format.Is15Bit() ? 1 : format.IsFloat() ? 1e-5 : 0;
        for (const auto& [size, newSize] : kSizes) {
            Area pixels = AreaOf(
                std::vector<Rgba>(static_cast<std::size_t>(size.width), {0.8, 0.4, 0.2, 0.6}));
            Area row = Converted(pixels, format);
            Area source = Scaled(row, format, size, 1);
            for (const std::int32_t quality : {1, 2, 3})
                Scaled(source, format, newSize, quality).ExpectFilled(row.At(0, 0), step);
        }
    }
}

// Colour counts by how much it shows: the clear pixel's red must not tint the green.
TEST(Scale, ShowsNoFringeOfClearPixels) {
    Area source = AreaOf({{1, 0, 0, 0}, {0, 1, 0, 1}});
    for (const std::int32_t quality : {2, 3}) {
        EXPECT_EQ(Scaled(source, 0x004, {1, 1}, quality).At(0, 0), (Codes{0, 255, 0, 128}));
        const Area wide = Scaled(source, 0x008, {4, 1}, quality);
        EXPECT_EQ(wide.At(0, 0), (Codes{0, 0, 0, 0}));
        EXPECT_EQ(wide.At(1, 0), (Codes{0, 64, 0, 64}));
    }
    // The nearest pixel mixes with no other, so it stays what it is.
    EXPECT_EQ(Scaled(source, 0x004, {4, 1}, 1).At(0, 0), (Codes{255, 0, 0, 0}));
}

// Counted from the top, where memory ends, even rows are white. A single row has no other field.
TEST(Scale, KeepsFieldsApart) {
    for (const auto& heights :
         {std::pair{8, 4}, {4, 8}, {8, 5}, {7, 4}, {7, 13}, {60, 4}, {1, 3}}) {
        const std::int32_t height = heights.first, newHeight = heights.second;
        Area source(0x00C, 1, height);
        for (std::int32_t y = 0; y < height; ++y)
            source.Set(y, 0, (height - 1 - y) % 2 == 0 ? 0xFFFFFFFFu : 0u);
        for (const std::int32_t quality : {1, 2, 3}) {
            Scaled(source, 0x00C, {2, newHeight}, quality, 2)
                .ExpectPixels(0, [&](std::size_t pixel) {
                    const auto y = static_cast<std::int32_t>(pixel / 2);
                    const double code = height == 1 || (newHeight - 1 - y) % 2 == 0 ? 255 : 0;
                    return Codes{code, code, code, 255};
                });
        }
    }
}

}  // namespace
}  // namespace scanvo_test
