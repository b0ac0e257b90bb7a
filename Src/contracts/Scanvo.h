// The image renderer: every conversion, scale, fill, blend and composite of pixels.
//
// A picture is a start pointer, a row-byte count and a format code. The start is that of memory
// row 0; memory rows follow one another at the row-byte count, which may be negative and, where
// there is one row only, 0. Coordinates are memory rows throughout: no operation turns a picture
// over, except a conversion between a bottom-up and a top-down format, which keeps it upright.
// Pictures of the DV and planar 4:2:0 formats are one block of bytes, top row first; their row
// bytes are not looked at, and their memory rows count from the top. Every operation takes planar
// ones, whole. DV ones can be converted, scaled, filled and merged; whatever else there is refuses
// them. A DV picture has the standard size of its kind.
//
// The pixels of some formats share units: two of UYVY and YUYV one of 4 bytes, six of v210 one of
// 16. An area begins with a unit, and the units at the end of its rows are read and written whole:
// what they hold beyond its width is lost. No byte of a unit is left as it was. What lies between
// the last unit of a row and the next row stays.
//
// Integer results are rounded to nearest. 8- and 10-bit Y'CbCr has the ranges of BT.601 and
// BT.709, RGB and alpha are full range, 15-bit white is 32768, float white 1.0.
#pragma once

#include <cstdint>

#include "ScanvoFormats.h"
#include "SiblingApi.h"

/// What the operations return.
enum SV_Result : std::int32_t {
    kSV_Success = 0,
    kSV_OutOfMemory = -16,
    kSV_NullPointer = -50,
    kSV_UnsupportedFormat = -51,
    kSV_BadSize = -52,      ///< a side that is zero, negative, too large or not the format's own
    kSV_BadData = -53,      ///< compressed data that is not a frame of its format
    kSV_BadArgument = -54,  ///< an amount that is no number, corners that span no area
};

/// Columns and memory rows, right and bottom exclusive.
struct SV_Rect {
    std::int32_t left, top, right, bottom;
};

/// A place between pixels: (0, 0) is the outer corner of the pixel at column 0 of memory row 0,
/// whose centre is (0.5, 0.5).
struct SV_Point {
    double x, y;
};

