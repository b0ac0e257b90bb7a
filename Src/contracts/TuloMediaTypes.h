// The media-type library: pixel formats, their arithmetic, and the small types of a frame.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "SiblingApi.h"

namespace tulomediatypes {

/// A pixel format: a four-character code (first character in the lowest byte) and a word of
/// property bits. Two formats are the same when both words are.
struct PixelFormat {
    std::uint32_t code = 0;
    std::uint32_t properties = 0;

    friend constexpr bool operator==(const PixelFormat&, const PixelFormat&) = default;
};

/// The width of a pixel over its height.
struct PixelAspectRatio {
    std::uint32_t numerator = 1;
    std::uint32_t denominator = 1;

    friend constexpr bool operator==(const PixelAspectRatio&, const PixelAspectRatio&) = default;
};

inline constexpr PixelAspectRatio kPixelAspectRatio_Square{1, 1};

/// How the rows of a frame belong to fields: 0 one progressive picture, 1 the upper field first,
/// 2 the lower field first, 3 not set.
using FieldType = std::uint32_t;

/// How much care a conversion takes, from 0 (fastest) to 5 and more (best).
using RenderQuality = std::int32_t;

/// The bits of a format's property word.
enum Property : std::uint32_t {
    kProperty_YCbCr = 0x1,  ///< Y'CbCr rather than R'G'B'

    kProperty_ComponentTypeMask = 0xE,  ///< what one component is
    kProperty_8u = 0x0,
    kProperty_10u = 0x2,
    kProperty_16u = 0x4,
    kProperty_32f = 0xA,
    kProperty_15BitKind = 0x10,  ///< with kProperty_16u: full scale is 32768
    kProperty_ComponentMask = 0x1E,

    kProperty_AlphaMask = 0x1C0,  ///< what stands in the fourth component
    kProperty_Straight = 0x40,
    kProperty_Premultiplied = 0x80,
    kProperty_NoAlpha = 0xC0,

    kProperty_SubsamplingMask = 0x600,  ///< zero: every pixel has its own chroma
    kProperty_422 = 0x200,
    kProperty_411 = 0x400,
    kProperty_420 = 0x600,

    /// Zero where a row can be addressed, else 1 to 8 for the DV kinds and 9 and 10 for 4:2:0
    /// planar field and frame pictures, as in the top byte of the image renderer's code.
    kProperty_KindMask = 0x1E000,
    kProperty_KindShift = 13,

    kProperty_StorageMask = 0x60000,
    kProperty_Packed = 0x20000,

    kProperty_709 = 0x80000,        ///< BT.709 luma coefficients instead of BT.601
    kProperty_Linear = 0x100000,    ///< linear light with sRGB primaries
    kProperty_Reversed = 0x200000,  ///< the other byte order: ARGB for BGRA, YUYV for UYVY
};

constexpr std::uint32_t FourCC(const char (&inText)[5]) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i)
        code = code << 8 | static_cast<std::uint8_t>(inText[i]);
    return code;
}

namespace details {
inline constexpr std::uint32_t k4444 = kProperty_Packed;
inline constexpr std::uint32_t k4444Rev = kProperty_Packed | kProperty_Reversed;
inline constexpr std::uint32_t k422 = kProperty_Packed | kProperty_YCbCr | kProperty_422;
inline constexpr std::uint32_t k15u = kProperty_16u | kProperty_15BitKind;
inline constexpr std::uint32_t kLin = kProperty_32f | kProperty_Linear;
inline constexpr std::uint32_t kYuv = kProperty_YCbCr;
inline constexpr std::uint32_t kA = kProperty_Straight;
inline constexpr std::uint32_t kP = kProperty_Premultiplied;
inline constexpr std::uint32_t kX = kProperty_NoAlpha;

constexpr std::uint32_t Kind(std::uint32_t inKind, std::uint32_t inSubsampling,
                             std::uint32_t inMatrix = 0) {
    return kProperty_Packed | kProperty_YCbCr | inKind << kProperty_KindShift | inSubsampling |
           inMatrix;
}
}  // namespace details

