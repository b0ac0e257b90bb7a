#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "Area.h"

namespace scanvo_test {
namespace {

// Mean of the source over each destination pixel's rectangle.
double CoveredMean(Area& inSource, Area& inDestination, std::int32_t inX, std::int32_t inY,
                   std::size_t inComponent) {
    const auto covered = [](std::int32_t pixel, std::int32_t from, std::int32_t to,
                            std::int32_t index) {
        const double scale = static_cast<double>(from) / to;
        return std::max(
            0.0, std::min((index + 1) * scale, pixel + 1.0) - std::max(index * scale, 1.0 * pixel));
    };
    double sum = 0;
    double area = 0;
    for (std::int32_t y = 0; y < inSource.Height(); ++y) {
        for (std::int32_t x = 0; x < inSource.Width(); ++x) {
            const double weight = covered(x, inSource.Width(), inDestination.Width(), inX) *
                                  covered(y, inSource.Height(), inDestination.Height(), inY);
            if (weight > 0) sum += weight * inSource.At(x, y)[inComponent];
            area += weight;
        }
    }
    return sum / area;
}

TEST(Scale, AveragesWhatAPixelCovers) {
    constexpr std::int32_t kSizes[][4] = {{8, 6, 4, 3},    {37, 29, 5, 4}, {23, 40, 7, 3},
                                          {12, 50, 12, 2}, {50, 9, 3, 9},  {7, 300, 3, 1}};
    for (const auto& [width, height, newWidth, newHeight] : kSizes) {
        Area source(0x10C, width, height);
        source.Scatter();
        Area shrunk(0x1104, newWidth, newHeight, RowOrder::Up);
        ASSERT_EQ(Scale(source, shrunk, 2), 0);
        for (std::int32_t y = 0; y < newHeight; ++y) {
            for (std::int32_t x = 0; x < newWidth; ++x) {
                EXPECT_NEAR(shrunk.At(x, y)[1], CoveredMean(source, shrunk, x, y, 1), 2e-6)
                    << width << 'x' << height << " at " << x << ", " << y;
                EXPECT_EQ(shrunk.At(x, y)[3], 1);
            }
        }
        shrunk.ExpectGuardsIntact();
    }
}

TEST(Scale, LetsGradientsPass) {
    constexpr std::int32_t kSizes[][4] = {
        {20, 10, 40, 30}, {20, 30, 33, 11}, {40, 40, 10, 20}, {16, 90, 16, 9}, {90, 16, 9, 16}};
    for (const auto& [width, height, newWidth, newHeight] : kSizes) {
        for (const std::int32_t quality : {2, 3}) {
            Area source(0x10C, width, height);
            for (std::int32_t y = 0; y < height; ++y) {
                for (std::int32_t x = 0; x < width; ++x) {
                    source.Set(y, 4 * x + 1, static_cast<float>(x));
                    source.Set(y, 4 * x + 2, static_cast<float>(y));
                }
            }
            Area scaled(0x10C, newWidth, newHeight);
            ASSERT_EQ(Scale(source, scaled, quality), 0);
            const double across = static_cast<double>(width) / newWidth;
            const double down = static_cast<double>(height) / newHeight;
            // Pixels away from the edges, where every tap lies in the picture.
            const auto marginX = static_cast<std::int32_t>(std::ceil(1 / across)) + 1;
            const auto marginY = static_cast<std::int32_t>(std::ceil(1 / down)) + 1;
            for (std::int32_t y = marginY; y < newHeight - marginY; ++y) {
                for (std::int32_t x = marginX; x < newWidth - marginX; ++x) {
                    EXPECT_NEAR(scaled.At(x, y)[1], (x + 0.5) * across - 0.5, 0.03 * across);
                    EXPECT_NEAR(scaled.At(x, y)[0], (y + 0.5) * down - 0.5, 0.03 * down);
                }
            }
        }
    }
}

TEST(Scale, TakesTheNearestPixelWhole) {
    for (const std::int32_t quality : {0, 1}) {
        Area source(0x004, 3, 2);
        source.Scatter();
        Area enlarged(0x004, 9, 6);
        ASSERT_EQ(Scale(source, enlarged, quality), 0);
        for (std::int32_t i = 0; i < 54; ++i) {
            EXPECT_EQ(enlarged.At(i % 9, i / 9), source.At(i % 9 / 3, i / 9 / 3));
        }
        Area shrunk(0x004, 1, 1);
        ASSERT_EQ(Scale(enlarged, shrunk, quality), 0);
        EXPECT_EQ(shrunk.At(0, 0), source.At(1, 0));
    }
}

TEST(Scale, KeepsOneColourInEveryFormatAndSize) {
    constexpr std::int32_t kSizes[][4] = {{7, 5, 7, 9},  {7, 5, 13, 5}, {40, 30, 7, 2},
                                          {1, 1, 5, 3},  {5, 3, 1, 1},  {13, 9, 12, 8},
                                          {9, 100, 4, 3}};
    for (const std::uint32_t code : kPackedFormats) {
        for (const auto& [width, height, newWidth, newHeight] : kSizes) {
            for (const std::int32_t quality : {1, 2, 3}) {
                Area source(code, width, height);
                Area pixel = AreaOf({{0.8, 0.4, 0.2, 0.6}});
                ASSERT_EQ(SV_FillWithColor(source.Start(), source.RowBytes(), width, height,
                                           source.Format(), pixel.Start(), pixel.Format()),
                          0);
                Area scaled(code, newWidth, newHeight);
                ASSERT_EQ(Scale(source, scaled, quality), 0);
                const double step = IsFloat(code) ? 1e-5 : (code & 0x80) != 0 ? 1 : 0;
                for (std::int32_t i = 0; i < newWidth * newHeight; ++i) {
                    const Codes codes = scaled.At(i % newWidth, i / newWidth);
                    for (std::size_t component = 0; component < 4; ++component) {
                        ASSERT_NEAR(codes[component], source.At(0, 0)[component], step)
                            << std::hex << code << std::dec << ' ' << width << 'x' << height
                            << " to " << newWidth << 'x' << newHeight << ", quality " << quality;
                    }
                }
                scaled.ExpectGuardsIntact();
            }
        }
    }
}

// Colour counts by how much it shows: the clear pixel's red must not tint the green.
TEST(Scale, ShowsNoFringeOfClearPixels) {
    for (const std::int32_t quality : {2, 3}) {
        Area source(0x004, 2, 1);
        source.Set(0, 0, std::uint32_t{0x00FF0000});
        source.Set(0, 1, std::uint32_t{0xFF00FF00});
        Area half(0x004, 1, 1);
        ASSERT_EQ(Scale(source, half, quality), 0);
        EXPECT_EQ(half.At(0, 0), (Codes{0, 255, 0, 128}));
        Area wide(0x008, 4, 1);
        ASSERT_EQ(Scale(source, wide, quality), 0);
        EXPECT_EQ(wide.At(0, 0), (Codes{0, 0, 0, 0}));
        EXPECT_EQ(wide.At(1, 0), (Codes{0, 64, 0, 64}));
    }
    Area source(0x004, 2, 1);
    source.Set(0, 0, std::uint32_t{0x00FF0000});
    source.Set(0, 1, std::uint32_t{0xFF00FF00});
    Area wide(0x004, 4, 1);
    ASSERT_EQ(Scale(source, wide, 1), 0);
    EXPECT_EQ(wide.At(0, 0), (Codes{255, 0, 0, 0}));
}

TEST(Scale, LeavesChromaOfEqualWidthAlone) {
    for (const std::uint32_t code : {0x011u, 0x1211u, 0x051u}) {
        Area bytes(0x011 | (code & 0x200), 9, 1);
        bytes.Scatter();
        Area source(code, 9, 4);
        for (std::int32_t y = 0; y < 4; ++y) {
            ASSERT_EQ(SV_Convert(bytes.Start(), 0, bytes.Format(), source.Row(y), 0,
                                 source.Format(), 9, 1, 4),
                      0);
        }
        for (const std::int32_t newHeight : {3, 11}) {
            Area scaled(code, 9, newHeight);
            ASSERT_EQ(Scale(source, scaled, 2), 0);
            for (std::int32_t i = 0; i < 9 * newHeight; ++i) {
                EXPECT_EQ(scaled.At(i % 9, i / 9), source.At(i % 9, 0)) << std::hex << code;
            }
        }
    }
}

// Chroma scaled on its own grid, and chroma scaled as part of whole pixels, lie in one place.
TEST(Scale, KeepsChromaBesideItsLuma) {
    Area ramp(0x10D, 32, 1);
    for (std::int32_t x = 0; x < 32; ++x) {
        ramp.Set(0, 4 * x, (static_cast<float>(x) - 16) / 64);
        ramp.Set(0, 4 * x + 1, (static_cast<float>(x) - 16) / 64);
        ramp.Set(0, 4 * x + 2, static_cast<float>(x) / 32);
        ramp.Set(0, 4 * x + 3, 1.0f);
    }
    for (const std::int32_t newWidth : {16, 20, 48, 64}) {
        Area v210(0x051, 32, 1);
        ASSERT_EQ(Convert(ramp, v210), 0);
        Area scaled(0x051, newWidth, 1);
        Area spread(0x10D, newWidth, 1);
        ASSERT_EQ(Scale(v210, scaled, 3), 0);
        ASSERT_EQ(Scale(v210, spread, 3), 0);
        for (std::int32_t x = 8; x < newWidth - 8; x += 2) {
            const double position = (x + 0.5) * 32 / newWidth - 0.5;
            EXPECT_NEAR(scaled.At(x, 0)[0], 64 + 876 * position / 32, 4);
            EXPECT_NEAR(scaled.At(x, 0)[1], 512 + 896 * (position - 16) / 64, 3) << newWidth;
            EXPECT_NEAR(spread.At(x, 0)[1], (position - 16) / 64, 2e-3) << newWidth;
            EXPECT_NEAR(spread.At(x + 1, 0)[2], (position + 32.0 / newWidth - 16) / 64, 2e-3);
        }
    }
}

TEST(Scale, KeepsFieldsApart) {
    constexpr std::int32_t kHeights[][2] = {{8, 4}, {4, 8}, {8, 5}, {7, 4}, {7, 13}, {60, 4}};
    for (const auto& [height, newHeight] : kHeights) {
        Area source(0x00C, 3, height);
        for (std::int32_t y = 0; y < height; ++y) {
            // Counted from the top, where memory ends, the even rows are white.
            const bool isWhite = (height - 1 - y) % 2 == 0;
            for (std::int32_t x = 0; x < 3; ++x)
                source.Set(y, x, isWhite ? 0xFFFFFFFFu : 0u);
        }
        for (const std::int32_t quality : {1, 2, 3}) {
            Area scaled(0x00C, 2, newHeight);
            ASSERT_EQ(Scale(source, scaled, quality, 2), 0);
            for (std::int32_t y = 0; y < newHeight; ++y) {
                EXPECT_EQ(scaled.At(1, y)[0], (newHeight - 1 - y) % 2 == 0 ? 255 : 0)
                    << height << " to " << newHeight << ", row " << y;
            }
            scaled.ExpectGuardsIntact();
        }
        Area mixed(0x00C, 2, newHeight);
        ASSERT_EQ(Scale(source, mixed, 2), 0);
        bool hasGrey = false;
        for (std::int32_t y = 0; y < newHeight; ++y) {
            hasGrey = hasGrey || (mixed.At(0, y)[0] > 0 && mixed.At(0, y)[0] < 255);
        }
        EXPECT_TRUE(hasGrey) << height << " to " << newHeight;
    }
    Area row(0x00C, 1, 1);
    row.Set(0, 0, 0x00FFFFFFu);
    Area rows(0x00C, 1, 3);
    ASSERT_EQ(Scale(row, rows, 2, 1), 0);
    EXPECT_EQ(rows.At(0, 2)[0], 255);
}

TEST(Scale, CopiesEqualSizes) {
    for (std::int32_t quality = 0; quality <= 5; ++quality) {
        Area source(0x004, 5, 4);
        source.Scatter();
        Area copy(0x004, 5, 4);
        ASSERT_EQ(Scale(source, copy, quality, 1), 0);
        for (std::int32_t i = 0; i < 20; ++i) {
            EXPECT_EQ(copy.At(i % 5, i / 5), source.At(i % 5, i / 5));
        }
    }
}

TEST(Scale, RunsOnManyThreads) {
    Area source(0x004, 61, 47);
    source.Scatter();
    Area expected(0x011, 33, 70);
    ASSERT_EQ(Scale(source, expected, 3), 0);
    std::vector<Area> results(4, Area(0x011, 33, 70));
    std::vector<std::thread> threads;
    for (Area& result : results) {
        threads.emplace_back([&source, &result] {
            for (int i = 0; i < 20; ++i)
                Scale(source, result, 3);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (Area& result : results) {
        for (std::int32_t i = 0; i < 33 * 70; ++i) {
            ASSERT_EQ(result.At(i % 33, i / 33), expected.At(i % 33, i / 33));
        }
    }
}

}  // namespace
}  // namespace scanvo_test
