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

// The renderer reads a code by its bits, and they must agree with what the format says of itself.
TEST(Vocabularies, RendererCodesSayWhatTheirFormatsSay) {
    for (const NamedPixelFormat& named : NamedPixelFormats()) {
        const std::uint32_t code = VF::BEPixelFormatToSVPixelFormat(named.format);
        if (code == 0) continue;
        const std::uint32_t bits = named.format.properties;
        const auto has = [bits](std::uint32_t inMask, std::uint32_t inValue) {
            return (bits & inMask) == inValue;
        };
        const std::uint32_t kind = (bits & kProperty_KindMask) >> kProperty_KindShift;
        EXPECT_EQ(code >> 24, kind) << named.name;
        EXPECT_EQ((code & 0x200) != 0, has(kProperty_709, kProperty_709)) << named.name;
        EXPECT_EQ((code & 0x1000) != 0, has(kProperty_Reversed, kProperty_Reversed)) << named.name;
        const std::uint32_t colour = has(kProperty_YCbCr, kProperty_YCbCr)     ? 1
                                     : has(kProperty_Linear, kProperty_Linear) ? 2
                                                                               : 0;
        EXPECT_EQ(code & 0x3, colour) << named.name;
        EXPECT_EQ(code & 0xC, (bits & kProperty_AlphaMask) >> 4) << named.name;
        const std::uint32_t component = has(kProperty_ComponentMask, kProperty_8u)    ? 0
                                        : has(kProperty_ComponentMask, kProperty_10u) ? 0x40
                                        : has(kProperty_ComponentMask, kProperty_32f) ? 0x100
                                                                                      : 0x80;
        EXPECT_EQ(code & 0x1C0, component) << named.name;
    }
}

TEST(Vocabularies, ValuesWithoutARowOfTheirOwn) {
    EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat(kPixelFormat_BGRX_4444_32f_Linear), 0U);
    EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat(kPixelFormat_Invalid), 0U);
    EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat({FourCC("bgra"), 0}), 0U);
    EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat({FourCC("_any"), 12}), 0x7F000020U);
    EXPECT_EQ(VF::BEPixelFormatToSVPixelFormat({FourCC("@any"), 0}), 0x7F000020U);
    const auto fromRenderer = [](std::uint32_t inCode) {
        return VF::SVPixelFormatToBEPixelFormat(static_cast<SV_PixelFormat>(inCode));
    };
    EXPECT_EQ(fromRenderer(0), kPixelFormat_Invalid);
    EXPECT_EQ(fromRenderer(270), kPixelFormat_BGRX_4444_32f_Linear);
    EXPECT_EQ(fromRenderer(0x110E), kPixelFormat_XRGB_4444_32f_Linear);
    EXPECT_EQ(fromRenderer(0x7F000020), OV::kPixelFormat_Invalid);
    EXPECT_EQ(fromRenderer(6), OV::kPixelFormat_Invalid);
    EXPECT_EQ(fromRenderer(0x06000221), kPixelFormat_PAL_DV100_1080i);
    EXPECT_EQ(fromRenderer(4), kPixelFormat_BGRA_4444_8u);
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
    for (const TvPixelFormat code : {FourCC("badf"), FourCC("XXXX"), FourCC("BGRA")}) {
        EXPECT_FALSE(VF::IsValidSDKPixelFormat(code)) << code;
    }
    EXPECT_FALSE(VF::IsValidSDKPixelFormat(0));
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
    for (std::uint32_t type = 0; type < 8; ++type) {
        EXPECT_EQ(VF::PixelFormatComponentPrecision(WithProperties(type << 1)), kBits[type]);
        EXPECT_EQ(VF::PixelFormatComponentPrecision(WithProperties(~0xEU | type << 1)),
                  kBits[type]);
    }
}

