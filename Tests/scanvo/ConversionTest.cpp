#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "Area.h"
#include "Siblings/scanvo/Colour.h"

namespace scanvo_test {
namespace {

// Bars at 100 % and 75 %, greys, dark and odd colours.
const std::vector<Rgba> kColours = {
    {1, 1, 1, 1},          {1, 1, 0, 1},          {0, 1, 1, 1},       {0, 1, 0, 1},
    {1, 0, 1, 1},          {1, 0, 0, 1},          {0, 0, 1, 1},       {0, 0, 0, 1},
    {0.75, 0.75, 0, 1},    {0, 0.75, 0.75, 1},    {0.75, 0, 0, 1},    {0.5, 0.5, 0.5, 1},
    {0.02, 0.01, 0.03, 1}, {0.9, 0.3, 0.1, 0.75}, {0.2, 0.6, 1, 0.5}, {0.4, 0.8, 0.7, 0.9},
};

bool IsOutOfScale(double inStored, double inExact, std::uint32_t inCode) {
    const double tolerance = IsFloat(inCode) ? 1e-5 : 0.501;
    return std::abs(inStored - inExact) > tolerance;
}

TEST(Convert, GivesEveryFormatTheCodesOfTheStandards) {
    for (const std::uint32_t code : kPackedFormats) {
        for (const Rgba& colour : kColours) {
            Area pixel = AreaOf({colour});
            Area stored(code, 1, 1);
            ASSERT_EQ(Convert(pixel, stored), 0);
            const Codes exact = ExactCodes(code, colour);
            const Codes codes = stored.At(0, 0);
            for (std::size_t i = 0; i < (Is422(code) ? 3u : 4u); ++i) {
                EXPECT_FALSE(IsOutOfScale(codes[i], exact[i], code))
                    << std::hex << "format 0x" << code << " component " << i << ": " << codes[i]
                    << " instead of " << exact[i] << " for " << colour.red << ' ' << colour.green
                    << ' ' << colour.blue << ' ' << colour.alpha;
            }
            stored.ExpectGuardsIntact();
        }
    }
}

// How far a colour may be off after having been in a format, as a part of white. Dividing by an
// alpha of a half doubles the error of the colour and adds that of the alpha, doubled too.
double Precision(std::uint32_t inCode) {
    const double alphaShare = IsPremultiplied(inCode) ? 4 : 1;
    if (IsFloat(inCode)) return 1e-5;
    if ((inCode & 0x80) != 0) return alphaShare * 2e-5;
    if (!IsYCbCr(inCode)) return alphaShare * 2.1e-3;
    return alphaShare * (IsV210(inCode) ? 1.7e-3 : 6.6e-3);
}

TEST(Convert, CarriesColourBetweenEveryTwoFormats) {
    for (const std::uint32_t first : kPackedFormats) {
        for (const std::uint32_t second : kPackedFormats) {
            for (const Rgba& colour : kColours) {
                Area pixel = AreaOf({colour, colour, colour});
                Area inFirst(first, 3, 1);
                Area inSecond(second, 3, 1);
                Area back(0x1104, 3, 1);
                ASSERT_EQ(Convert(pixel, inFirst), 0);
                ASSERT_EQ(Convert(inFirst, inSecond), 0);
                ASSERT_EQ(Convert(inSecond, back), 0);
                const bool keepsAlpha = HoldsAlpha(first) && HoldsAlpha(second);
                const Codes expected = {colour.red, colour.green, colour.blue,
                                        keepsAlpha ? colour.alpha : 1.0};
                const Codes result = back.At(2, 0);
                for (std::size_t i = 0; i < 4; ++i) {
                    ASSERT_NEAR(result[i], expected[i], Precision(first) + Precision(second))
                        << std::hex << "by way of 0x" << first << " and 0x" << second
                        << ", component " << i;
                }
            }
        }
    }
}

TEST(Convert, ChangesTheMatrixOf422WithEveryPixelsOwnChroma) {
    Area source(0x011, 15, 1);
    source.Scatter();
    Area pixels(0x10D, 15, 1);
    Area expected(0x251, 15, 1);
    Area direct(0x251, 15, 1);
    ASSERT_EQ(Convert(source, pixels), 0);
    ASSERT_EQ(Convert(pixels, expected), 0);
    ASSERT_EQ(Convert(source, direct), 0);
    for (std::int32_t x = 0; x < 15; ++x) {
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(direct.At(x, 0)[i], expected.At(x, 0)[i], 1) << x;
        }
    }
}

TEST(Convert, KeepsBytesThroughWiderFormats) {
    const struct {
        std::uint32_t narrow, wide;
    } kPairs[] = {{0x004, 0x084}, {0x004, 0x1084}, {0x1004, 0x104}, {0x004, 0x1104},
                  {0x008, 0x108}, {0x005, 0x105},  {0x209, 0x309},  {0x00C, 0x1104},
                  {0x011, 0x051}, {0x1211, 0x251}};
    for (const auto& [narrow, wide] : kPairs) {
        Area source(narrow, 300, 4);
        source.Scatter();
        Area between(wide, 300, 4);
        Area back(narrow, 300, 4);
        ASSERT_EQ(Convert(source, between), 0);
        ASSERT_EQ(Convert(between, back), 0);
        for (std::int32_t i = 0; i < 1200; ++i) {
            Codes expected = source.At(i % 300, i / 300);
            if (!HoldsAlpha(narrow)) expected[3] = 255;
            ASSERT_EQ(back.At(i % 300, i / 300), expected) << std::hex << narrow << ' ' << wide;
        }
    }
}

TEST(Convert, RemovesAndRestoresAlphaWithoutDividingByNothing) {
    Area straight = AreaOf({{1, 0.5, 0.25, 0}, {1, 0.5, 0.25, 0.5}});
    Area premultiplied(0x1108, 2, 1);
    ASSERT_EQ(Convert(straight, premultiplied), 0);
    EXPECT_EQ(premultiplied.At(0, 0), (Codes{0, 0, 0, 0}));
    EXPECT_EQ(premultiplied.At(1, 0), (Codes{0.5, 0.25, 0.125, 0.5}));
    Area back(0x104, 2, 1);
    ASSERT_EQ(Convert(premultiplied, back), 0);
    EXPECT_EQ(back.At(0, 0), (Codes{0, 0, 0, 0}));
    EXPECT_EQ(back.At(1, 0), (Codes{1, 0.5, 0.25, 0.5}));
    Area opaque(0x10C, 2, 1);
    ASSERT_EQ(Convert(premultiplied, opaque), 0);
    EXPECT_EQ(opaque.At(1, 0), (Codes{1, 0.5, 0.25, 1}));
}

TEST(Convert, MultipliesLinearLightByAlphaInLinearLight) {
    Area straight = AreaOf({{0.5, 0.5, 0.5, 0.5}});
    Area premultiplied(0x108, 1, 1);
    Area linear(0x10A, 1, 1);
    ASSERT_EQ(Convert(straight, premultiplied), 0);
    ASSERT_EQ(Convert(premultiplied, linear), 0);
    EXPECT_NEAR(linear.At(0, 0)[0], 0.5 * SrgbToLinear(0.5), 1e-6);
}

TEST(Colour, MirrorsTheLinearCurve) {
    EXPECT_NEAR(scanvo::ToLinearLight(0.5f), 0.2140411, 1e-6);
    EXPECT_NEAR(scanvo::ToLinearLight(0.04f), 0.04 / 12.92, 1e-8);
    for (const float value : {0.001f, 0.04f, 0.2f, 1.0f, 3.0f}) {
        EXPECT_EQ(scanvo::ToLinearLight(-value), -scanvo::ToLinearLight(value));
        EXPECT_EQ(scanvo::FromLinearLight(-value), -scanvo::FromLinearLight(value));
        EXPECT_NEAR(scanvo::FromLinearLight(scanvo::ToLinearLight(value)), value, 2e-6);
    }
}

TEST(Convert, WalksMemoryEitherWay) {
    for (const std::uint32_t code : {0x004u, 0x051u, 0x011u}) {
        Area source(0x1004, 7, 5, RowOrder::Up);
        source.Scatter();
        Area up(code, 7, 5, RowOrder::Up);
        Area down(code, 7, 5);
        Area copy(code, 7, 5, RowOrder::Up);
        ASSERT_EQ(Convert(source, up), 0);
        ASSERT_EQ(Convert(source, down), 0);
        ASSERT_EQ(Convert(down, copy), 0);
        for (std::int32_t i = 0; i < 35; ++i) {
            EXPECT_EQ(up.At(i % 7, i / 7), down.At(i % 7, i / 7));
            EXPECT_EQ(copy.At(i % 7, i / 7), down.At(i % 7, i / 7));
        }
        up.ExpectGuardsIntact();
        down.ExpectGuardsIntact();
        copy.ExpectGuardsIntact();
    }
}

TEST(Convert, CopiesEveryBitOfItsOwnFormat) {
    for (const std::uint32_t code : kPackedFormats) {
        // Bits of signalling NaNs, out-of-range codes and unused alphas too.
        std::vector<std::uint8_t> bytes(3 * 128);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<std::uint8_t>(~i * 7);
        const auto rowBytes = RowLength(code, 6);
        std::vector<std::uint8_t> copy(bytes.size());
        ASSERT_EQ(SV_Convert(bytes.data(), rowBytes, Code(code), copy.data(), rowBytes, Code(code),
                             6, 3, 4),
                  0);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 3 * rowBytes, copy.begin()))
            << std::hex << code;
        EXPECT_TRUE(std::all_of(copy.begin() + 3 * rowBytes, copy.end(),
                                [](std::uint8_t byte) { return byte == 0; }));
        const auto before = bytes;
        EXPECT_EQ(SV_Convert(bytes.data(), rowBytes, Code(code), bytes.data(), rowBytes, Code(code),
                             6, 3, 4),
                  0);
        EXPECT_EQ(bytes, before);
    }
}

