#include "VideoFrame/PixelFormatUtilities.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <set>
#include <vector>

#include "contracts/Orvane.h"
#include "support/Contracts.h"

using namespace tulomediatypes;

namespace {

PixelFormat WithProperties(std::uint32_t inProperties) {
    return {FourCC("test"), inProperties};
}

}  // namespace

TEST(Vocabularies, EveryRendererFormatConvertsBothWays) {
    std::set<std::uint32_t> codes;
    for (const NamedPixelFormat& named : NamedPixelFormats()) {
        const SV_PixelFormat code = VF::BEPixelFormatToSVPixelFormat(named.format);
        EXPECT_EQ(VF::BEToSVPixelFormat(named.format), code);
        if (code == 0) continue;
        EXPECT_TRUE(codes.insert(code).second) << named.name;
        EXPECT_EQ(VF::SVPixelFormatToBEPixelFormat(code), named.format) << named.name;
    }
    EXPECT_EQ(codes.size(), 52U);
}

TEST(Vocabularies, ValuesWithoutARowOfTheirOwn) {
    // clang-format off
    const std::pair<PixelFormat, std::uint32_t> toRenderer[] = {
        {kPixelFormat_BGRX_4444_32f_Linear, 0}, {kPixelFormat_Invalid, 0}, {{FourCC("bgra"), 0}, 0},
        {{FourCC("_any"), 12}, 0x7F000020}, {{FourCC("@any"), 0}, 0x7F000020}};
    const std::pair<std::uint32_t, PixelFormat> fromRenderer[] = {
        {0, kPixelFormat_Invalid}, {270, kPixelFormat_BGRX_4444_32f_Linear},
        {0x110E, kPixelFormat_XRGB_4444_32f_Linear}, {0x7F000020, OV::kPixelFormat_Invalid},
        {6, OV::kPixelFormat_Invalid}, {0x06000221, kPixelFormat_PAL_DV100_1080i},
        {4, kPixelFormat_BGRA_4444_8u}};
    // clang-format on
    for (const auto& [format, code] : toRenderer)
        EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat(format), code) << format.code;
    for (const auto& [code, format] : fromRenderer)
        EXPECT_EQ(VF::SVPixelFormatToBEPixelFormat(static_cast<SV_PixelFormat>(code)), format);
}

TEST(Vocabularies, SDKCodes) {
    std::set<TvPixelFormat> valid;
    for (const NamedPixelFormat& named : NamedPixelFormats()) {
        const TvPixelFormat code = VF::BEToSDKPixelFormat(named.format);
        EXPECT_EQ(code, named.format.code);
        EXPECT_TRUE(VF::IsValidSDKPixelFormat(code)) << named.name;
        EXPECT_EQ(VF::SDKToBEPixelFormat(code).code, code);
        if (valid.insert(code).second) {
            EXPECT_EQ(VF::SDKToBEPixelFormat(code), named.format) << named.name;
        }
    }
    EXPECT_EQ(valid.size(), 55U);
    for (const TvPixelFormat code : {FourCC("badf"), FourCC("XXXX"), FourCC("BGRA"), 0u})
        EXPECT_FALSE(VF::IsValidSDKPixelFormat(code)) << code;
    EXPECT_EQ(VF::SDKToBEPixelFormat(FourCC("XXXX")), OV::kPixelFormat_Invalid);
    EXPECT_EQ(VF::SDKToBEPixelFormat(FourCC("badf")).code, FourCC("badf"));
    EXPECT_EQ(VF::SDKToBEPixelFormat(0).code, 0U);
    for (const TvPixelFormat custom : {FourCC("_abc"), FourCC("@abc")}) {
        EXPECT_TRUE(VF::IsValidSDKPixelFormat(custom));
        EXPECT_FALSE(VF::IsStandardBEPixelFormat(VF::SDKToBEPixelFormat(custom)));
    }
    EXPECT_FALSE(VF::IsCustomSDKPixelFormat(FourCC("abc_")));
}

TEST(Precision, ComesFromTheComponentTypeAlone) {
    constexpr std::array<int, 8> kBits = {8, 0, 16, 0, 0, 32, 0, 0};
    for (std::uint32_t i = 0; i < 16; ++i) {
        const PixelFormat format = WithProperties((i < 8 ? 0 : ~0xEU) | i % 8 << 1);
        EXPECT_EQ(VF::PixelFormatComponentPrecision(format), kBits[i % 8]);
    }
}

