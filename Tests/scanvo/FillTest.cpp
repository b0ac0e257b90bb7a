#include <gtest/gtest.h>

#include "Area.h"

namespace scanvo_test {
namespace {

using FillCall = std::int32_t (*)(void*, std::int64_t, std::int32_t, std::int32_t, SV_PixelFormat);

void ExpectFilled(Area& inArea, const Codes& inCodes) {
    for (std::int32_t i = 0; i < inArea.Width() * inArea.Height(); ++i) {
        const Codes codes = inArea.At(i % inArea.Width(), i / inArea.Width());
        for (std::size_t component = 0; component < 4; ++component) {
            ASSERT_NEAR(codes[component], inCodes[component],
                        IsFloat(inArea.FormatBits()) ? 1e-6 : 0.501)
                << std::hex << "format 0x" << inArea.FormatBits() << std::dec << " width "
                << inArea.Width() << " pixel " << i << " component " << component;
        }
    }
    inArea.ExpectGuardsIntact();
}

TEST(Fill, WritesTheValueInEveryFormatAndWidth) {
    const struct {
        FillCall call;
        Rgba colour;
    } kFills[] = {{SV_FillWithOpaqueBlack, {0, 0, 0, 1}},
                  {SV_FillWithOpaqueWhite, {1, 1, 1, 1}},
                  {SV_FillWithTransparentBlack, {0, 0, 0, 0}},
                  {SV_FillWithTransparentWhite, {1, 1, 1, 0}}};
    for (const std::uint32_t code : kPackedFormats) {
        for (const std::int32_t width : {1, 2, 3, 4, 5, 6, 7, 11, 12, 13, 48, 100}) {
            for (const auto& [call, colour] : kFills) {
                Area area(code, width, 3, width % 2 == 0 ? RowOrder::Down : RowOrder::Up);
                ASSERT_EQ(call(area.Start(), area.RowBytes(), width, 3, area.Format()), 0);
                ExpectFilled(area, ExactCodes(code, colour));
            }
        }
    }
}

TEST(Fill, GivesOnePixelWithoutRowBytes) {
    std::uint8_t memory[12] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
    ASSERT_EQ(SV_FillWithOpaqueWhite(memory, 0, 2, 1, Code(0x011)), 0);
    const std::uint8_t kWhite[12] = {128, 235, 128, 235, 9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(std::memcmp(memory, kWhite, 12), 0);
}

TEST(FillWithColor, CarriesThePixelIntoEveryFormat) {
    constexpr Rgba kOrange = {1, 0.6, 0.2, 1};
    for (const std::uint32_t pixelCode : {0x004u, 0x1004u, 0x1104u, 0x051u, 0x1211u}) {
        Area colour = AreaOf({kOrange, kOrange});
        Area pixel(pixelCode, 1, 1);
        ASSERT_EQ(Convert(colour, pixel), 0);
        for (const std::uint32_t code : kPackedFormats) {
            Area area(code, 9, 2);
            Area expected(code, 1, 1);
            ASSERT_EQ(Convert(pixel, expected), 0);
            ASSERT_EQ(SV_FillWithColor(area.Start(), area.RowBytes(), 9, 2, area.Format(),
                                       pixel.Start(), pixel.Format()),
                      0);
            ExpectFilled(area, expected.At(0, 0));
        }
    }
}

TEST(FillWithColor, KeepsTheBytesOfItsOwnFormat) {
    Area pixel(0x00C, 1, 1);
    pixel.Set(0, 0, 0x12345678u);
    Area area(0x00C, 5, 2);
    ASSERT_EQ(SV_FillWithColor(area.Start(), area.RowBytes(), 5, 2, area.Format(), pixel.Start(),
                               pixel.Format()),
              0);
    ExpectFilled(area, {0x34, 0x56, 0x78, 0x12});
}

TEST(FillWithColor, CountsTheFirstPixelOfAUnit) {
    const std::uint8_t kUnit[] = {90, 50, 200, 120};
    Area area(0x011, 3, 2);
    ASSERT_EQ(
        SV_FillWithColor(area.Start(), area.RowBytes(), 3, 2, area.Format(), kUnit, Code(0x011)),
        0);
    ExpectFilled(area, {50, 90, 200, 255});
}

}  // namespace
}  // namespace scanvo_test
