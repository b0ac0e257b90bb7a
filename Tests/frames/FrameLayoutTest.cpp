#include "VideoFrame/FrameLayout.h"

#include "frames/FrameHeader.h"
#include "support/Testing.h"

using namespace tulomediatypes;

TEST(FrameLayout, SizeOfABuffer) {
    constexpr long long kPixels = 8294400;  // 1920 x 1080 x 4
    // clang-format off
    const struct { int alignment, block, prefix; long long size; } kCases[] = {
        {0, 0, 0, 128 + kPixels}, {0, 4096, 0, 8298496 + 4095}, {512, 4096, 512, 8298496 + 511},
        {512, 0, 0, 128 + kPixels + 511}, {512, 0, -1000, 128 + kPixels + 511},
        {0, 0, 100, 128 + 100 + kPixels}, {0, -4096, 0, 128 + kPixels},
        {-8, 4096, 0, 8298496}};  // an alignment that is not 0 keeps the block size from serving
    // clang-format on
    for (const auto& [alignment, block, prefix, expected] : kCases) {
        unsigned long long size = 0;
        EXPECT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(
                      kPixelFormat_BGRA_4444_8u, 1920, 1080, alignment, block, prefix, size),
                  0);
        EXPECT_EQ(static_cast<long long>(size), expected)
            << alignment << ' ' << block << ' ' << prefix;
    }
    unsigned long long size = 0;
    VF::GetRequiredSharedMemorySizeForVideoFrame(kPixelFormat_BGRA_4444_32f, INT_MAX, INT_MAX, 0, 0,
                                                 0, size);
    EXPECT_LT(static_cast<long long>(size), 0);
}

TEST(FrameLayout, PixelOffset) {
    // clang-format off
    const struct { std::uintptr_t address; int alignment, block, prefix, offset; } kCases[] = {
        {0x10000, 0, 0, 0, 0}, {0x10001, 0, 0, 0, 0}, {0x10000, 0, 4096, 0, 3968},
        {0x10000 - 16, 0, 4096, 0, 3984}, {0x10000, 512, 4096, 512, 384 + 512},
        {0x10000, 512, 0, -5, 384}, {0x10000, 0, 0, 77, 77}, {0x10000, 0, -1, 77, 77},
        {0x10000, 64, 0, 0, 0}, {0x10001, 64, 0, 0, 63}};
    // clang-format on
    for (const auto& [address, alignment, block, prefix, offset] : kCases) {
        EXPECT_EQ(VF::DeterminePixelOffsetForVideoFrame(reinterpret_cast<const void*>(address),
                                                        alignment, block, prefix),
                  offset)
            << std::hex << address << std::dec << " " << alignment << " " << block;
    }
}

TEST(FrameLayout, WriterFillsItsFieldsAndLeavesTheReservedBytes) {
    std::uint32_t words[33];
    std::memset(words, 0xEE, sizeof(words));
    VF::WriteFrameHeader(words, {.totalSize = 0x1'0000'0010,
                                 .format = {1, 2},
                                 .origin = {-3, 4},
                                 .width = 5,
                                 .height = 6,
                                 .fieldType = 7,
                                 .dataRect = {8, 9, 10, 11},
                                 .aspectRatio = {12, 13},
                                 .rowBytes = 14,
                                 .contentRect = {15, 16, 17, 18}});
    const std::uint32_t expected[24] = {128, 6,  0x10, 1,  2,  0xFFFFFFFD, 4,  5,  6,  7,  1, 8,
                                        9,   10, 11,   12, 13, 14,         15, 16, 17, 18, 0, 0};
    for (std::size_t i = 0; i < 33; ++i)
        EXPECT_EQ(words[i], i < 24 ? expected[i] : 0xEEEEEEEE) << "offset " << i * 4;
}
