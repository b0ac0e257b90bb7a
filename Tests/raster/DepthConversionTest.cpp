#include <functional>
#include <memory>
#include <numeric>

#include "Pictures.h"
#include "support/Contracts.h"
#include "support/SharedFolder.h"

namespace raster_test {
namespace {

using Converter =
    std::function<void(const void*, void*, std::int32_t, std::int32_t, std::int32_t, std::int32_t)>;
using Bytes = std::vector<std::uint8_t>;

std::uint32_t Word(const std::uint8_t* inPlace, std::size_t inBytes) {
    std::uint32_t word = 0;
    std::memcpy(&word, inPlace, inBytes);
    return word;
}

constexpr std::uint32_t kTable3 = 0x9E3779B1;

struct Conversion {
    const char* name;
    std::size_t from, to;  // bytes of a pixel
    Converter convert;
    std::uint32_t (*pixel)(std::uint32_t inWord);
};

std::uint32_t To16(std::uint32_t inWord) {
    const std::uint32_t red = inWord >> 16 & 255;
    const std::uint32_t green = inWord >> 8 & 255;
    const std::uint32_t blue = inWord & 255;
    return (red & 0xF8) << 7 | (green & 0xF8) << 2 | blue >> 3;
}

std::uint32_t From16(std::uint32_t inWord) {
    const std::uint32_t blue = inWord & 31;
    const std::uint32_t green = inWord >> 5 & 31;
    const std::uint32_t red = inWord >> 10 & 31;
    return 255U << 24 | red << 19 | green << 11 | blue << 3;
}

std::vector<Conversion> Conversions() {
    const auto table = std::make_shared<std::vector<std::uint32_t>>(256);
    for (std::uint32_t i = 0; i < 256; ++i)
        (*table)[i] = i * kTable3;
    return {
        {"32 to 16", 4, 2, DepthCon32To16, To16},
        {"16 to 32", 2, 4, DepthCon16To32, From16},
        {"32 to 24", 4, 3, _TvDepthCon32To24, [](std::uint32_t word) { return word & 0xFFFFFF; }},
        {"32 to 24, table", 4, 3, DepthCon32To24,
         [](std::uint32_t word) { return word & 0xFFFFFF; }},
        {"24 to 32", 3, 4, _TvDepthCon24To32, [](std::uint32_t word) { return word | 0xFF000000; }},
        {"24 to 32, table", 3, 4, DepthCon24To32,
         [](std::uint32_t word) { return word | 0xFF000000; }},
        {"8 to 32", 1, 4,
         [table](const void* source, void* destination, std::int32_t width, std::int32_t height,
                 std::int32_t sourceStride, std::int32_t destinationStride) {
             DepthCon8To32(source, destination, width, height, sourceStride, destinationStride,
                           table->data());
         },
         [](std::uint32_t word) { return word * kTable3; }},
        {"copy", 4, 4, Copy32, [](std::uint32_t word) { return word; }},
        {"copy, fixed result", 4, 4, _TvCopy32, [](std::uint32_t word) { return word; }},
    };
}

/// Three lines of noise, each way round, between bytes that must stay.
void ExpectConverts(const Conversion& inConversion, std::int32_t inWidth, std::size_t inShift,
                    bool inIsReversed) {
    constexpr std::size_t kHeight = 3;
    constexpr std::size_t kPadding = 5;
    std::mt19937 random(static_cast<unsigned>(inWidth));
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t fromStride = inConversion.from * width + kPadding;
    const std::size_t toStride = inConversion.to * width + kPadding;
    Bytes source(inShift + kHeight * fromStride);
    for (std::uint8_t& byte : source)
        byte = static_cast<std::uint8_t>(random() >> 8);
    Bytes actual(inShift + kHeight * toStride, 0xA5);
    Bytes expected = actual;
    for (std::size_t y = 0; y < kHeight; ++y) {
        const std::size_t line = inIsReversed ? kHeight - 1 - y : y;
        for (std::size_t x = 0; x < width; ++x) {
            const std::uint32_t pixel = inConversion.pixel(
                Word(&source[inShift + y * fromStride + x * inConversion.from], inConversion.from));
            std::memcpy(&expected[inShift + line * toStride + x * inConversion.to], &pixel,
                        inConversion.to);
        }
    }
    std::uint8_t* const start =
        actual.data() + inShift + (inIsReversed ? (kHeight - 1) * toStride : 0);
    const auto stride = static_cast<std::int32_t>(toStride);
    inConversion.convert(source.data() + inShift, start, inWidth, kHeight,
                         static_cast<std::int32_t>(fromStride), inIsReversed ? -stride : stride);
    ASSERT_EQ(actual, expected) << inConversion.name << ", " << inWidth;
}

class DepthConversion : public testing::Test {
  protected:
    support::SharedFolder folder_;
};

TEST_F(DepthConversion, EveryWidth) {
    VF::Initialize();
    for (const Conversion& conversion : Conversions()) {
        for (std::int32_t width = 1; width <= 140; ++width)
            ExpectConverts(conversion, width, static_cast<std::size_t>(width % 4), width % 3 == 0);
    }
    VF::Shutdown();
}

TEST_F(DepthConversion, EveryWord) {
    std::vector<std::uint16_t> words(65536);
    std::iota(words.begin(), words.end(), std::uint16_t{0});
    std::vector<std::uint32_t> pixels(65536);
    std::vector<std::uint16_t> back(65536);
    DepthCon16To32(words.data(), pixels.data(), 65536, 1, 0, 0);
    DepthCon32To16(pixels.data(), back.data(), 65536, 1, 0, 0);
    for (std::uint32_t word = 0; word < 65536; ++word) {
        ASSERT_EQ(pixels[word], From16(word));
        ASSERT_EQ(back[word], word & 0x7FFF);
    }
    const Pixel pixel = {0xFF, 0x80, 0x07, 0};
    DepthCon32To16(pixel.data(), back.data(), 1, 1, 4, 2);
    EXPECT_EQ(back[0], 0x021F);
}

TEST_F(DepthConversion, NothingToDo) {
    std::uint32_t pixel = 7;
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {1, -1}}) {
        EXPECT_EQ(_TvDepthCon24To32(&pixel, &pixel, width, height, 4, 4), 0);
        EXPECT_EQ(_TvDepthCon32To24(&pixel, &pixel, width, height, 4, 4), 0);
        DepthCon16To32(&pixel, &pixel, width, height, 4, 4);
        EXPECT_EQ(pixel, 7U);
    }
}

TEST_F(DepthConversion, ToTheOtherByteOrderUpwards) {
    const std::uint32_t source[2] = {0x44332211, 0x88776655};
    std::uint32_t result[2] = {};
    EXPECT_EQ(Con32ToQ32(source, result + 1, 4, 4, 1, 2), 0);
    EXPECT_EQ(result[1], 0x11223344U);
    EXPECT_EQ(result[0], 0x55667788U);
    EXPECT_NE(Copy32(nullptr, result, 1, 1, 4, 4), 0);
}

}  // namespace
}  // namespace raster_test