TEST(Colours, OnePixelOrOneUnitAndNoByteMore) {
    using Bytes = std::vector<std::uint8_t>;
    // clang-format off
    const struct { PixelFormat format; Bytes black, white, red; } kCases[] = {
        {kPixelFormat_BGRA_4444_8u, {0, 0, 0, 255}, {255, 255, 255, 255}, {0, 0, 255, 255}},
        {kPixelFormat_ARGB_4444_8u, {255, 0, 0, 0}, {255, 255, 255, 255}, {255, 255, 0, 0}},
        {kPixelFormat_VUYA_4444_8u, {128, 128, 16, 255}, {128, 128, 235, 255}, {240, 90, 81, 255}},
        {kPixelFormat_UYVY_422_8u, {128, 16, 128, 16}, {128, 235, 128, 235}, {}},
    };
    // clang-format on
    for (const auto& each : kCases) {
        const auto expect = [](Bytes expected, const auto& write) {
            Bytes pixel(24, 0xEE);
            EXPECT_EQ(write(pixel.data()), 0);
            expected.resize(24, 0xEE);
            EXPECT_EQ(pixel, expected);
        };
        expect(each.black,
               [&](void* pixel) { return VF::GetBlackForPixelFormat(each.format, pixel); });
        expect(each.white,
               [&](void* pixel) { return VF::GetWhiteForPixelFormat(each.format, pixel); });
        if (each.red.empty()) continue;
        expect(each.red, [&](void* pixel) {
            return VF::ConvertColorToPixelFormattedData(each.format, 1, 1, 0, 0, pixel);
        });
    }
}

TEST(Colours, UnknownFormatsFailAndNullBreaksTheContract) {
    std::array<std::uint8_t, 16> pixel{};
    for (const PixelFormat format : {kPixelFormat_Invalid, PixelFormat{FourCC("_cus"), 0}}) {
        EXPECT_EQ(VF::GetBlackForPixelFormat(format, pixel.data()), -1);
        EXPECT_EQ(VF::GetWhiteForPixelFormat(format, pixel.data()), -1);
        EXPECT_EQ(VF::ConvertColorToPixelFormattedData(format, 1, 1, 1, 1, pixel.data()), -1);
    }
    const PixelFormat bgra = kPixelFormat_BGRA_4444_8u;
    const auto expectBroken = [](int line, const auto& call) {
        support::ExpectBroken("pixelData != NULL", "PixelFormatUtilities", line, call);
    };
    expectBroken(681, [&] { VF::GetBlackForPixelFormat(bgra, nullptr); });
    expectBroken(692, [&] { VF::GetWhiteForPixelFormat(bgra, nullptr); });
    expectBroken(708, [&] { VF::ConvertColorToPixelFormattedData(bgra, 1, 1, 1, 1, nullptr); });
}

TEST(Rectangles, NativeOnesDependOnTheFormat) {
    const PixelFormat rgb = kPixelFormat_BGRA_4444_8u;
    const PixelFormat dv = kPixelFormat_NTSC_DV100_1080i;
    const PixelFormat planar = kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601;
    const PixelFormat unpacked = WithProperties(5U << kProperty_KindShift);
    // A packed kind with 4:2:0 subsampling that is no planar one.
    const PixelFormat dv420 = kPixelFormat_PALDV25;
    const Brix::Rect full{0, 0, 1920, 1080};
    // clang-format off
    const struct { PixelFormat format; Brix::Rect rect, bounds; bool native; } kCases[] = {
        {rgb, full, full, true}, {kPixelFormat_Invalid, full, full, true},
        {kPixelFormat_Invalid, {0, 0, 960, 540}, full, false}, {rgb, {0, 0, 960, 540}, full, false},
        {unpacked, {0, 0, 960, 540}, full, false}, {dv, {0, 0, 960, 540}, full, true},
        {dv, {0, 0, 480, 270}, full, true}, {dv, {100, 100, 1060, 640}, full, true},
        {dv, {0, 0, 240, 135}, full, false}, {dv, {0, 0, 960, 270}, full, false},
        {dv, {0, 0, 1920, 540}, full, false}, {dv420, {0, 0, 1920, 540}, full, false},
        {planar, {0, 0, 1920, 540}, full, true}, {planar, {0, 0, 960, 270}, full, true},
        {planar, {0, 0, 960, 1080}, full, false},
        {planar, {0, 0, 960, 540}, {10, 0, 1920, 1080}, false},
        {dv, {0, 0, INT_MAX, INT_MAX}, {0, 0, -2, -2}, false},
        {dv, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {0, 0, -2, -2}, false},
    };
    // clang-format on
    for (const auto& [format, rect, bounds, isNative] : kCases) {
        EXPECT_EQ(VF::IsRectNativeToFrame(rect, bounds, format), isNative)
            << std::hex << format.properties << std::dec << " " << rect.left << "," << rect.right
            << "x" << rect.bottom;
    }
    // Sides of a number of pixels that wraps to 1.
    EXPECT_FALSE(VF::RectIsValidForPixelFormat(rgb, {INT_MAX, 0, INT_MIN, 1}, {1, 1}));
    EXPECT_FALSE(VF::RectIsValidForPixelFormat(rgb, {0, INT_MAX, 1, INT_MIN}, {1, 1}));
}
