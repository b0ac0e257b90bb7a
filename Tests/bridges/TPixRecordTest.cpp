#include "VideoFrame/TPix.h"

#include "Records.h"

namespace bridges_test {
namespace {

using TPixRecord = BridgeTest;

// Three lines of two pixels, rows of twelve bytes.
TEST_F(TPixRecord, ReadsPixelsAndFillsAlpha) {
    std::uint32_t lines[3][3] = {{0xFF040506, 0xFF070809, 0x11111111},
                                 {0x80101112, 0x80131415, 0x22222222},
                                 {0x00202122, 0x00232425, 0x33333333}};
    TPix record{};
    record.bounds = {0, 0, 2, 3};
    record.rowbytes = 12;
    record.pixels = reinterpret_cast<std::uint8_t*>(lines);
    TPix* master = &record;

    EXPECT_EQ(tpixGetPixel(&master, 0, 0), 0x202122U);
    EXPECT_EQ(tpixGetPixel(&master, 1, 2), 0x070809U);
    for (const auto& [x, y] : {std::pair{-1, 0}, {2, 0}, {0, -1}, {0, 3}})
        EXPECT_EQ(tpixGetPixel(&master, x, y), 0xFFFFFFU);

    tpixFillAlpha(&master, 0x7E);
    const std::uint32_t filled[3][3] = {{0x7E040506, 0x7E070809, 0x11111111},
                                        {0x7E101112, 0x7E131415, 0x22222222},
                                        {0x7E202122, 0x7E232425, 0x33333333}};
    EXPECT_EQ(std::memcmp(lines, filled, sizeof lines), 0);

    tagRECT bounds{};
    tpixGetBounds(&master, &bounds);
    EXPECT_EQ(bounds.bottom, 3);
    EXPECT_EQ(tpixGetRowbytes(&master), 12);
    EXPECT_EQ(tpixGetPixels(&master), lines);
    EXPECT_EQ(tpixLockPixels(&master) + tpixUnlockPixels(&master), 0);
}

}  // namespace
}  // namespace bridges_test
