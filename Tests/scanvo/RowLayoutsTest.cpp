#include <gmock/gmock.h>

#include <limits>

#include "Area.h"

namespace scanvo_test {
namespace {

using Bytes = std::vector<unsigned>;

Bytes BytesOf(Area& inArea, std::int64_t inCount) {
    Bytes bytes;
    for (std::int64_t i = 0; i < inCount; ++i) {
        bytes.push_back(std::to_integer<unsigned>(inArea.Start()[i]));
    }
    return bytes;
}

// Red 1, green 1/2, blue 1/4, alpha 3/4: Y' 0.621, Cb -0.20937, Cr 0.27033 by BT.601.
TEST(RowLayouts, PutPackedPixelsInTheirBytes) {
    const std::pair<std::uint32_t, Bytes> kPixels[] = {
        {0x0004, {64, 128, 255, 191}},
        {0x1004, {191, 255, 128, 64}},
        {0x000C, {64, 128, 255, 255}},
        {0x100C, {255, 255, 128, 64}},
        {0x0008, {48, 96, 191, 191}},
        {0x1008, {191, 191, 96, 48}},
        {0x0005, {189, 81, 152, 191}},
        {0x0009, {173, 93, 118, 191}},
        {0x0084, {0x00, 0x20, 0x00, 0x40, 0x00, 0x80, 0x00, 0x60}},
        {0x1084, {0x00, 0x60, 0x00, 0x80, 0x00, 0x40, 0x00, 0x20}},
        {0x0104, {0, 0, 0x80, 0x3E, 0, 0, 0, 0x3F, 0, 0, 0x80, 0x3F, 0, 0, 0x40, 0x3F}},
        {0x1104, {0, 0, 0x40, 0x3F, 0, 0, 0x80, 0x3F, 0, 0, 0, 0x3F, 0, 0, 0x80, 0x3E}},
        {0x0011, {81, 152, 189, 152}},
        {0x1011, {152, 81, 152, 189}},
    };
    Area pixel = AreaOf({{1, 0.5, 0.25, 0.75}});
    for (const auto& [code, bytes] : kPixels) {
        Area stored(code, 1, 1);
        ASSERT_EQ(Convert(pixel, stored), 0);
        EXPECT_EQ(BytesOf(stored, stored.RowLengthBytes()), bytes) << std::hex << code;
    }
}

TEST(RowLayouts, PutV210SamplesInTheirBits) {
    Area uyvy(0x011, 6, 1);
    for (std::int32_t i = 0; i < 12; ++i)
        uyvy.Set(0, i, static_cast<std::uint8_t>(i + 1));
    Area v210(0x051, 6, 1);
    ASSERT_EQ(Convert(uyvy, v210), 0);
    for (std::uint32_t word = 0; word < 4; ++word) {
        const std::uint32_t sample = 3 * word + 1;
        std::uint32_t stored;
        std::memcpy(&stored, v210.Start() + 4 * word, 4);
        EXPECT_EQ(stored, 4 * sample | 4 * (sample + 1) << 10 | 4 * (sample + 2) << 20);
    }
}

TEST(RowLayouts, ExchangeBytesBetween422OrdersExactly) {
    for (const std::int32_t width : {1, 2, 3, 8, 9}) {
        Area uyvy(0x211, width, 2);
        uyvy.Scatter();
        Area yuyv(0x1211, width, 2);
        ASSERT_EQ(Convert(uyvy, yuyv), 0);
        for (std::int32_t x = 0; x < width; ++x)
            EXPECT_EQ(uyvy.At(x, 1), yuyv.At(x, 1));
        yuyv.ExpectGuardsIntact();
    }
}

TEST(RowLayouts, KeepEveryCodeOfUyvyInV210OfEveryWidth) {
    for (std::int32_t width = 1; width <= 50; ++width) {
        Area uyvy(0x011, width, 2);
        uyvy.Scatter();
        Area v210(0x051, width, 2);
        Area copied(0x051, width, 2);
        Area back(0x011, width, 2);
        ASSERT_EQ(Convert(uyvy, v210), 0);
        ASSERT_EQ(Convert(v210, copied), 0);
        ASSERT_EQ(Convert(copied, back), 0);
        for (std::int32_t x = 0; x < width; ++x) {
            ASSERT_EQ(back.At(x, 1), uyvy.At(x, 1)) << "width " << width << " pixel " << x;
        }
        v210.ExpectGuardsIntact();
        copied.ExpectGuardsIntact();
    }
}

// The area's last word also holds samples of pixels to its right.
TEST(RowLayouts, KeepV210SamplesBesideTheArea) {
    for (const std::uint32_t sourceCode : {0x011u, 0x051u}) {
        for (std::int32_t width = 1; width < 6; ++width) {
            Area source(sourceCode, width, 1);
            source.Scatter();
            Area wide(0x051, 6, 1);
            wide.Scatter(67890);
            Area before = wide;
            ASSERT_EQ(SV_Convert(source.Start(), source.RowLengthBytes(), source.Format(),
                                 wide.Start(), RowLength(0x051, width), wide.Format(), width, 1, 4),
                      0);
            const std::size_t own = static_cast<std::size_t>(2 * width + width % 2);
            for (std::size_t sample = own; sample < 12; ++sample) {
                EXPECT_EQ(V210Sample(wide.Start(), sample), V210Sample(before.Start(), sample))
                    << "width " << width << " sample " << sample;
            }
        }
    }
}

TEST(RowLayouts, RepeatTheLastLumaInHalfAUnit) {
    Area grey = AreaOf({{0, 0, 0, 1}, {0, 0, 0, 1}, {1, 1, 1, 1}});
    Area uyvy(0x011, 3, 1);
    ASSERT_EQ(Convert(grey, uyvy), 0);
    EXPECT_EQ(BytesOf(uyvy, 8), (Bytes{128, 16, 128, 16, 128, 235, 128, 235}));
}

TEST(RowLayouts, ClampWhatIntegersCannotHold) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Area pixel = AreaOf({{kInfinity, -2, std::nan(""), 7}});
    Area bytes(0x004, 1, 1);
    ASSERT_EQ(Convert(pixel, bytes), 0);
    EXPECT_EQ(BytesOf(bytes, 4), (Bytes{0, 0, 255, 255}));
    Area words(0x084, 1, 1);
    ASSERT_EQ(Convert(pixel, words), 0);
    EXPECT_EQ(words.At(0, 0), (Codes{32768, 0, 0, 32768}));
}

TEST(RowLayouts, LetFloatsPassOneAndZero) {
    Area pixel = AreaOf({{1.5, -0.25, 4, 1}});
    Area reordered(0x104, 1, 1);
    ASSERT_EQ(Convert(pixel, reordered), 0);
    EXPECT_EQ(reordered.At(0, 0), (Codes{1.5, -0.25, 4, 1}));
}

}  // namespace
}  // namespace scanvo_test
