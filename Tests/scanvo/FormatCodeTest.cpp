#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "Area.h"

namespace scanvo_test {
namespace {

// What a picture of 5 x 3 pixels takes by code; frames of compressed formats have one size.
std::map<std::uint32_t, std::int64_t> KnownFormats() {
    std::map<std::uint32_t, std::int64_t> known = {
        {0x01000021, 120000}, {0x02000021, 144000}, {0x03000221, 240000}, {0x04000221, 288000},
        {0x05000221, 480000}, {0x06000221, 576000}, {0x07000021, 240000}, {0x08000021, 288000},
        {0x09000031, 27},     {0x0A000031, 27},     {0x09000231, 27},     {0x0A000231, 27}};
    for (const FormatCode format : kPackedFormats)
        known[format.bits] = 3 * (format.IsV210() ? 128 : format.RowLength(5));
    return known;
}

TEST(PixelFormatSize, KnowsItsFormatsAndNoOthers) {
    const auto known = KnownFormats();
    const auto check = [&known](FormatCode format) {
        const auto found = known.find(format.bits);
        const std::int64_t bytes = found == known.end() ? 0 : found->second;
        ASSERT_EQ(SV_PixelFormatSize(format, 5, 3), bytes) << std::hex << format.bits;
        // Formats without addressable rows have their kind in the top byte.
        ASSERT_EQ(SV_IsOriginBottomLeft(format), bytes != 0 && format.bits >> 24 == 0)
            << std::hex << format.bits;
    };
    for (std::uint32_t kind = 0; kind < 16; ++kind) {
        for (std::uint32_t low = 0; low < 0x4000; ++low)
            check(kind << 24 | low);
    }
    for (const std::uint32_t code : {0x7F000020u, 0x80000004u, 0x00010004u})
        check(code);
}

TEST(PixelFormatSize, IsThatOfATightPicture) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    const struct {
        FormatCode format;
        std::int32_t width, height;
        std::int64_t bytes;
    } kCases[] = {
        {0x011, 4, 3, 24}, {0x051, 48, 2, 256},   {0x051, 49, 2, 512},
        {0x004, 1, -1, 0}, {0x01000021, 0, 0, 0}, {0x104, kMost, kMost, 0},
    };
    for (const auto& [format, width, height, bytes] : kCases) {
        EXPECT_EQ(SV_PixelFormatSize(format, width, height), bytes)
            << std::hex << format.bits << std::dec << ' ' << width << 'x' << height;
    }
}

TEST(ClipBufferToRect, AddressesMemoryRows) {
    const struct {
        FormatCode format;
        std::int64_t rowBytes;
        std::int32_t width, height, left, top;
        std::int32_t result;
        std::int64_t offset;
    } kCases[] = {
        {0x004, 400, 10, 5, 3, 2, 0, 812},
        {0x004, -400, 10, 5, 3, 2, 0, -788},
        {0x104, 400, 0, 0, 1, 1, 0, 416},
        {0x011, 400, 2, 2, 6, 1, 0, 412},
        {0x011, 400, 2, 2, 5, 1, kSV_BadSize, 0},
        {0x051, 256, 2, 2, 12, 1, 0, 288},
        {0x051, 256, 2, 2, 2, 0, kSV_BadSize, 0},
        {0x01000021, 0, 720, 480, 0, 0, 0, 0},
        {0x01000021, 0, 720, 480, 0, 1, kSV_BadSize, 0},
        {0x004, 400, -1, 5, 0, 0, kSV_BadSize, 0},
        {0x004, 400, 1, 5, -1, 0, kSV_BadSize, 0},
        {0x004, std::numeric_limits<std::int64_t>::min(), 1, 1, 0, 7, kSV_BadSize, 0},
        {0x7F000020, 400, 1, 1, 0, 0, kSV_UnsupportedFormat, 0},
    };
    std::byte memory[4096];
    std::byte* const buffer = memory + 2048;
    void* pixel;
    for (const auto& each : kCases) {
        pixel = nullptr;
        ASSERT_EQ(SV_ClipBufferToRect(buffer, each.rowBytes, each.width, each.height, each.format,
                                      each.left, each.top, &pixel),
                  each.result)
            << std::hex << each.format.bits;
        EXPECT_EQ(pixel, each.result == 0 ? buffer + each.offset : nullptr);
    }
    const FormatCode format = 0x004;
    EXPECT_EQ(SV_ClipBufferToRect(buffer, 4, 1, 1, format, 0, 0, nullptr), kSV_NullPointer);
    EXPECT_EQ(SV_ClipBufferToRect(nullptr, 4, 1, 1, format, 0, 0, &pixel), kSV_NullPointer);
}

}  // namespace
}  // namespace scanvo_test
