// The image renderer's pixel formats.
#pragma once

#include <cstdint>

/// A renderer format, which is read by its bits.
enum SV_PixelFormat : std::uint32_t {
    kSV_PixelFormat_None = 0,
    kSV_PixelFormat_Custom = 0x7F000020,  ///< a layout known to its maker only; always refused
};
using ScanvoPixelFormat = SV_PixelFormat;

/// The bits of a format.
enum SV_FormatBits : std::uint32_t {
    kSV_ColourMask = 0x3,
    kSV_Rgb = 0x0,
    kSV_YCbCr = 0x1,
    kSV_LinearRgb = 0x2,  ///< linear light

    kSV_AlphaMask = 0xC,
    kSV_StraightAlpha = 0x4,
    kSV_PremultipliedAlpha = 0x8,
    kSV_IgnoredAlpha = 0xC,

    kSV_LayoutMask = 0x30,
    kSV_Packed4444 = 0x00,
    kSV_Packed422 = 0x10,
    kSV_Compressed = 0x20,
    kSV_Planar420 = 0x30,

    kSV_ComponentMask = 0x1C0,
    kSV_8Bit = 0x000,
    kSV_10Bit = 0x040,
    kSV_15Bit = 0x080,  ///< in 16 bits; white is 32768
    kSV_Float = 0x100,

    kSV_Bt709 = 0x200,      ///< luma coefficients of BT.709 instead of BT.601
    kSV_Reversed = 0x1000,  ///< the other byte order: ARGB for BGRA, YUYV for UYVY

    /// In the top byte, 1 to 8 for the kinds of DV, 9 and 10 for planar 4:2:0 field and frame
    /// pictures.
    kSV_KindShift = 24,
};
