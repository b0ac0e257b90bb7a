// The legacy raster functions: copies and composites of records, conversions between pixel depths,
// display, and run-length-encoded bitmaps. Plain functions; handles and pointers must be alive
// unless something else is said. Rectangles are in a record's coordinates, y from the top, right
// and bottom exclusive; strides are bytes from one line to the next and may be negative. Renderer
// results are not looked at where no result is described. Calls on different destinations may run
// at the same time.
#pragma once

#include <cstdint>

#include "Export.h"
#include "TPix.h"

extern "C" {

// ---------------------------------------------------------------------------------------------
// Copies of 32-bit pixels

/// Mode bits of MyCopyPix.
inline constexpr std::uint16_t kCopyWithOpacity = 0x8000;  ///< the low byte: 0 nothing, 255 all
inline constexpr std::uint16_t kCopyMaskIs8Bit = 0x1000;   ///< the mask is a TPixHand
inline constexpr std::uint16_t kCopyMaskIs1Bit = 0x2000;   ///< the mask is an HGLOBAL

/// Copies one rectangle into another. What hangs out of a record is cut off, in proportion where
/// the sizes differ. With equal sizes the mask (null: none) says which pixels are copied; it covers
/// the source rectangle before it is cut and is upright like the picture:
/// - an HRGN, whose pixels are copied, counted from the top left corner; when there is no memory
///   for it, everything is copied;
/// - an HGLOBAL of one bit a pixel (set: copied), most significant first, top line first, lines of
///   2 * (((width - 1) >> 4) + 1) bytes; one that is too small, or not there, copies nothing;
/// - a TPixHand of a picture of 8 bits a pixel, stored bottom-up like any other, used as CopyMask8
///   does; what lies outside of it is not copied.
/// Opacity (see the mode bits) mixes what is copied with what is there, all four bytes of a pixel;
/// an 8-bit mask takes no notice of it. With different sizes the rectangle is scaled, and mask and
/// opacity are not looked at. Rectangles that are empty do nothing. Source and destination
/// rectangles must not overlap in memory.
VF_EXPORT void MyCopyPix(const TPix* inSource, const TPix* ioDestination,
                         const tagRECT* inSourceRect, const tagRECT* inDestinationRect,
                         std::uint16_t inMode, void* inMask);
/// The same without a mask, and with one.
VF_EXPORT void tpixCopy(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                        const tagRECT* inDestinationRect, std::uint16_t inMode);
VF_EXPORT void tpixCopyRgn(TPixHand inSource, TPixHand ioDestination, const tagRECT* inSourceRect,
                           const tagRECT* inDestinationRect, std::uint16_t inMode, void* inMask);
VF_EXPORT void bn_StretchBits(TPixHand inSource, TPixHand ioDestination,
                              const tagRECT* inSourceRect, const tagRECT* inDestinationRect,
                              std::uint16_t inMode, void* inMask);

/// Copies the pixels whose bit is set in a 1-bit mask of the rectangles' size, laid out as above.
/// Of the mode, the opacity counts. Rectangles of different sizes do nothing; nothing is cut, so
/// both must lie in their records.
VF_EXPORT void CopyMaskTPix(const TPix* inSource, const TPix* ioDestination,
                            const tagRECT* inSourceRect, const tagRECT* inDestinationRect,
                            std::uint16_t inMode, const void* inMask);

/// Copies 32-bit pixels through one mask byte m each: 0 leaves the pixel, 255 copies it, otherwise
/// blue, green and red become s + floor((d - s) * (255 - m) / 256) and alpha
/// d + (((255 - d) * s * (255 - m)) >> 16). The mask goes back by its stride after each line.
VF_EXPORT void CopyMask8(const void* inSource, void* ioDestination, std::int32_t inWidth,
                         std::int32_t inHeight, std::int32_t inSourceStride,
                         std::int32_t inDestinationStride, std::int32_t inMaskStride,
                         const std::uint8_t* inMaskLine);

// ---------------------------------------------------------------------------------------------
// Copies, scales and composites in the formats of the frames behind the records. Rectangles are
// cut to the destination, points moved into their record; what A, B, a source or a mask does not
// hold from its point on is not drawn.

VF_EXPORT void tpixStraightCopyRect(TPixHand inSource, POINT inPoint, TPixHand ioDestination,
                                    const tagRECT* inDestinationRect);
VF_EXPORT void tpixStraightCopy(TPixHand inSource, TPixHand ioDestination);

/// Both rectangles are cut to their records, and changed so for the caller.
VF_EXPORT void tpixStraightScaleRect(TPixHand inSource, tagRECT* ioSourceRect,
                                     TPixHand ioDestination, tagRECT* ioDestinationRect);
VF_EXPORT void tpixStraightScale(TPixHand inSource, TPixHand ioDestination);

/// Takes each pixel from A where its mask bit is set and from B where it is clear. The mask has the
/// destination's size, laid out as for MyCopyPix; point inMaskPoint of it belongs to the first
/// pixel drawn.
VF_EXPORT void tpixOneBitMaskCompositeRect(TPixHand inA, POINT inPointA, TPixHand inB,
                                           POINT inPointB, TPixHand ioDestination,
                                           const tagRECT* inDestinationRect, const void* inMask,
                                           POINT inMaskPoint);
VF_EXPORT void tpixOneBitMaskComposite(TPixHand inA, TPixHand inB, TPixHand ioDestination,
                                       const void* inMask);
/// The same with a region as mask, in the destination's coordinates; nothing without memory for it.
VF_EXPORT void tpixOneBitMaskRegionCompositeRect(TPixHand inA, POINT inPointA, TPixHand inB,
                                                 POINT inPointB, TPixHand ioDestination,
                                                 const tagRECT* inDestinationRect, HRGN inRegion,
                                                 POINT inMaskPoint);
VF_EXPORT void tpixOneBitMaskRegionComposite(TPixHand inA, TPixHand inB, TPixHand ioDestination,
                                             HRGN inRegion);

/// Lays the source over black. Records of different formats or sizes do nothing.
VF_EXPORT void tpixCompositeToBlack(TPixHand inSource, TPixHand ioDestination);

// ---------------------------------------------------------------------------------------------
// Depths. Sizes in pixels; 32-bit pixels are blue, green, red, alpha, 24-bit ones the first three
// of these, 16-bit ones little-endian words of 5-5-5 bits with blue lowest and bit 15 clear.

VF_EXPORT void DepthCon32To16(const void* inSource, void* outDestination, std::int32_t inWidth,
                              std::int32_t inHeight, std::int32_t inSourceStride,
                              std::int32_t inDestinationStride);
/// Alpha becomes 255, the three low bits of each component 0.
VF_EXPORT void DepthCon16To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                              std::int32_t inHeight, std::int32_t inSourceStride,
                              std::int32_t inDestinationStride);
