#include "VideoFrame/PixelFormatUtilities.h"

#include "contracts/Orvane.h"
#include "support/Contracts.h"

using namespace tulomediatypes;

// clang-format off
// In the order of the named formats; 0 where the renderer is never asked for one.
constexpr std::uint32_t kRendererCodes[] = {
    0x004, 0x005, 0x205, 0x1004, 0x00C, 0x00D, 0x20D, 0x100C, 0x008, 0x009, 0x209, 0x1008, 0x084,
    0x08C, 0x088, 0x1084, 0x108C, 0x1088, 0, 0, 0x104, 0x105, 0x305, 0x1104, 0x110C, 0x10C, 0x10D,
    0x30D, 0x1108, 0x108, 0x109, 0x309, 0x106, 0x1106, 0, 0, 0x10A, 0x110A, 0x01000021, 0x02000021,
    0x07000021, 0x08000021, 0x03000221, 0x04000221, 0x05000221, 0x06000221, 0x1011, 0x1211, 0x051,
    0x251, 0x011, 0x211, 0x09000031, 0x0A000031, 0x09000231, 0x0A000231};
// clang-format on

TEST(Vocabularies, EveryRendererFormatConvertsBothWays) {
    ASSERT_EQ(NamedPixelFormats().size(), std::size(kRendererCodes));
    for (std::size_t i = 0; i < std::size(kRendererCodes); ++i) {
        const auto& [name, format] = NamedPixelFormats()[i];
        const SV_PixelFormat code = VF::BEPixelFormatToSVPixelFormat(format);
        EXPECT_EQ(code, kRendererCodes[i]) << name;
        EXPECT_EQ(VF::BEToSVPixelFormat(format), code);
        if (code == 0) continue;
        EXPECT_EQ(VF::SVPixelFormatToBEPixelFormat(code), format) << name;
    }
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
        if (!valid.insert(code).second) continue;
        EXPECT_EQ(VF::SDKToBEPixelFormat(code), named.format) << named.name;
    }
    EXPECT_EQ(valid.size(), 55U);
    const std::tuple<TvPixelFormat, bool, TvPixelFormat> kOthers[] = {
        {FourCC("badf"), false, FourCC("badf")},
        {FourCC("XXXX"), false, OV::kPixelFormat_Invalid.code},
        {0, false, 0},
        {FourCC("_abc"), true, FourCC("_abc")},
        {FourCC("@abc"), true, FourCC("@abc")}};
    for (const auto& [code, isValid, result] : kOthers) {
        EXPECT_EQ(VF::IsValidSDKPixelFormat(code), isValid) << code;
        EXPECT_EQ(VF::SDKToBEPixelFormat(code).code, result) << code;
        EXPECT_EQ(VF::IsStandardBEPixelFormat({code, 0}), !isValid) << code;
    }
    EXPECT_FALSE(VF::IsCustomSDKPixelFormat(FourCC("abc_")));
}

TEST(Colours, OnePixelOrOneUnitAndNoByteMore) {
    using Bytes = std::vector<std::uint8_t>;
    const auto red = [](PixelFormat format, void* pixel) {
        return VF::ConvertColorToPixelFormattedData(format, 1, 1, 0, 0, pixel);
    };
    const PixelFormat kFormats[] = {kPixelFormat_BGRA_4444_8u, kPixelFormat_ARGB_4444_8u,
                                    kPixelFormat_VUYA_4444_8u, kPixelFormat_UYVY_422_8u};
    // clang-format off
    const struct {
        int line; std::function<std::int32_t(PixelFormat, void*)> write; std::vector<Bytes> pixels;
    } kCalls[] = {
        {681, VF::GetBlackForPixelFormat, {{0, 0, 0, 255}, {255, 0, 0, 0}, {128, 128, 16, 255}, {128, 16, 128, 16}}},
        {692, VF::GetWhiteForPixelFormat, {{255, 255, 255, 255}, {255, 255, 255, 255}, {128, 128, 235, 255}, {128, 235, 128, 235}}},
        {708, red, {{0, 0, 255, 255}, {255, 255, 0, 0}, {240, 90, 81, 255}}},
    };
    // clang-format on
    for (const auto& call : kCalls) {
        const auto& write = call.write;
        const int line = call.line;
        const auto& pixels = call.pixels;
        Bytes pixel;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixel.assign(24, 0xEE);
            EXPECT_EQ(write(kFormats[i], pixel.data()), 0);
            Bytes expected = pixels[i];
            expected.resize(24, 0xEE);
            EXPECT_EQ(pixel, expected) << line << ", " << i;
        }
        for (const PixelFormat format : {kPixelFormat_Invalid, PixelFormat{FourCC("_cus"), 0}})
            EXPECT_EQ(write(format, pixel.data()), -1);
        support::ExpectBroken("pixelData != NULL", "PixelFormatUtilities", line,
                              [&] { write(kFormats[0], nullptr); });
    }
}

TEST(Rectangles, NativeOnesDependOnTheFormat) {
    const PixelFormat rgb = kPixelFormat_BGRA_4444_8u;
    const PixelFormat dv = kPixelFormat_NTSC_DV100_1080i;
    const PixelFormat planar = kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601;
    const PixelFormat unpacked{0, 5U << kProperty_KindShift};
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