TEST(Colours, OnePixelOrOneUnitAndNoByteMore) {
    struct Case {
        PixelFormat format;
        std::vector<std::uint8_t> black, white, red;
    };
    const Case cases[] = {
        {kPixelFormat_BGRA_4444_8u, {0, 0, 0, 255}, {255, 255, 255, 255}, {0, 0, 255, 255}},
        {kPixelFormat_ARGB_4444_8u, {255, 0, 0, 0}, {255, 255, 255, 255}, {255, 255, 0, 0}},
        {kPixelFormat_VUYA_4444_8u, {128, 128, 16, 255}, {128, 128, 235, 255}, {240, 90, 81, 255}},
        {kPixelFormat_UYVY_422_8u, {128, 16, 128, 16}, {128, 235, 128, 235}, {}},
    };
    for (const Case& c : cases) {
        std::array<std::uint8_t, 24> pixel;
        const auto written = [&](const std::vector<std::uint8_t>& inExpected) {
            EXPECT_EQ(std::memcmp(pixel.data(), inExpected.data(), inExpected.size()), 0);
            for (std::size_t i = inExpected.size(); i < pixel.size(); ++i) {
                EXPECT_EQ(pixel[i], 0xEE) << "byte " << i;
            }
        };
        pixel.fill(0xEE);
        EXPECT_EQ(VF::GetBlackForPixelFormat(c.format, pixel.data()), 0);
        written(c.black);
        pixel.fill(0xEE);
        EXPECT_EQ(VF::GetWhiteForPixelFormat(c.format, pixel.data()), 0);
        written(c.white);
        if (c.red.empty()) continue;
        pixel.fill(0xEE);
        EXPECT_EQ(VF::ConvertColorToPixelFormattedData(c.format, 1, 1, 0, 0, pixel.data()), 0);
        written(c.red);
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
    support::ExpectBroken("pixelData != NULL", "PixelFormatUtilities", 681,
                          [&] { VF::GetBlackForPixelFormat(bgra, nullptr); });
    support::ExpectBroken("pixelData != NULL", "PixelFormatUtilities", 692,
                          [&] { VF::GetWhiteForPixelFormat(bgra, nullptr); });
    support::ExpectBroken("pixelData != NULL", "PixelFormatUtilities", 708,
                          [&] { VF::ConvertColorToPixelFormattedData(bgra, 1, 1, 1, 1, nullptr); });
}

TEST(Rectangles, NativeOnesDependOnTheFormat) {
    const PixelFormat rgb = kPixelFormat_BGRA_4444_8u;
    const PixelFormat dv = kPixelFormat_NTSC_DV100_1080i;
    const PixelFormat planar = kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601;
    const PixelFormat unpacked = WithProperties(5U << kProperty_KindShift);
    // A packed kind with 4:2:0 subsampling that is no planar one.
    const PixelFormat dv420 = kPixelFormat_PALDV25;
    const Brix::Rect full{0, 0, 1920, 1080};
    struct Case {
        PixelFormat format;
        Brix::Rect rect, bounds;
        bool native;
    };
    const Case cases[] = {
        {rgb, full, full, true},
        {kPixelFormat_Invalid, full, full, true},
        {kPixelFormat_Invalid, {0, 0, 960, 540}, full, false},
        {rgb, {0, 0, 960, 540}, full, false},
        {unpacked, {0, 0, 960, 540}, full, false},
        {dv, {0, 0, 960, 540}, full, true},
        {dv, {0, 0, 480, 270}, full, true},
        {dv, {100, 100, 1060, 640}, full, true},
        {dv, {0, 0, 240, 135}, full, false},
        {dv, {0, 0, 960, 270}, full, false},
        {dv, {0, 0, 1920, 540}, full, false},
        {dv420, {0, 0, 1920, 540}, full, false},
        {planar, {0, 0, 1920, 540}, full, true},
        {planar, {0, 0, 960, 270}, full, true},
        {planar, {0, 0, 960, 1080}, full, false},
        {planar, {0, 0, 960, 540}, {10, 0, 1920, 1080}, false},
        {dv, {0, 0, INT_MAX, INT_MAX}, {0, 0, -2, -2}, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(VF::IsRectNativeToFrame(c.rect, c.bounds, c.format), c.native)
            << std::hex << c.format.properties << std::dec << " " << c.rect.left << ","
            << c.rect.right << "x" << c.rect.bottom;
    }
}