/// Stores the word of inTable (256 of them) that each byte names.
VF_EXPORT void DepthCon8To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                             std::int32_t inHeight, std::int32_t inSourceStride,
                             std::int32_t inDestinationStride, const std::uint32_t* inTable);

/// These return 0.
VF_EXPORT int _TvDepthCon32To24(const void* inSource, void* outDestination, std::int32_t inWidth,
                                std::int32_t inHeight, std::int32_t inSourceStride,
                                std::int32_t inDestinationStride);
/// Alpha becomes 255.
VF_EXPORT int _TvDepthCon24To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                                std::int32_t inHeight, std::int32_t inSourceStride,
                                std::int32_t inDestinationStride);
VF_EXPORT int _TvCopy32(const void* inSource, void* outDestination, std::int32_t inWidth,
                        std::int32_t inHeight, std::int32_t inSourceStride,
                        std::int32_t inDestinationStride);

/// The same through the table of functions that VF::Initialize puts in place; before that, an input
/// contract violation.
VF_EXPORT int DepthCon32To24(const void* inSource, void* outDestination, std::int32_t inWidth,
                             std::int32_t inHeight, std::int32_t inSourceStride,
                             std::int32_t inDestinationStride);
VF_EXPORT int DepthCon24To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                             std::int32_t inHeight, std::int32_t inSourceStride,
                             std::int32_t inDestinationStride);