extern "C" {

/// Bracket all other calls; counted.
SIBLING_API void SV_Initialize();
SIBLING_API void SV_Terminate();

/// Converts an area pixel by pixel. inMode makes no difference here; callers pass 4. Chroma stays
/// on the columns and rows of samples that both formats have; otherwise it is interpolated to every
/// pixel and filtered from there. 8- and 10-bit results are within one code of the exact ones;
/// chroma that another matrix takes beyond its codes may be clamped before it is interpolated.
/// Source and destination may overlap when format and row bytes are equal.
SIBLING_API std::int32_t SV_Convert(const void* inSource, std::int64_t inSourceRowBytes,
                                    SV_PixelFormat inSourceFormat, void* outDestination,
                                    std::int64_t inDestinationRowBytes,
                                    SV_PixelFormat inDestinationFormat, std::int32_t inWidth,
                                    std::int32_t inHeight, std::int32_t inMode);

/// Converts the whole source picture and scales it to the destination's size. Quality 0 and 1:
/// nearest pixel; 2: bilinear, box when shrinking; 3: bilinear with a support that grows when
/// shrinking; 4: bicubic, 5 and more: Lanczos with three lobes, both growing in the same way. Equal
/// sizes never blur. Chroma that lies on the same grid in both formats is scaled on that, of field
/// pictures each field's; otherwise it is spread to every pixel first. When both field types are 1
/// or 2 and the height changes, each field is scaled for itself.
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
/// share units: one unit, of which the first pixel counts; for a planar one: a picture of one
/// pixel).
SIBLING_API std::int32_t SV_FillWithColor(void* outBuffer, std::int64_t inRowBytes,
                                          std::int32_t inWidth, std::int32_t inHeight,
                                          SV_PixelFormat inFormat, const void* inPixel,
                                          SV_PixelFormat inPixelFormat);

/// Mixes two pictures component by component in the output's format: input 1 times 1 - inAmount
/// plus input 2 times inAmount. Amounts outside 0 to 1 count as the nearer of the two. At 0.5 an
/// integer component is the exact mean, halves rounded up; otherwise 8- and 10-bit components take
/// the amount to the nearest 1/32768. The output may be the same memory as an input of its format
/// with its row bytes. inQuality makes no difference.
SIBLING_API std::int32_t SV_CrossDissolve(const void* inFirst, std::int64_t inFirstRowBytes,
                                          SV_PixelFormat inFirstFormat, const void* inSecond,
                                          std::int64_t inSecondRowBytes,
                                          SV_PixelFormat inSecondFormat, void* outBuffer,
                                          std::int64_t inRowBytes, SV_PixelFormat inFormat,
                                          std::int32_t inWidth, std::int32_t inHeight,
                                          float inAmount, std::int32_t inQuality);

/// Copies colour and turns alpha a into opaque - a. Premultiplied colour keeps its components too,
/// so that it no longer matches its alpha. A format without alpha, or with one that is ignored, is
/// copied. Source and destination may be the same memory.
SIBLING_API std::int32_t SV_InvertAlpha(const void* inSource, std::int64_t inSourceRowBytes,
                                        void* outDestination, std::int64_t inDestinationRowBytes,
                                        SV_PixelFormat inFormat, std::int32_t inWidth,
                                        std::int32_t inHeight);

/// Copies colour, premultiplied or not, and gives every pixel the alpha inAlpha, 0 to 1; integer
/// formats clamp it. An ignored alpha is written too; a format without alpha is copied. Source and
/// destination may be the same memory.
SIBLING_API std::int32_t SV_CopyAndSetAlpha(const void* inSource, std::int64_t inSourceRowBytes,
                                            void* outDestination,
                                            std::int64_t inDestinationRowBytes,
                                            SV_PixelFormat inFormat, std::int32_t inWidth,
                                            std::int32_t inHeight, float inAlpha);

/// Lays a picture over opaque black: colour times alpha times inOpacity (0 to 1, clamped), in the
/// source's format, made opaque. Colour that is premultiplied or has no alpha is multiplied by
/// inOpacity alone. Source and destination may be the same memory when format and row bytes are
/// equal. inQuality makes no difference.
SIBLING_API std::int32_t SV_CompositeToBlack(const void* inSource, std::int64_t inSourceRowBytes,
                                             SV_PixelFormat inSourceFormat, void* outDestination,
                                             std::int64_t inDestinationRowBytes,
                                             SV_PixelFormat inDestinationFormat,
                                             std::int32_t inWidth, std::int32_t inHeight,
                                             float inOpacity, std::int32_t inQuality);

/// Takes each pixel from picture A where its mask bit is set and from picture B where it is clear.
/// Mask bits are most significant first; row 0 begins inMaskBitOffset (0 to 7) bits after inMask,
/// each further row inMaskRowBytes later, which may be negative. Inputs are converted to the
/// output's format first; chroma that pixels share goes with the first of them: the left one, and
/// in 4:2:0 that of the upper row. The output may be the same memory as an input of its format with
/// its row bytes. inQuality makes no difference.
SIBLING_API std::int32_t SV_OneBitMaskComposite(const void* inA, std::int64_t inARowBytes,
                                                SV_PixelFormat inAFormat, const void* inB,
                                                std::int64_t inBRowBytes, SV_PixelFormat inBFormat,
                                                const void* inMask, std::int64_t inMaskRowBytes,
                                                std::int32_t inMaskBitOffset, void* outBuffer,
                                                std::int64_t inRowBytes, SV_PixelFormat inFormat,
                                                std::int32_t inWidth, std::int32_t inHeight,
                                                std::int32_t inQuality);

/// Draws the source quadrilateral into the destination quadrilateral through the projective map
/// that takes each source corner to the destination corner of the same number. Corners go round
/// the quadrilateral, either way. Pixels outside the destination quadrilateral or inDestinationRect
/// stay as they are; source pixels outside inSourceRect are not read: those at its edges go on.
/// Both pictures are of inFormat and must not overlap. Where pixels share chroma, that is drawn
/// with the first of them, the left one and the upper. A planar destination is as wide and high as
/// inDestinationRect reaches; in other formats whose pixels share units the source is read, and the
/// destination known, to the ends of the units.
///
/// inQuality 0 and 1 take the nearest pixel, more interpolates bilinearly if inInterpolates is not
/// 0; straight colour then counts by its alpha. inOpacity is 0 to 255, clamped: what is drawn
/// replaces that much of what was there, alpha included. inAntialiasesEdges not 0 mixes the pixels
/// that an edge cuts with what was there by how much of them is covered; 0 draws a pixel whole or
/// not at all, by its centre. The last four arguments make no difference; callers pass 0, 0, 1, 0.
/// kSV_BadArgument for corners of either quadrilateral that repeat, lie on one line or do not
/// bound a convex area, for coordinates that are no numbers or beyond 1e9, and for rectangles that
/// are empty or beyond their picture.
SIBLING_API std::int32_t SV_WarpAffineQuad(
    std::int32_t inSourceWidth, std::int32_t inSourceHeight, const void* inSource,
    std::int64_t inSourceRowBytes, const SV_Rect* inSourceRect, const SV_Point* inSourceCorners,
    void* ioDestination, std::int64_t inDestinationRowBytes, const SV_Rect* inDestinationRect,
    const SV_Point* inDestinationCorners, std::int32_t inQuality, std::int32_t inOpacity,
    std::int32_t inAntialiasesEdges, std::int32_t inInterpolates, SV_PixelFormat inFormat,
    std::int32_t, std::int32_t, std::int32_t, std::int32_t);

/// Merge two DV frames: field 0 (the even rows from the top) of the first and field 1 of the second
/// become one frame. Video segments (five macroblocks in their five DIF blocks) that are the same
/// in both are copied as they are, so that a frame merged with itself does not change; only the
/// others are decoded and encoded. Headers, subcode, auxiliary data and audio are the first
/// frame's. The output may be an input. SV_MergeDV takes 25 Mb/s frames, told apart by their size
/// in bytes (120,000 or 144,000), SV_MergeDVCPRO those of 50 and 100 Mb/s. kSV_BadData when an
/// input is no such frame; the output is then as it was. inQuality makes no difference.
SIBLING_API std::int32_t SV_MergeDV(const void* inFirst, const void* inSecond, void* outFrame,
                                    std::int32_t inFrameBytes, std::int32_t inQuality);
SIBLING_API std::int32_t SV_MergeDVCPRO(const void* inFirst, const void* inSecond, void* outFrame,
                                        SV_PixelFormat inFormat, std::int32_t inQuality);

/// Copies bytes; the areas must not overlap.
SIBLING_API void SV_CopyMemory(void* outDestination, const void* inSource,
                               std::uint64_t inByteCount);

}  // extern "C"
