#include <gtest/gtest.h>

#include <algorithm>
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

// The part of a source pixel that lies under a destination pixel, along one axis.
double Covered(std::int32_t inSource, std::int32_t inDestination, double inScale) {
    const double begin = std::max(inDestination * inScale, 1.0 * inSource);
    const double end = std::min((inDestination + 1) * inScale, inSource + 1.0);
    return std::max(0.0, end - begin);
}

double CoveredMean(const Area& inSource, Size inSize, std::int32_t inX, std::int32_t inY) {
    const double across = static_cast<double>(inSource.Width()) / inSize.width;
    const double down = static_cast<double>(inSource.Height()) / inSize.height;
    double sum = 0;
    for (std::int32_t y = 0; y < inSource.Height(); ++y) {
        for (std::int32_t x = 0; x < inSource.Width(); ++x) {
            sum += Covered(x, inX, across) * Covered(y, inY, down) * inSource.At(x, y)[1];
        }
    }
    return sum / (across * down);
}

TEST(Scale, AveragesWhatAPixelCovers) {
    const std::pair<Size, Size> kSizes[] = {{{8, 6}, {4, 3}},   {{37, 29}, {5, 4}},
                                            {{23, 40}, {7, 3}}, {{12, 50}, {12, 2}},
                                            {{50, 9}, {3, 9}},  {{7, 300}, {3, 1}}};
    for (const auto& [size, newSize] : kSizes) {
        Area source(0x10C, size.width, size.height, RowOrder::Up);
        source.Scatter();
        const Area shrunk = Scaled(source, 0x1104, newSize, 2);
        for (std::int32_t y = 0; y < newSize.height; ++y) {
            for (std::int32_t x = 0; x < newSize.width; ++x) {
                EXPECT_NEAR(shrunk.At(x, y)[1], CoveredMean(source, newSize, x, y), 2e-6)
                    << size.width << 'x' << size.height << " at " << x << ", " << y;
                EXPECT_EQ(shrunk.At(x, y)[3], 1);
            }
        }
    }
}

// Of whole pictures and of fields, whose rows lie between one another's.
TEST(Scale, LetsGradientsPass) {
    const std::pair<Size, Size> kSizes[] = {{{20, 10}, {40, 30}},
                                            {{20, 30}, {33, 11}},
                                            {{40, 40}, {10, 20}},
                                            {{16, 90}, {16, 9}},
                                            {{90, 16}, {9, 16}}};
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
                        EXPECT_NEAR(scaled.At(x, y)[1], (x + 0.5) * across - 0.5, 0.03 * across);
                        EXPECT_NEAR(scaled.At(x, y)[0], (y + 0.5) * down - 0.5,
                                    0.03 * fields * down);
                    }
                }
            }
        }
    }
}

TEST(Scale, TakesTheNearestPixelWhole) {
    for (const std::int32_t quality : {0, 1}) {
        Area source(0x004, 3, 2);
        source.Scatter();
        Area enlarged = Scaled(source, 0x004, {9, 6}, quality);
        for (std::int32_t i = 0; i < 54; ++i)
            EXPECT_EQ(enlarged.At(i % 9, i / 9), source.At(i % 9 / 3, i / 9 / 3));
        EXPECT_EQ(Scaled(enlarged, 0x004, {1, 1}, quality).At(0, 0), source.At(1, 0));
    }
}

TEST(Scale, KeepsOneColourInEveryFormatAndSize) {
    const std::pair<Size, Size> kSizes[] = {
        {{7, 5}, {7, 9}}, {{7, 5}, {13, 5}},  {{40, 30}, {7, 2}}, {{1, 1}, {5, 3}},
        {{5, 3}, {1, 1}}, {{13, 9}, {12, 8}}, {{9, 100}, {4, 3}}};
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

TEST(Scale, LeavesChromaOfEqualWidthAlone) {
    for (const FormatCode format : {0x011u, 0x1211u, 0x051u}) {
        Area row(format, 9, 1);
        row.Scatter();
        Area source = Scaled(row, format, {9, 4}, 1);
        for (const std::int32_t newHeight : {3, 11}) {
            const Area scaled = Scaled(source, format, {9, newHeight}, 2);
            for (std::int32_t i = 0; i < 9 * newHeight; ++i)
                EXPECT_EQ(scaled.At(i % 9, i / 9), row.At(i % 9, 0)) << std::hex << format.bits;
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

// A frame of a compressed format is one block of bytes, which can only be copied.
TEST(Scale, CopiesBlocksOfEqualSize) {
    constexpr std::size_t kFrameBytes = 120000;
    std::vector<std::uint8_t> frame(kFrameBytes, 0x5A);
    std::vector<std::uint8_t> copy(kFrameBytes + 1, 0xEE);
    constexpr FormatCode kDv = 0x01000021;
    ASSERT_EQ(
        SV_ScaleConvert(frame.data(), 0, 720, 480, kDv, 1, copy.data(), 0, 720, 480, kDv, 1, 3), 0);
    frame.push_back(0xEE);
    EXPECT_EQ(copy, frame);
}

TEST(Scale, RunsOnManyThreads) {
    Area source(0x004, 61, 47);
    source.Scatter();
    const Area expected = Scaled(source, 0x011, {33, 70}, 3);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int call = 0; call < 20; ++call)
                EXPECT_EQ(Scaled(source, 0x011, {33, 70}, 3).Pixels(), expected.Pixels());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace scanvo_test
