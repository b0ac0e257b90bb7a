// The image renderer: every conversion, scale, fill, blend and composite of pixels.
//
// A picture is a start pointer, a row-byte count and a format code. The start is that of memory
// row 0; memory rows follow one another at the row-byte count, which may be negative and, where
// there is one row only, 0. Coordinates are memory rows throughout: no operation turns a picture
// over, except a conversion between a bottom-up and a top-down format, which keeps it upright.
// Pictures of the DV and planar 4:2:0 formats are one block of bytes; their row bytes are not
// looked at. They are copied as they stand, and refused by every other operation.
//
// Integer results are rounded to nearest. 8- and 10-bit Y'CbCr has the ranges of BT.601 and
// BT.709, RGB and alpha are full range, 15-bit white is 32768, float white 1.0.
#pragma once

#include <cstdint>

#include "SiblingApi.h"

/// A renderer format, read by its bits: 0x03 colour (0 RGB, 1 Y'CbCr, 2 linear-light RGB), 0x0C
/// alpha (4 straight, 8 premultiplied, 12 ignored), 0x30 layout (0 packed 4:4:4:4, 0x10 packed
/// 4:2:2, 0x20 compressed, 0x30 planar 4:2:0), 0x1C0 component (0 8-bit, 0x40 10-bit, 0x80 15-bit
/// in 16, 0x100 float), 0x200 BT.709 instead of BT.601, 0x1000 the other byte order, and in the
/// top byte the DV or 4:2:0 kind.
enum SV_PixelFormat : std::uint32_t {
    kSV_PixelFormat_None = 0,
    kSV_PixelFormat_Custom = 0x7F000020,  ///< a layout known to its maker only; always refused
};
using ScanvoPixelFormat = SV_PixelFormat;

/// What the operations return.
enum SV_Result : std::int32_t {
    kSV_Success = 0,
    kSV_OutOfMemory = -16,
    kSV_NullPointer = -50,
    kSV_UnsupportedFormat = -51,
    kSV_BadSize = -52,  ///< a side that is zero, negative or too large for the format
};

extern "C" {

/// Bracket all other calls; counted.
SIBLING_API void SV_Initialize();
SIBLING_API void SV_Terminate();

/// Converts an area pixel by pixel. inMode makes no difference here; callers pass 4.
/// Source and destination may be the same memory when start, row bytes, format and size are equal.
SIBLING_API std::int32_t SV_Convert(const void* inSource, std::int64_t inSourceRowBytes,
                                    SV_PixelFormat inSourceFormat, void* outDestination,
                                    std::int64_t inDestinationRowBytes,
                                    SV_PixelFormat inDestinationFormat, std::int32_t inWidth,
                                    std::int32_t inHeight, std::int32_t inMode);

/// Converts the whole source picture and scales it to the destination's size. Quality 0 and 1:
/// nearest pixel; 2: bilinear, box when shrinking; 3 and more: bilinear with a support that grows
/// when shrinking. Equal sizes never blur. When both field types are 1 or 2 and the height changes,
/// each field is scaled for itself.
SIBLING_API std::int32_t SV_ScaleConvert(
    const void* inSource, std::int64_t inSourceRowBytes, std::int32_t inSourceWidth,
    std::int32_t inSourceHeight, SV_PixelFormat inSourceFormat, std::uint32_t inSourceFieldType,
    void* outDestination, std::int64_t inDestinationRowBytes, std::int32_t inDestinationWidth,
    std::int32_t inDestinationHeight, SV_PixelFormat inDestinationFormat,
    std::uint32_t inDestinationFieldType, std::int32_t inQuality);

/// Gives the address of the pixel at column inLeft of memory row inTop. In a format whose pixels
/// share units that is the start of the unit, and inLeft must be its first pixel; in a format
/// without addressable rows only (0, 0) can be had. The area's size must not be negative.
SIBLING_API std::int32_t SV_ClipBufferToRect(void* inBuffer, std::int64_t inRowBytes,
                                             std::int32_t inWidth, std::int32_t inHeight,
                                             SV_PixelFormat inFormat, std::int32_t inLeft,
                                             std::int32_t inTop, void** outPixel);

/// Bytes of a tight picture: every row at its shortest, the standard frame for DV, all planes for
/// 4:2:0. 0 for an unknown format or a size that is not positive or does not fit.
SIBLING_API std::int64_t SV_PixelFormatSize(SV_PixelFormat inFormat, std::int32_t inWidth,
                                            std::int32_t inHeight);

/// Whether memory row 0 is the bottom row of the picture: true for every format whose rows can be
/// addressed, false for the others and for unknown ones.
SIBLING_API bool SV_IsOriginBottomLeft(SV_PixelFormat inFormat);

/// Fill an area with one value of its format. Transparent black and white of a format that holds
/// no alpha are the opaque ones; transparent white of a premultiplied format is its transparent
/// black.
SIBLING_API std::int32_t SV_FillWithOpaqueBlack(void* outBuffer, std::int64_t inRowBytes,
                                                std::int32_t inWidth, std::int32_t inHeight,
                                                SV_PixelFormat inFormat);
SIBLING_API std::int32_t SV_FillWithOpaqueWhite(void* outBuffer, std::int64_t inRowBytes,
                                                std::int32_t inWidth, std::int32_t inHeight,
                                                SV_PixelFormat inFormat);
SIBLING_API std::int32_t SV_FillWithTransparentBlack(void* outBuffer, std::int64_t inRowBytes,
                                                     std::int32_t inWidth, std::int32_t inHeight,
                                                     SV_PixelFormat inFormat);
SIBLING_API std::int32_t SV_FillWithTransparentWhite(void* outBuffer, std::int64_t inRowBytes,
                                                     std::int32_t inWidth, std::int32_t inHeight,
                                                     SV_PixelFormat inFormat);

/// Fills an area with the pixel at inPixel, which is of inPixelFormat (for a format whose pixels
/// share units: one unit, of which the first pixel counts).
SIBLING_API std::int32_t SV_FillWithColor(void* outBuffer, std::int64_t inRowBytes,
                                          std::int32_t inWidth, std::int32_t inHeight,
                                          SV_PixelFormat inFormat, const void* inPixel,
                                          SV_PixelFormat inPixelFormat);

/// Copies bytes; the areas must not overlap.
SIBLING_API void SV_CopyMemory(void* outDestination, const void* inSource,
                               std::uint64_t inByteCount);

}  // extern "C"