/// Every format with a name: name, four-character code, property word. The one list from which
/// the constants, the names and both directions of the code lookup come. Where two rows share a
/// code, the first is the one that the code alone stands for.
// clang-format off
#define TULOMEDIATYPES_PIXEL_FORMATS(ROW) \
    ROW(BGRA_4444_8u,          "bgra", k4444 | kProperty_8u | kA) \
    ROW(VUYA_4444_8u,          "vuya", k4444 | kProperty_8u | kYuv | kA) \
    ROW(VUYA_4444_8u_709,      "vUYa", k4444 | kProperty_8u | kYuv | kProperty_709 | kA) \
    ROW(ARGB_4444_8u,          "argb", k4444Rev | kProperty_8u | kA) \
    ROW(BGRX_4444_8u,          "bgrx", k4444 | kProperty_8u | kX) \
    ROW(VUYX_4444_8u,          "vuyx", k4444 | kProperty_8u | kYuv | kX) \
    ROW(VUYX_4444_8u_709,      "vux7", k4444 | kProperty_8u | kYuv | kProperty_709 | kX) \
    ROW(XRGB_4444_8u,          "xrgb", k4444Rev | kProperty_8u | kX) \
    ROW(BGRP_4444_8u,          "bgrp", k4444 | kProperty_8u | kP) \
    ROW(VUYP_4444_8u,          "vuyp", k4444 | kProperty_8u | kYuv | kP) \
    ROW(VUYP_4444_8u_709,      "vup7", k4444 | kProperty_8u | kYuv | kProperty_709 | kP) \
    ROW(PRGB_4444_8u,          "prgb", k4444Rev | kProperty_8u | kP) \
    ROW(BGRA_4444_15u,         "Bgra", k4444 | k15u | kA) \
    ROW(BGRX_4444_15u,         "Bgrx", k4444 | k15u | kX) \
    ROW(BGRP_4444_15u,         "Bgrp", k4444 | k15u | kP) \
    ROW(ARGB_4444_15u,         "Argb", k4444Rev | k15u | kA) \
    ROW(XRGB_4444_15u,         "Xrgb", k4444Rev | k15u | kX) \
    ROW(PRGB_4444_15u,         "Prgb", k4444Rev | k15u | kP) \
    ROW(BGRA_4444_16u,         "Bgra", k4444 | kProperty_16u | kA) \
    ROW(VUYA_4444_16u,         "Vuya", k4444 | kProperty_16u | kYuv | kA) \
    ROW(BGRA_4444_32f,         "BGra", k4444 | kProperty_32f | kA) \
    ROW(VUYA_4444_32f,         "VUya", k4444 | kProperty_32f | kYuv | kA) \
    ROW(VUYA_4444_32f_709,     "VUYA", k4444 | kProperty_32f | kYuv | kProperty_709 | kA) \
    ROW(ARGB_4444_32f,         "ARgb", k4444Rev | kProperty_32f | kA) \
    ROW(XRGB_4444_32f,         "XRgb", k4444Rev | kProperty_32f | kX) \
    ROW(BGRX_4444_32f,         "BGrx", k4444 | kProperty_32f | kX) \
    ROW(VUYX_4444_32f,         "VUyx", k4444 | kProperty_32f | kYuv | kX) \
    ROW(VUYX_4444_32f_709,     "VUx7", k4444 | kProperty_32f | kYuv | kProperty_709 | kX) \
    ROW(PRGB_4444_32f,         "PRgb", k4444Rev | kProperty_32f | kP) \
    ROW(BGRP_4444_32f,         "BGrp", k4444 | kProperty_32f | kP) \
    ROW(VUYP_4444_32f,         "VUyp", k4444 | kProperty_32f | kYuv | kP) \
    ROW(VUYP_4444_32f_709,     "VUp7", k4444 | kProperty_32f | kYuv | kProperty_709 | kP) \
    ROW(BGRA_4444_32f_Linear,  "BGaL", k4444 | kLin | kA) \
    ROW(ARGB_4444_32f_Linear,  "ARgL", k4444Rev | kLin | kA) \
    ROW(BGRX_4444_32f_Linear,  "BGxL", k4444 | kLin | kX) \
    ROW(XRGB_4444_32f_Linear,  "XRgL", k4444Rev | kLin | kX) \
    ROW(BGRP_4444_32f_Linear,  "BGpL", k4444 | kLin | kP) \
    ROW(PRGB_4444_32f_Linear,  "PRgL", k4444Rev | kLin | kP) \
    ROW(NTSCDV25,              "dvn1", Kind(1, kProperty_411)) \
    ROW(PALDV25,               "dvp1", Kind(2, kProperty_420)) \
    ROW(NTSCDV50,              "dvn5", Kind(7, kProperty_422)) \
    ROW(PALDV50,               "dvp5", Kind(8, kProperty_422)) \
    ROW(NTSC_DV100_720p,       "dvn7", Kind(3, kProperty_422, kProperty_709)) \
    ROW(PAL_DV100_720p,        "dvp7", Kind(4, kProperty_422, kProperty_709)) \
    ROW(NTSC_DV100_1080i,      "dvn2", Kind(5, kProperty_422, kProperty_709)) \
    ROW(PAL_DV100_1080i,       "dvp2", Kind(6, kProperty_422, kProperty_709)) \
    ROW(YUYV_422_8u,           "yuy2", k422 | kProperty_8u | kProperty_Reversed) \
    ROW(YUYV_422_8u_709,       "yuy3", k422 | kProperty_8u | kProperty_Reversed | kProperty_709) \
    ROW(V210_422_10u,          "v210", k422 | kProperty_10u) \
    ROW(V210_422_10u_709,      "v211", k422 | kProperty_10u | kProperty_709) \
    ROW(UYVY_422_8u,           "uyvy", k422 | kProperty_8u) \
    ROW(UYVY_422_8u_709,       "uyv7", k422 | kProperty_8u | kProperty_709) \
    ROW(YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601, "yvi2", Kind(9, kProperty_420)) \
    ROW(YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601, "yv12", Kind(10, kProperty_420)) \
    ROW(YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709, "yvi7", Kind(9, kProperty_420, kProperty_709)) \
    ROW(YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709, "yv17", Kind(10, kProperty_420, kProperty_709))
