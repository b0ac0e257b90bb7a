#include <numeric>

#include "Area.h"
#include "fast/Caches.h"

namespace scanvo_test {
namespace {

TEST(Fill, WritesTheValueInEveryFormatAndWidth) {
    const std::pair<decltype(&SV_FillWithOpaqueBlack), Rgba> kFills[] = {
        {SV_FillWithOpaqueBlack, {0, 0, 0, 1}},
        {SV_FillWithOpaqueWhite, {1, 1, 1, 1}},
        {SV_FillWithTransparentBlack, {0, 0, 0, 0}},
        {SV_FillWithTransparentWhite, {1, 1, 1, 0}}};
    ForEachTarget([&] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 2, 3, 4, 5, 6, 7, 11, 12, 13, 48, 100}) {
                for (const auto& [call, colour] : kFills) {
                    // One row needs no row bytes.
                    const std::int32_t height = width == 5 ? 1 : 3;
                    Area area(format, width, height, width % 2 ? RowOrder::Up : RowOrder::Down);
                    const std::int64_t rowBytes = height == 1 ? 0 : area.RowBytes();
                    ASSERT_EQ(call(area.Start(), rowBytes, width, height, format), 0);
                    area.ExpectFilled(ExactCodes(format, colour), Rounding(format));
                }
            }
        }
    });
}

void ExpectFill(FormatCode inFormat, const void* inPixel, FormatCode inPixelFormat,
                const Codes& inExpected, double inTolerance) {
    Area area(inFormat, 9, 2);
    ASSERT_EQ(Call(SV_FillWithColor, area.Sized(), inPixel, inPixelFormat), 0);
    area.ExpectFilled(inExpected, inTolerance);
}

TEST(FillWithColor, CarriesThePixelIntoEveryFormat) {
    for (const FormatCode pixelFormat : {0x004u, 0x1004u, 0x1104u, 0x051u, 0x1211u}) {
        Area colour = AreaOf({{1, 0.6, 0.2, 1}});
        Area pixel = Converted(colour, pixelFormat);
        for (const FormatCode format : kPackedFormats)
            ExpectFill(format, pixel.Start(), pixelFormat, Converted(pixel, format).At(0, 0),
                       Rounding(format));
    }
    // Of a unit the first pixel counts; an alpha that means nothing is kept all the same.
    ExpectFill(0x00C, "\x78\x56\x34\x12", 0x00C, {0x34, 0x56, 0x78, 0x12}, 0);
    ExpectFill(0x011, "\x5A\x32\xC8\x78", 0x011, {50, 90, 200, 255}, 0);
}

// Around the size from which copies take another road, at every alignment of both ends.
TEST(CopyMemory, CopiesExactlyTheBytesAsked) {
    constexpr std::size_t kLarge = 3 << 15, kGuard = 300;
    const std::int64_t cache = scanvo::LastLevelCacheBytes();
    EXPECT_GE(cache, 1 << 18);
    scanvo::AssumeLastLevelCache(1 << 18);
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{1000}, kLarge - 1, kLarge, kLarge + 777}) {
        for (const std::size_t shift : {0U, 1U, 63U, 64U, 255U}) {
            std::vector<std::uint32_t> source(count / 4 + 65);
            std::iota(source.begin(), source.end(), 0x30201u);
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(source.data()) + shift;
            std::vector<std::uint8_t> copy(count + 2 * kGuard, 0xEE), expected = copy;
            std::copy_n(bytes, count, expected.data() + kGuard - shift);
            SV_CopyMemory(copy.data() + kGuard - shift, bytes, count);
            ASSERT_TRUE(copy == expected) << count << " bytes, shift " << shift;
        }
    }
    SV_CopyMemory(nullptr, nullptr, 0);
    scanvo::AssumeLastLevelCache(cache);
}

}  // namespace
}  // namespace scanvo_test
