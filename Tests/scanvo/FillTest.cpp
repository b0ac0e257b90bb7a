#include <gtest/gtest.h>

#include "Area.h"
#include "Targets.h"

namespace scanvo_test {
namespace {

TEST(Fill, WritesTheValueInEveryFormatAndWidth) {
    const struct {
        decltype(&SV_FillWithOpaqueBlack) call;
        Rgba colour;
    } kFills[] = {{SV_FillWithOpaqueBlack, {0, 0, 0, 1}},
                  {SV_FillWithOpaqueWhite, {1, 1, 1, 1}},
                  {SV_FillWithTransparentBlack, {0, 0, 0, 0}},
                  {SV_FillWithTransparentWhite, {1, 1, 1, 0}}};
    ForEachTarget([&] {
        for (const FormatCode format : kPackedFormats) {
            for (const std::int32_t width : {1, 2, 3, 4, 5, 6, 7, 11, 12, 13, 48, 100}) {
                for (const auto& [call, colour] : kFills) {
                    // One row needs no row bytes.
                    const std::int32_t height = width == 5 ? 1 : 3;
                    Area area(format, width, height,
                              width % 2 == 0 ? RowOrder::Down : RowOrder::Up);
                    const std::int64_t rowBytes = height == 1 ? 0 : area.RowBytes();
                    ASSERT_EQ(call(area.Start(), rowBytes, width, height, format), 0);
                    area.ExpectFilled(ExactCodes(format, colour), Rounding(format));
                    area.ExpectGuardsIntact();
                }
            }
        }
    });
}

TEST(FillWithColor, CarriesThePixelIntoEveryFormat) {
    constexpr Rgba kOrange = {1, 0.6, 0.2, 1};
    for (const FormatCode pixelFormat : {0x004u, 0x1004u, 0x1104u, 0x051u, 0x1211u}) {
        Area colour = AreaOf({kOrange});
        Area pixel = Converted(colour, pixelFormat);
        for (const FormatCode format : kPackedFormats) {
            Area area(format, 9, 2);
            ASSERT_EQ(SV_FillWithColor(area.Start(), area.RowBytes(), 9, 2, format, pixel.Start(),
                                       pixelFormat),
                      0);
            area.ExpectFilled(Converted(pixel, format).At(0, 0), Rounding(format));
            area.ExpectGuardsIntact();
        }
    }
}

// Of a unit the first pixel counts; an alpha that means nothing is kept all the same.
TEST(FillWithColor, KeepsTheBytesOfItsOwnFormat) {
    const struct {
        FormatCode format;
        std::uint8_t unit[4];
        Codes expected;
    } kCases[] = {{0x00C, {0x78, 0x56, 0x34, 0x12}, {0x34, 0x56, 0x78, 0x12}},
                  {0x011, {90, 50, 200, 120}, {50, 90, 200, 255}}};
    for (const auto& [format, unit, expected] : kCases) {
        Area area(format, 5, 2);
        ASSERT_EQ(SV_FillWithColor(area.Start(), area.RowBytes(), 5, 2, format, unit, format), 0);
        area.ExpectFilled(expected, 0);
    }
}

}  // namespace
}  // namespace scanvo_test