TEST(Calls, RefuseWhatCannotBe) {
    constexpr auto kFar = std::numeric_limits<std::int64_t>::min();
    std::vector<std::byte> memory(4096, std::byte{0xEE});
    std::byte* const there = memory.data();
    const struct {
        std::byte* buffer;
        std::int64_t rowBytes;
        std::uint32_t code;
        std::int32_t width, height;
        std::int32_t result;
    } kCases[] = {
        {nullptr, 64, 0x004, 4, 4, kSV_NullPointer},
        {there, 64, 0, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x7F000020, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x006, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x01000021, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x0A000031, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x004, 0, 4, kSV_BadSize},
        {there, 64, 0x004, 4, -1, kSV_BadSize},
        {there, 0, 0x004, 4, 2, kSV_BadSize},
        {there, 15, 0x004, 4, 2, kSV_BadSize},
        {there, -15, 0x004, 4, 2, kSV_BadSize},
        {there, kFar, 0x004, 4, 2, kSV_BadSize},
    };
    std::byte good[64];
    for (const auto& each : kCases) {
        const SV_PixelFormat code = Code(each.code);
        EXPECT_EQ(SV_FillWithOpaqueBlack(each.buffer, each.rowBytes, each.width, each.height, code),
                  each.result);
        EXPECT_EQ(SV_FillWithColor(each.buffer, each.rowBytes, each.width, each.height, code, good,
                                   Code(0x004)),
                  each.result);
        EXPECT_EQ(SV_Convert(each.buffer, each.rowBytes, code, there, 64, Code(0x004), each.width,
                             each.height, 4),
                  each.result);
        EXPECT_EQ(SV_Convert(there, 64, Code(0x004), each.buffer, each.rowBytes, code, each.width,
                             each.height, 4),
                  each.result);
        EXPECT_EQ(SV_ScaleConvert(each.buffer, each.rowBytes, each.width, each.height, code, 0,
                                  there, 64, 3, 3, Code(0x004), 0, 2),
                  each.result);
        EXPECT_EQ(SV_ScaleConvert(there, 64, 3, 3, Code(0x004), 0, each.buffer, each.rowBytes,
                                  each.width, each.height, code, 0, 2),
                  each.result);
    }
    EXPECT_EQ(SV_FillWithColor(there, 64, 4, 4, Code(0x004), nullptr, Code(0x004)),
              kSV_NullPointer);
    EXPECT_EQ(SV_FillWithColor(there, 64, 4, 4, Code(0x004), good, kSV_PixelFormat_Custom),
              kSV_UnsupportedFormat);
    EXPECT_TRUE(std::all_of(memory.begin(), memory.end(),
                            [](std::byte byte) { return byte == std::byte{0xEE}; }));
}

TEST(Calls, WorkOutsideInitializeAndTerminate) {
    Area pixel = AreaOf({{1, 0, 0, 1}});
    Area stored(0x004, 1, 1);
    for (const auto call :
         {SV_Terminate, SV_Initialize, SV_Initialize, SV_Terminate, SV_Terminate, SV_Terminate}) {
        call();
        EXPECT_EQ(Convert(pixel, stored), 0);
    }
}

TEST(CopyMemory, CopiesBytes) {
    const char source[] = "picture";
    char copy[8] = "-------";
    SV_CopyMemory(copy, source, 4);
    EXPECT_STREQ(copy, "pict---");
    SV_CopyMemory(nullptr, nullptr, 0);
}

}  // namespace
}  // namespace scanvo_test
