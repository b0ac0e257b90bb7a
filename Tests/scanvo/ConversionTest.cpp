#include <gmock/gmock.h>
#include <numeric>

#include "Area.h"

namespace scanvo_test {
namespace {

// Bars at 100 % and 75 %, greys, dark and odd colours.
const std::vector<Rgba> kColours = {
    {1, 1, 1, 1},          {1, 1, 0, 1},          {0, 1, 1, 1},       {0, 1, 0, 1},
    {1, 0, 1, 1},          {1, 0, 0, 1},          {0, 0, 1, 1},       {0, 0, 0, 1},
    {0.75, 0.75, 0, 1},    {0, 0.75, 0.75, 1},    {0.75, 0, 0, 1},    {0.5, 0.5, 0.5, 1},
    {0.02, 0.01, 0.03, 1}, {0.9, 0.3, 0.1, 0.75}, {0.2, 0.6, 1, 0.5}, {0.4, 0.8, 0.7, 0.9},
};

TEST(Convert, TakesSpecialValues) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::tuple<Rgba, FormatCode, FormatCode, Codes> kCases[] = {
        // What integers cannot hold is clamped, and floats pass one and zero.
        {{kInfinity, -2, std::nan(""), 7}, 0x1104, 0x004, {255, 0, 0, 255}},
        {{kInfinity, -2, std::nan(""), 7}, 0x1104, 0x084, {32768, 0, 0, 32768}},
        {{1.5, -0.25, 4, 1}, 0x1104, 0x104, {1.5, -0.25, 4, 1}},
        // Nothing is divided by an alpha of nothing.
        {{1, 0.5, 0.25, 0}, 0x108, 0x1104, {0, 0, 0, 0}},
        {{1, 0.5, 0.25, 1e-40}, 0x108, 0x1104, {0, 0, 0, 0}},
        {{1, 0.5, 0.25, kInfinity}, 0x108, 0x004, {255, 255, 255, 255}},
        {{1, 0.5, 0.25, 0.5}, 0x108, 0x10C, {1, 0.5, 0.25, 1}},
        // The linear curve is mirrored at black, and linear light is multiplied as such.
        {{-0.5, -0.04, 0.5, 1}, 0x1104, 0x106, {-0.2140411, -0.04 / 12.92, 0.2140411, 1}},
        {{-0.5, -0.04, 0.5, 1}, 0x106, 0x1104, {-0.5, -0.04, 0.5, 1}},
        {{0.5, 0.5, 0.5, 0.5}, 0x108, 0x10A, {0.1070206, 0.1070206, 0.1070206, 0.5}},
    };
    for (const auto& [colour, first, second, expected] : kCases) {
        Area pixel = AreaOf({colour});
        Area inFirst = Converted(pixel, first);
        Converted(inFirst, second).ExpectFilled(expected, 1e-6);
    }
}

// Codes survive a wider format or another byte order, whichever way rows lie in memory.
TEST(Convert, KeepsCodesOfEveryWidth) {
    const std::pair<FormatCode, FormatCode> kPairs[] = {
        {0x004, 0x084}, {0x004, 0x1084}, {0x1004, 0x104}, {0x004, 0x1104}, {0x008, 0x108},
        {0x005, 0x105}, {0x209, 0x309},  {0x011, 0x051},  {0x1211, 0x251}, {0x211, 0x1211}};
    for (const auto& [narrow, wide] : kPairs) {
        for (std::int32_t width = 1; width <= 50; ++width) {
            Area source(narrow, width, 2);
            source.Scatter();
            Area up = Converted(source, wide, RowOrder::Up);
            Area down = Converted(up, wide);
            Converted(down, narrow, RowOrder::Up).ExpectLike(source.Pixels(), 0);
        }
    }
}

// Scaled to the size they have, too, and in place. A compressed frame is one block of bytes.
TEST(Convert, CopiesEveryBitOfItsOwnFormat) {
    std::vector<FormatCode> formats(std::begin(kPackedFormats), std::end(kPackedFormats));
    formats.push_back(0x01000021);
    // Bits of signalling NaNs, out-of-range codes and unused alphas too.
    std::vector<std::uint32_t> source(30000), copy(source.size());
    std::iota(source.begin(), source.end(), 0xF7F8A300);
    for (const FormatCode format : formats) {
        std::fill(copy.begin(), copy.end(), 0);
        const std::int64_t rowBytes = format.RowLength(6);
        const bool isDv = format == 0x01000021;
        const std::tuple rest(rowBytes, 6, 3, format, 0);
        for (const void* from : {source.data(), copy.data()}) {
            ASSERT_EQ(Call(SV_ScaleConvert, from, rest, copy.data(), rest, 3), 0);
            EXPECT_EQ(std::memcmp(copy.data(), source.data(),
                                  isDv ? 120000 : 3 * static_cast<std::size_t>(rowBytes)),
                      0);
        }
    }
}

// Units are written whole.
TEST(Convert, GivesBothHalvesOfTheLastUnitTheLastLuma) {
    Area uyvy(0x011, 1, 1), yuyv(0x1011, 1, 1);
    uyvy.Set(0, 0, 0x04030201u);
    for (const auto& [from, to, expected] :
         {std::tuple(&uyvy, &yuyv, 0x03020102u), {&yuyv, &uyvy, 0x02030201u}}) {
        ASSERT_EQ(Call(SV_Convert, from->Memory(), to->Memory(), 1, 1, 4), 0);
        EXPECT_EQ(std::memcmp(to->Start(), &expected, 4), 0);
    }
}

TEST(Calls, RefuseWhatCannotBe) {
    constexpr auto kFar = std::numeric_limits<std::int64_t>::min();
    std::vector<std::byte> memory(4096, std::byte{0xEE});
    std::byte *const there = memory.data(), good[64];
    // clang-format off
    const struct {
        std::byte* buffer; std::int64_t rowBytes; FormatCode format; std::int32_t width, height, result;
    } kCases[] = {
        {nullptr, 64, 0x004, 4, 4, kSV_NullPointer}, {there, 64, 0, 4, 4, kSV_UnsupportedFormat},
        {there, 64, kSV_PixelFormat_Custom, 4, 4, kSV_UnsupportedFormat},
        {there, 64, 0x01000021, 4, 4, kSV_BadSize}, {there, 64, 0x004, 0, 4, kSV_BadSize},
        {there, 64, 0x004, 4, -1, kSV_BadSize}, {there, 15, 0x004, 4, 2, kSV_BadSize},
        {there, -15, 0x004, 4, 2, kSV_BadSize}, {there, 15, 0x051, 3, 2, kSV_BadSize},
        {there, kFar, 0x004, 4, 2, kSV_BadSize}};
    // clang-format on
    constexpr FormatCode kGood = 0x004;
    const std::tuple whole(there, 64, kGood);
    const std::tuple to(there, 64, 3, 3, kGood, 0);
    for (const auto& [buffer, rowBytes, format, width, height, result] : kCases) {
        const std::tuple bad(buffer, rowBytes, format);
        const std::tuple sized(buffer, rowBytes, width, height, format);
        const std::int32_t results[] = {
            Call(SV_FillWithOpaqueBlack, sized),
            Call(SV_FillWithColor, sized, good, kGood),
            Call(SV_Convert, bad, whole, width, height, 4),
            Call(SV_Convert, whole, bad, width, height, 4),
            Call(SV_ScaleConvert, sized, 0, to, 2),
            Call(SV_ScaleConvert, to, sized, 0, 2),
        };
        EXPECT_THAT(results, testing::Each(result)) << std::hex << format.bits;
        // Blends take no compressed frames at all.
        const bool isDv = format == 0x01000021;
        const std::tuple size(width, height);
        const std::int32_t blends[] = {
            Call(SV_CrossDissolve, bad, whole, whole, size, 0.5f, 2),
            Call(SV_CrossDissolve, whole, bad, whole, size, 0.5f, 2),
            Call(SV_InvertAlpha, buffer, rowBytes, bad, size),
            Call(SV_CopyAndSetAlpha, buffer, rowBytes, bad, size, 1),
            Call(SV_CompositeToBlack, bad, whole, size, 1, 2),
            Call(SV_OneBitMaskComposite, bad, whole, good, 4, 0, whole, size, 2),
            Call(SV_OneBitMaskComposite, whole, bad, good, 4, 0, whole, size, 2),
        };
        EXPECT_THAT(blends, testing::Each(isDv ? kSV_UnsupportedFormat : result));
    }
    EXPECT_EQ(SV_FillWithColor(there, 64, 4, 4, kGood, nullptr, kGood), kSV_NullPointer);
    EXPECT_EQ(SV_FillWithColor(there, 64, 4, 4, kGood, good, kSV_PixelFormat_Custom),
              kSV_UnsupportedFormat);
    EXPECT_THAT(memory, testing::Each(std::byte{0xEE}));
}

}  // namespace
}  // namespace scanvo_test
