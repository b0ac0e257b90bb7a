// The image renderer's pixel formats.
#pragma once

#include <cstdint>

/// A renderer format, which is read by its bits.
enum SV_PixelFormat : std::uint32_t {
    kSV_PixelFormat_None = 0,
    kSV_PixelFormat_Custom = 0x7F000020,  ///< a layout known to its maker only; always refused
};
using ScanvoPixelFormat = SV_PixelFormat;

// The bits of a format.

inline constexpr std::uint32_t kSV_ColourMask = 0x3;
inline constexpr std::uint32_t kSV_Rgb = 0x0;
inline constexpr std::uint32_t kSV_YCbCr = 0x1;
inline constexpr std::uint32_t kSV_LinearRgb = 0x2;  ///< linear light

inline constexpr std::uint32_t kSV_AlphaMask = 0xC;
inline constexpr std::uint32_t kSV_StraightAlpha = 0x4;
inline constexpr std::uint32_t kSV_PremultipliedAlpha = 0x8;
inline constexpr std::uint32_t kSV_IgnoredAlpha = 0xC;

inline constexpr std::uint32_t kSV_LayoutMask = 0x30;
inline constexpr std::uint32_t kSV_Packed4444 = 0x00;
inline constexpr std::uint32_t kSV_Packed422 = 0x10;
inline constexpr std::uint32_t kSV_Compressed = 0x20;
inline constexpr std::uint32_t kSV_Planar420 = 0x30;

inline constexpr std::uint32_t kSV_ComponentMask = 0x1C0;
inline constexpr std::uint32_t kSV_8Bit = 0x000;
inline constexpr std::uint32_t kSV_10Bit = 0x040;
inline constexpr std::uint32_t kSV_15Bit = 0x080;  ///< in 16 bits; white is 32768
inline constexpr std::uint32_t kSV_Float = 0x100;

/// Luma coefficients of BT.709 instead of BT.601.
inline constexpr std::uint32_t kSV_Bt709 = 0x200;
/// The other byte order: ARGB for BGRA, YUYV for UYVY.
inline constexpr std::uint32_t kSV_Reversed = 0x1000;

/// In the top byte, 1 to 8 for the kinds of DV, 9 and 10 for planar 4:2:0 field and frame
/// pictures.
inline constexpr std::uint32_t kSV_KindShift = 24;