/// Copies 32-bit pixels; returns the renderer's result.
VF_EXPORT int Copy32(const void* inSource, void* outDestination, std::int32_t inWidth,
                     std::int32_t inHeight, std::int32_t inSourceStride,
                     std::int32_t inDestinationStride);

/// Turns blue, green, red, alpha into alpha, red, green, blue. outDestination is where the first
/// source line goes; each further one goes inDestinationStride bytes before the last. Returns the
/// renderer's result.
VF_EXPORT int Con32ToQ32(const void* inSource, void* outDestination, std::int32_t inSourceStride,
                         std::int32_t inDestinationStride, std::int32_t inWidth,
                         std::int32_t inHeight);

// ---------------------------------------------------------------------------------------------
// Display

/// Draws the source rectangle into the destination rectangle of a device context, scaled where they
/// differ. Returns what DrawDibClose does, 0 when there is no memory to draw with.
VF_EXPORT int ExecDrawDib(const TPix* inRecord, HDC inContext, const tagRECT* inSourceRect,
                          const tagRECT* inDestinationRect);

/// The same; a source of more than 800 by 600 pixels that has to be scaled is scaled first, and its
/// rectangle then counts from the picture's top left corner.
VF_EXPORT int DoDrawDib(TPixHand inHandle, HDC inContext, const tagRECT* inSourceRect,
                        const tagRECT* inDestinationRect);

/// DoDrawDib; returns 0, or 1 for a null context.
VF_EXPORT std::int16_t tpixToScreen(TPixHand inHandle, HDC inContext, const tagRECT* inSourceRect,
                                    const tagRECT* inDestinationRect);

// ---------------------------------------------------------------------------------------------
// Bitmaps

/// Expands BI_RLE8 data into lines of (width + 3) & 0xFFFC bytes, the first encoded line into the
/// first line in memory. Of the header, the low 16 bits of biWidth and the size of biHeight count.
/// The place runs on through the lines in memory, also over their padding, until an end of line
/// takes it to the start of the line after the one that the coded line began in: what is too long
/// goes on in the next line, which is then coded over it. Only what lies outside of the picture or
/// in padding is not written, and pixels that are not coded stay as they are. Decoding stops at the
/// end mark, which the data must have.
VF_EXPORT void DecodeRle(const BITMAPINFOHEADER* inHeader, void* outPixels, const void* inData);
VF_EXPORT void PlayRle(const BITMAPINFOHEADER* inHeader, void* outPixels, const void* inData);

/// Expands one packed DIB into another: blocks of global memory that hold a header, its colour
/// table of biClrUsed entries, and bits. Both stay locked. Neither block is left: decoding stops
/// where the data ends, what the output has no room for is not written, and blocks too small for
/// their headers do nothing.
VF_EXPORT void PlayRleDib(HGLOBAL inOutput, HGLOBAL inRle);

/// A record of a bitmap resource of 4, 8 (also run-length-encoded) or 24 bits a pixel, scaled into
/// a new record of the destination rectangle where that is given and has another size. Pixels that
/// the resource does not hold are 0, those of other depths all are. Null when there is no such
/// resource, its header is cut off, its width or height is not positive in 16 bits, or there is no
/// memory.
VF_EXPORT TPixHand Bmp2TPix(LPCWSTR inResource, HMODULE inModule, const tagRECT* inDestinationRect);

}  // extern "C"
