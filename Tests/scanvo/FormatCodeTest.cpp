#include "Area.h"
#include "rows/KeptTables.h"

namespace scanvo_test {
namespace {

TEST(PixelFormatSize, KnowsItsFormatsAndNoOthers) {
    // What a picture of 5 x 3 pixels takes by code; frames of compressed formats have one size.
    std::map<std::uint32_t, std::int64_t> sizes = {
        {0x01000021, 120000}, {0x02000021, 144000}, {0x03000221, 240000}, {0x04000221, 288000},
        {0x05000221, 480000}, {0x06000221, 576000}, {0x07000021, 240000}, {0x08000021, 288000},
        {0x09000031, 27},     {0x0A000031, 27},     {0x09000231, 27},     {0x0A000231, 27}};
    for (const FormatCode format : kPackedFormats)
        sizes[format.bits] = 3 * (format.IsV210() ? 128 : format.RowLength(5));
    std::vector<std::uint32_t> codes = {0x7F000020u, 0x80000004u, 0x00010004u};
    for (std::uint32_t i = 0; i < 16 * 0x4000; ++i)
        codes.push_back((i / 0x4000) << 24 | i % 0x4000);
    for (const FormatCode format : codes) {
        const std::int64_t bytes = sizes.contains(format.bits) ? sizes[format.bits] : 0;
        ASSERT_EQ(SV_PixelFormatSize(format, 5, 3), bytes) << std::hex << format.bits;
        // Formats without addressable rows have their kind in the top byte.
        ASSERT_EQ(SV_IsOriginBottomLeft(format), bytes != 0 && format.bits >> 24 == 0)
            << std::hex << format.bits;
    }
}

TEST(PixelFormatSize, IsThatOfATightPicture) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    const auto size = [](FormatCode format, std::int32_t width, std::int32_t height) {
        return SV_PixelFormatSize(format, width, height);
    };
    EXPECT_EQ(size(0x004, 1, -1), 0);
    EXPECT_EQ(size(0x01000021, 0, 480), 0);
    EXPECT_EQ(size(0x01000021, 720, 0), 0);
    EXPECT_EQ(size(0x104, kMost, kMost), 0);
}

TEST(Terminate, LetsGoOfWhatIsKeptWhenItIsTheLast) {
    const std::weak_ptr kept = scanvo::KeptWeights({{7}, {5}, 1.4, 3});
    // One more than there were starts counts for nothing.
    SV_Terminate();
    SV_Initialize();
    SV_Initialize();
    SV_Terminate();
    EXPECT_FALSE(kept.expired());
    SV_Terminate();
    EXPECT_TRUE(kept.expired());
}

TEST(ClipBufferToRect, AddressesMemoryRows) {
    // clang-format off
    const struct {
        FormatCode format; std::int64_t rowBytes;
        std::int32_t width, height, left, top, result; std::int64_t offset;
    } kCases[] = {
        {0x004, 400, 10, 5, 3, 2, 0, 812}, {0x004, -400, 10, 5, 3, 2, 0, -788},
        {0x104, 400, 0, 0, 1, 1, 0, 416}, {0x011, 400, 2, 2, 6, 1, 0, 412},
        {0x011, 400, 2, 2, 5, 1, kSV_BadSize, 0}, {0x051, 256, 2, 2, 12, 1, 0, 288},
        {0x051, 256, 2, 2, 2, 0, kSV_BadSize, 0}, {0x01000021, 0, 720, 480, 0, 0, 0, 0},
        {0x01000021, 0, 720, 480, 0, 1, kSV_BadSize, 0}, {0x004, 400, -1, 5, 0, 0, kSV_BadSize, 0},
        {0x004, 400, 1, 5, -1, 0, kSV_BadSize, 0},
        {0x004, std::numeric_limits<std::int64_t>::min(), 1, 1, 0, 7, kSV_BadSize, 0},
        {0x7F000020, 400, 1, 1, 0, 0, kSV_UnsupportedFormat, 0}};
    // clang-format on
    std::byte memory[4096], *const buffer = memory + 2048;
    void* pixel;
    for (const auto& [format, rowBytes, width, height, left, top, result, offset] : kCases) {
        pixel = nullptr;
        ASSERT_EQ(SV_ClipBufferToRect(buffer, rowBytes, width, height, format, left, top, &pixel),
                  result)
            << std::hex << format.bits;
        EXPECT_EQ(pixel, result == 0 ? buffer + offset : nullptr);
    }
    const std::tuple rest(4, 1, 1, FormatCode(0x004), 0, 0);
    EXPECT_EQ(Call(SV_ClipBufferToRect, buffer, rest, nullptr), kSV_NullPointer);
    EXPECT_EQ(Call(SV_ClipBufferToRect, nullptr, rest, &pixel), kSV_NullPointer);
}

}  // namespace
}  // namespace scanvo_test
