#include <gtest/gtest.h>

#include <limits>
#include <thread>

#include "Area.h"

namespace scanvo_test {
namespace {

struct Size {
    std::int32_t width, height;
};

Area Scaled(Area& inSource, FormatCode inFormat, Size inSize, std::int32_t inQuality,
            std::uint32_t inFieldType = 0) {
    Area result(inFormat, inSize.width, inSize.height);
    EXPECT_EQ(
        SV_ScaleConvert(inSource.Start(), inSource.RowBytes(), inSource.Width(), inSource.Height(),
                        inSource.Format(), inFieldType, result.Start(), result.RowBytes(),
                        inSize.width, inSize.height, inFormat, inFieldType, inQuality),
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
    using Values = std::vector<float>;
    const struct {
        std::int32_t quality;
        Values values, expected;
    } kCases[] = {
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
        // Equal sizes are left alone.
        {5, {1, kInfinity, 3}, {1, kInfinity, 3}},
    };
    for (const auto& [quality, values, expected] : kCases) {
        const auto count = static_cast<std::int32_t>(values.size());
        const auto newCount = static_cast<std::int32_t>(expected.size());
        // Red differs from column to column, green from row to row.
        Area source(0x10C, count, count);
        for (std::int32_t i = 0; i < count * count; ++i) {
            source.Set(i / count, i % count * 4 + 2, values[static_cast<std::size_t>(i % count)]);
            source.Set(i / count, i % count * 4 + 1, values[static_cast<std::size_t>(i / count)]);
        }
        const Area scaled = Scaled(source, 0x10C, {newCount, newCount}, quality);
        for (std::int32_t i = 0; i < newCount; ++i) {
            const float value = expected[static_cast<std::size_t>(i)];
            EXPECT_FLOAT_EQ(static_cast<float>(scaled.At(i, 0)[0]), value)
                << count << ", quality " << quality;
            EXPECT_FLOAT_EQ(static_cast<float>(scaled.At(0, i)[1]), value)
                << count << ", quality " << quality;
        }
    }
}

// Of whole pictures and of fields, whose rows lie between one another's.
TEST(Scale, LetsGradientsPass) {
    for (const auto& [size, newSize] : kSizes) {
        Area source(0x10C, size.width, size.height);
        for (std::int32_t y = 0; y < size.height; ++y) {
            for (std::int32_t x = 0; x < size.width; ++x) {
                source.Set(y, 4 * x + 1, static_cast<float>(x));
                source.Set(y, 4 * x + 2, static_cast<float>(y));
            }
        }
        const double across = static_cast<double>(size.width) / newSize.width;
        const double down = static_cast<double>(size.height) / newSize.height;
        for (const std::int32_t quality : {2, 3}) {
            for (const std::int32_t fields : {1, 2}) {
                const Area scaled = Scaled(source, 0x10C, newSize, quality, fields == 2 ? 1 : 0);
                // Pixels away from the edges, where every tap lies in the picture.
                const auto marginX = static_cast<std::int32_t>(std::ceil(1 / across)) + 1;
                const auto marginY = fields * (static_cast<std::int32_t>(std::ceil(1 / down)) + 1);
                for (std::int32_t y = marginY; y < newSize.height - marginY; ++y) {
                    for (std::int32_t x = marginX; x < newSize.width - marginX; ++x) {
                        EXPECT_NEAR(scaled.At(x, y)[1], (x + 0.5) * across - 0.5, 0.05 * across);
                        EXPECT_NEAR(scaled.At(x, y)[0], (y + 0.5) * down - 0.5,
                                    0.05 * fields * down);
                    }
                }
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
            for (const std::int32_t quality : {1, 2, 3}) {
                Scaled(source, format, newSize, quality).ExpectFilled(row.At(0, 0), step);
            }
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

// Chroma scaled on its own grid, and chroma scaled as part of whole pixels, lie in one place.
TEST(Scale, KeepsChromaBesideItsLuma) {
    Area ramp(0x10D, 32, 1);
    for (std::int32_t x = 0; x < 32; ++x) {
        ramp.Set(0, 4 * x, (static_cast<float>(x) - 16) / 64);
        ramp.Set(0, 4 * x + 1, (static_cast<float>(x) - 16) / 64);
        ramp.Set(0, 4 * x + 2, static_cast<float>(x) / 32);
    }
    Area v210 = Converted(ramp, 0x051);
    for (const std::int32_t newWidth : {16, 20, 48, 64}) {
        const Area scaled = Scaled(v210, 0x051, {newWidth, 1}, 3);
        const Area spread = Scaled(v210, 0x10D, {newWidth, 1}, 3);
        for (std::int32_t x = 8; x < newWidth - 8; x += 2) {
            const double position = (x + 0.5) * 32 / newWidth - 0.5;
            EXPECT_NEAR(scaled.At(x, 0)[0], 64 + 876 * position / 32, 4);
            EXPECT_NEAR(scaled.At(x, 0)[1], 512 + 896 * (position - 16) / 64, 3) << newWidth;
            EXPECT_NEAR(spread.At(x, 0)[1], (position - 16) / 64, 2e-3) << newWidth;
            EXPECT_NEAR(spread.At(x + 1, 0)[2], (position + 32.0 / newWidth - 16) / 64, 2e-3);
        }
    }
}

// Counted from the top, where memory ends, even rows are white. A single row has no other field.
TEST(Scale, KeepsFieldsApart) {
    constexpr std::int32_t kHeights[][2] = {{8, 4},  {4, 8},  {8, 5}, {7, 4},
                                            {7, 13}, {60, 4}, {1, 3}};
    for (const auto& [height, newHeight] : kHeights) {
        Area source(0x00C, 1, height);
        for (std::int32_t y = 0; y < height; ++y)
            source.Set(y, 0, (height - 1 - y) % 2 == 0 ? 0xFFFFFFFFu : 0u);
        for (const std::int32_t quality : {1, 2, 3}) {
            const Area scaled = Scaled(source, 0x00C, {2, newHeight}, quality, 2);
            for (std::int32_t y = 0; y < newHeight; ++y) {
                const bool isWhite = height == 1 || (newHeight - 1 - y) % 2 == 0;
                EXPECT_EQ(scaled.At(1, y)[0], isWhite ? 255 : 0)
                    << height << " to " << newHeight << ", row " << y;
            }
        }
    }
}

TEST(Scale, RunsOnManyThreads) {
    Area source(0x004, 61, 47);
    source.Scatter();
    const Area expected = Scaled(source, 0x011, {33, 70}, 3);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int call = 0; call < 20; ++call) {
                SV_Initialize();
                EXPECT_EQ(Scaled(source, 0x011, {33, 70}, 3).Pixels(), expected.Pixels());
                SV_Terminate();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace scanvo_test
