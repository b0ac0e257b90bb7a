#include "Pictures.h"

namespace raster_test {
namespace {

using DepthConversion = RasterTest;

struct Conversion {
    const char* name;
    std::size_t from, to;  // bytes of a pixel
    std::function<void(const void*, void*, std::int32_t, std::int32_t, std::int32_t, std::int32_t)>
        convert;
    std::uint32_t (*pixel)(std::uint32_t inWord);
};

std::uint32_t To16(std::uint32_t inWord) {
    return (inWord >> 16 & 0xF8) << 7 | (inWord >> 8 & 0xF8) << 2 | (inWord & 0xF8) >> 3;
}

std::uint32_t From16(std::uint32_t inWord) {
    return 255U << 24 | (inWord >> 10 & 31) << 19 | (inWord >> 5 & 31) << 11 | (inWord & 31) << 3;
}

std::uint32_t From8(std::uint32_t inByte) {
    return inByte * 0x9E3779B1;
}

void Convert8To32(const void* inSource, void* outPixels, std::int32_t inWidth,
                  std::int32_t inHeight, std::int32_t inSourceStride, std::int32_t inStride) {
    std::uint32_t table[256];
    for (std::uint32_t i = 0; i < 256; ++i)
        table[i] = From8(i);
    DepthCon8To32(inSource, outPixels, inWidth, inHeight, inSourceStride, inStride, table);
}

// clang-format off
const Conversion kConversions[] = {
    {"32 to 16", 4, 2, DepthCon32To16, To16},
    {"16 to 32", 2, 4, DepthCon16To32, From16},
    {"32 to 24", 4, 3, _TvDepthCon32To24, [](std::uint32_t word) { return word & 0xFFFFFF; }},
    {"32 to 24, table", 4, 3, DepthCon32To24, [](std::uint32_t word) { return word & 0xFFFFFF; }},
    {"24 to 32", 3, 4, _TvDepthCon24To32, [](std::uint32_t word) { return word | 0xFF000000; }},
    {"24 to 32, table", 3, 4, DepthCon24To32, [](std::uint32_t word) { return word | 0xFF000000; }},
    {"8 to 32", 1, 4, Convert8To32, From8},
    {"copy", 4, 4, Copy32, [](std::uint32_t word) { return word; }},
    {"copy, fixed result", 4, 4, _TvCopy32, [](std::uint32_t word) { return word; }},
};
// clang-format on

/// Three lines of noise, each way round, between bytes that must stay.
void ExpectConverts(const Conversion& inConversion, std::size_t inWidth, std::mt19937& ioRandom) {
    constexpr std::size_t kHeight = 3;
    constexpr std::size_t kPadding = 5;
    const auto& [name, from, to, convert, pixelOf] = inConversion;
    const std::size_t shift = inWidth % 4;
    const bool isReversed = inWidth % 3 == 0;
    const std::size_t fromStride = from * inWidth + kPadding;
    const std::size_t toStride = to * inWidth + kPadding;
    Bytes source(shift + kHeight * fromStride);
    FillWithNoise(source, ioRandom);
    Bytes actual(shift + kHeight * toStride, 0xA5);
    Bytes expected = actual;
    for (std::size_t i = 0; i < kHeight * inWidth; ++i) {
        const std::size_t x = i % inWidth, y = i / inWidth;
        const std::size_t line = isReversed ? kHeight - 1 - y : y;
        std::uint32_t word = 0;
        std::memcpy(&word, &source[shift + y * fromStride + x * from], from);
        const std::uint32_t pixel = pixelOf(word);
        std::memcpy(&expected[shift + line * toStride + x * to], &pixel, to);
    }
    const auto stride = static_cast<std::int32_t>(toStride);
    convert(&source[shift], &actual[shift + (isReversed ? (kHeight - 1) * toStride : 0)],
            static_cast<std::int32_t>(inWidth), kHeight, static_cast<std::int32_t>(fromStride),
            isReversed ? -stride : stride);
    ASSERT_EQ(actual, expected) << name << ", " << inWidth;
}

TEST_F(DepthConversion, EveryWidth) {
    for (const Conversion& conversion : kConversions) {
        for (std::size_t width = 1; width <= 140; ++width)
            ExpectConverts(conversion, width, random_);
    }
}

}  // namespace
}  // namespace raster_test