// clang-format on

/// No format at all.
inline constexpr PixelFormat kPixelFormat_Invalid{};

namespace details {
#define TULOMEDIATYPES_DECLARE(name, code, bits) \
    inline constexpr PixelFormat name{FourCC(code), bits};
TULOMEDIATYPES_PIXEL_FORMATS(TULOMEDIATYPES_DECLARE)
#undef TULOMEDIATYPES_DECLARE
}  // namespace details

#define TULOMEDIATYPES_DECLARE(name, code, bits) \
    inline constexpr PixelFormat kPixelFormat_##name = details::name;
TULOMEDIATYPES_PIXEL_FORMATS(TULOMEDIATYPES_DECLARE)
#undef TULOMEDIATYPES_DECLARE

/// A format and the name of its constant without "kPixelFormat_".
struct NamedPixelFormat {
    std::string_view name;
    PixelFormat format;
};

/// The frames of a DV kind, which all have one size.
struct DVFrame {
    std::int32_t width;
    std::int32_t height;
    std::uint64_t bytes;  ///< ten or twelve DIF sequences of 12,000, one, two or four times
};

/// By kind, 1 to 8 (IEC 61834-2, SMPTE 314M and 370M).
inline constexpr DVFrame kDVFrames[] = {
    {},
    {720, 480, 120'000},    // 25 Mb/s, 525 lines
    {720, 576, 144'000},    // 25 Mb/s, 625 lines
    {960, 720, 240'000},    // 100 Mb/s, 720 lines, 60 Hz
    {960, 720, 288'000},    // 100 Mb/s, 720 lines, 50 Hz
    {1280, 1080, 480'000},  // 100 Mb/s, 1080 lines, 60 Hz
    {1440, 1080, 576'000},  // 100 Mb/s, 1080 lines, 50 Hz
    {720, 480, 240'000},    // 50 Mb/s, 525 lines
    {720, 576, 288'000},    // 50 Mb/s, 625 lines
};

/// Bytes of a planar 4:2:0 picture of 8-bit samples: odd sides have a chroma sample more than half.
constexpr std::uint64_t Planar420Size(std::uint64_t inWidth, std::uint64_t inHeight) {
    return inWidth * inHeight + 2 * ((inWidth + 1) / 2) * ((inHeight + 1) / 2);
}

/// Every named format in the order of the list above; kPixelFormat_Invalid is not among them.
SIBLING_API std::span<const NamedPixelFormat> NamedPixelFormats();

/// The property word of the format that a four-character code stands for; 0 for a code that
/// belongs to none.
SIBLING_API std::uint32_t LookupPropertiesForFourCC(std::uint32_t inCode);

/// The four-character code of the format with exactly these properties; 0 where there is none.
SIBLING_API std::uint32_t GuessFourCCForProperties(std::uint32_t inProperties);

/// The packed 4:4:4:4 format into which a format converts with least loss: of the same colour
/// kind and matrix, with alpha where the source has it, and as many bits as it needs (8-bit for
/// 8-bit sources, except that a quality of 5 or more asks for float).
SIBLING_API PixelFormat Select4444PixelFormat(PixelFormat inFormat, RenderQuality inQuality);

/// Bytes of a picture: tight rows for row-addressable formats, the standard frame size for DV,
/// all three planes for 4:2:0. 0 for a format without known layout. Sizes beyond what a signed
/// 64-bit number holds, and negative sizes, give its largest value.
SIBLING_API std::uint64_t PixelFormatSize(PixelFormat inFormat, std::int32_t inWidth,
                                          std::int32_t inHeight);

/// Bytes from the start of one row to the start of the next in a tight picture of a
/// row-addressable format: whole two-pixel units for 8-bit 4:2:2, multiples of 128 bytes for each
/// started 48 pixels for v210. 0 for other formats, and where the number does not fit.
SIBLING_API std::int32_t UncompressedPixelFormatRowBytes(PixelFormat inFormat,
                                                         std::int32_t inWidth);

/// Whether a picture of this size and aspect ratio can be held in the format: both sides
/// positive, the ratio's terms not zero, whole chroma samples for subsampled formats, the
/// standard frame size for DV (SMPTE 314M and 370M, IEC 61834).
SIBLING_API bool IsRectValidForFormat(PixelFormat inFormat, std::int32_t inWidth,
                                      std::int32_t inHeight, PixelAspectRatio inAspectRatio);

}  // namespace tulomediatypes
