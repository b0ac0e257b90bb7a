#include "contracts/TuloMediaTypes.h"
#include "support/Testing.h"

using namespace tulomediatypes;

TEST(PixelFormats, SizesAreThoseOfTheRealFormats) {
    struct Case {
        PixelFormat format;
        std::int32_t width, height, rowBytes;
        std::uint64_t size;
    };
    const Case cases[] = {
        {kPixelFormat_BGRA_4444_8u, 1920, 1080, 7680, 8294400},
        {kPixelFormat_ARGB_4444_15u, 3, 5, 24, 120},
        {kPixelFormat_BGRX_4444_32f_Linear, 3, 5, 48, 240},
        {kPixelFormat_YUYV_422_8u_709, 5, 2, 12, 24},
        {kPixelFormat_V210_422_10u, 48, 1, 128, 128},
        {kPixelFormat_V210_422_10u_709, 49, 2, 256, 512},
        {kPixelFormat_NTSCDV25, 720, 480, 0, 120000},
        {kPixelFormat_PALDV50, 720, 576, 0, 288000},
        {kPixelFormat_NTSC_DV100_1080i, 1280, 1080, 0, 480000},
        {kPixelFormat_PAL_DV100_1080i, 1440, 1080, 0, 576000},
        {kPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709, 5, 3, 0, 15 + 2 * 3 * 2},
        {kPixelFormat_Invalid, 100, 100, 0, 0},
        {{FourCC("_abc"), 0}, 100, 100, 0, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(UncompressedPixelFormatRowBytes(c.format, c.width), c.rowBytes) << c.format.code;
        EXPECT_EQ(PixelFormatSize(c.format, c.width, c.height), c.size) << c.format.code;
    }
}

TEST(PixelFormats, SizesBeyondSixtyThreeBitsStayThere) {
    EXPECT_EQ(PixelFormatSize(kPixelFormat_BGRA_4444_32f, INT_MAX, INT_MAX), INT64_MAX);
    EXPECT_EQ(PixelFormatSize(kPixelFormat_BGRA_4444_8u, -1, 10), INT64_MAX);
    EXPECT_EQ(PixelFormatSize(kPixelFormat_BGRA_4444_8u, 10, -1), INT64_MAX);
    EXPECT_EQ(PixelFormatSize(kPixelFormat_BGRA_4444_8u, INT_MAX, 1), 4ULL * INT_MAX);
    EXPECT_EQ(UncompressedPixelFormatRowBytes(kPixelFormat_BGRA_4444_8u, INT_MAX), 0);
    EXPECT_EQ(UncompressedPixelFormatRowBytes(kPixelFormat_BGRA_4444_8u, -4), 0);
}
