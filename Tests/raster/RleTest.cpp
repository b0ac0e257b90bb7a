#include "Pictures.h"

namespace raster_test {
namespace {

BITMAPINFOHEADER Header(std::int32_t inWidth, std::int32_t inHeight) {
    return {sizeof(BITMAPINFOHEADER), inWidth, inHeight, 1, 8, BI_RLE8, 0, 0, 0, 0, 0};
}

TEST(Rle, DecodesEveryKindOfPair) {
    struct Case {
        std::int32_t width, height;
        Bytes data, expected;  // on bytes of 9
    };
    // clang-format off
    const Case cases[] = {
        {5, 2, {3, 0x41, 0, 0, 0, 1}, {0x41, 0x41, 0x41, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}},
        {5, 2, {1, 5, 0, 0, 2, 6, 0, 1}, {5, 9, 9, 9, 9, 9, 9, 9, 6, 6, 9, 9, 9, 9, 9, 9}},
        {4, 1, {0, 3, 1, 2, 3, 0, 1, 4, 0, 1}, {1, 2, 3, 4}},
        {5, 1, {0, 4, 1, 2, 3, 4, 1, 5, 0, 1}, {1, 2, 3, 4, 5, 9, 9, 9}},
        {4, 3, {1, 7, 0, 2, 2, 2, 1, 8, 0, 1}, {7, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 8}},
        // Down in memory, whichever way the picture is stored.
        {4, -2, {4, 1, 0, 0, 4, 2, 0, 1}, {1, 1, 1, 1, 2, 2, 2, 2}},
        // A line that is too long goes on in the next one, which begins where it should.
        {4, 2, {3, 1, 2, 2, 0, 0, 1, 3, 0, 1}, {1, 1, 1, 2, 3, 9, 9, 9}},
        {4, 2, {3, 1, 0, 3, 2, 3, 4, 0, 0, 0, 1, 5, 0, 1}, {1, 1, 1, 2, 5, 4, 9, 9}},
        {4, 3, {9, 1, 0, 0, 4, 2, 0, 0, 4, 3, 0, 1}, {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3}},
        {4, 2, {0, 2, 5, 0, 1, 5, 0, 0, 1, 6, 0, 1}, {9, 9, 9, 9, 6, 5, 9, 9}},
        // Without ends of lines pixels run on, over the padding too.
        {4, 2, {6, 1, 0, 3, 2, 3, 4, 0, 0, 1}, {1, 1, 1, 1, 1, 1, 2, 3}},
        {3, 2, {2, 1, 3, 2, 0, 1}, {1, 1, 2, 9, 2, 9, 9, 9}},
        // What comes after the last line is not written, but its line may still end in the picture.
        {4, 1, {0, 0, 1, 5, 0, 1}, {9, 9, 9, 9}},
        {4, 2, {12, 1, 0, 0, 2, 2, 0, 1}, {1, 1, 1, 1, 2, 2, 1, 1}},
        // Encoded padding is passed over.
        {5, 2, {8, 1, 0, 0, 3, 2, 0, 5, 3, 4, 5, 6, 7, 0, 0, 1}, {1, 1, 1, 1, 1, 9, 9, 9, 2, 2, 2, 3, 4, 9, 9, 9}},
        // The low 16 bits of the width.
        {0x10004, 1, {4, 1, 1, 1, 0, 1}, {1, 1, 1, 1}},
    };
    // clang-format on
    for (const Case& one : cases) {
        const BITMAPINFOHEADER header = Header(one.width, one.height);
        for (const auto decode : {DecodeRle, PlayRle}) {
            Bytes actual(one.expected.size(), 9);
            decode(&header, actual.data(), one.data.data());
            EXPECT_EQ(actual, one.expected) << &one - cases;
        }
    }
}

// A line's length is told in 16 bits.
TEST(Rle, LinesOf65536PixelsAndMoreEndElsewhere) {
    const auto header = Header(40000, 3);
    Bytes data(800, 200);  // 80,000 pixels
    data.insert(data.end(), {0, 0, 1, 7, 0, 1});
    Bytes actual(120000, 9);
    DecodeRle(&header, actual.data(), data.data());
    EXPECT_EQ(actual[80000 + 40000 - (80000 - 65536)], 7);
}

}  // namespace
}  // namespace raster_test
