// The legacy tools for alpha channels, masks and small picture operations. Plain functions on
// pixels of four bytes (blue, green, red, alpha) and on records; sizes in pixels, strides in bytes
// from one line to the next. Handles must be alive. Calls on different destinations may run at the
// same time.
#pragma once

#include <cstdint>
#include <vector>

#include "Export.h"
#include "TPix.h"

extern "C" {

// ---------------------------------------------------------------------------------------------
// Alpha and grey

/// Blue, green and red become the alpha.
VF_EXPORT void A_AlphaToRGB(void* ioPixels, std::int32_t inWidth, std::int32_t inHeight,
                            std::int32_t inStride);
VF_EXPORT void AlphaToRGB(TPixHand ioHandle);
/// They become 255 - alpha; alpha stays.
VF_EXPORT void AlphaToInverseRGB(TPixHand ioHandle);

/// Copies alpha into a byte for each pixel, or back; lines without padding, the bottom one first.
/// Null arguments do nothing.
VF_EXPORT void AlphaToGreyBuffer(TPixHand inHandle, std::uint8_t* outGrey);
VF_EXPORT void GreyBufferToAlpha(TPixHand ioHandle, const std::uint8_t* inGrey);

// ---------------------------------------------------------------------------------------------
// Edges of a keyed region. A channel has a byte for each pixel, lines without padding: 31 inside
// the region, 0 outside. A pixel is at the edge when some, but not all, of it and its four
// neighbours are inside; beyond the picture, pixels go on. Null buffers do nothing.

/// Makes a channel of bytes: 31 where they are the key, else 0.
VF_EXPORT void ReplaceChannel(std::uint8_t* ioChannel, std::int32_t inWidth, std::int32_t inHeight,
                              std::uint8_t inKey);

/// Gives edge pixels a colour (a pixel as a word, 0xAARRGGBB), and makes the channel that of the
/// edge. The scratch buffer is as large as the channel. Pictures of less than 3 by 3 stay.
VF_EXPORT void EdgePaintChannel(void* ioPixels, std::int32_t inStride, std::int32_t inWidth,
                                std::int32_t inHeight, std::uint32_t inColour,
                                std::uint8_t* ioChannel, std::uint8_t* ioScratch);

/// Softens edge pixels by those around them, and marks them 255 in the channel. Nothing without
/// memory for the lines in work.
VF_EXPORT void EdgeAliasChannel(void* ioPixels, std::int32_t inStride, std::int32_t inWidth,
                                std::int32_t inHeight, std::uint8_t* ioChannel);

/// Sets alphas: those of inInside where the mask is not 0, those of inOutside elsewhere.
VF_EXPORT void EdgeReconstructAlphas(const std::uint8_t* inInside, const std::uint8_t* inOutside,
                                     void* ioPixels, const std::uint8_t* inMask,
                                     std::int32_t inWidth, std::int32_t inHeight,
                                     std::int32_t inStride);

// ---------------------------------------------------------------------------------------------
// Colours

/// Looks each component up in its table of 256 bytes; alpha is copied.
VF_EXPORT void bn_DoIndexMap(const void* inSource, void* outDestination, std::int16_t inStride,
                             std::int16_t inWidth, std::int16_t inHeight, const std::uint8_t* inRed,
                             const std::uint8_t* inGreen, const std::uint8_t* inBlue);

/// Each byte becomes the sum of the nine around it, times words 0 to 8 of the kernel (line by
/// line), plus word 9, divided by word 10: cut off and clamped to 0 to 255, all 0 for a divisor of
/// 0. Beyond the picture its border goes on. The destination may be the source. Nothing without
/// memory for the lines in work.
VF_EXPORT void DoConvolve(const void* inSource, void* outDestination, const std::int16_t* inKernel,
                          std::int16_t inStride, std::int16_t inWidth, std::int16_t inHeight);

// ---------------------------------------------------------------------------------------------
// Warps: the source quadrilateral into the destination quadrilateral, each four points from the top
// left clockwise, y from the top; in 16.16 fixed point (64 bits a point) or in whole pixels. Return
// the renderer's result.

struct TPixFixedQuad {
    POINT corners[4];
};

VF_EXPORT int bn_FixedToFixed(TPixHand inSource, TPixHand ioDestination,
                              const TPixFixedQuad* inSourceQuad,
                              const TPixFixedQuad* inDestinationQuad);
VF_EXPORT int bn_MapPolygon(TPixHand inSource, TPixHand ioDestination,
                            const TPixFixedQuad* inSourceQuad,
                            const TPixFixedQuad* inDestinationQuad);
VF_EXPORT int bn_DistortFixed(TPixHand inSource, TPixHand ioDestination,
                              const tagRECT* inSourceRect, const TPixFixedQuad* inDestinationQuad);
VF_EXPORT int bn_DistortPolygon(TPixHand inSource, TPixHand ioDestination,
                                const tagRECT* inSourceRect,
                                const TPixFixedQuad* inDestinationQuad);

// ---------------------------------------------------------------------------------------------
// Records

/// Rebuilds the lines of one field by the means of their neighbours: lines count from the first in
/// memory, up to the rectangle's right and bottom. Even lines are kept when inField is 1 and the
/// rectangle's height odd, or neither; otherwise the odd ones.
VF_EXPORT void InterpFrame(TPixHand ioHandle, const tagRECT* inRect, std::uint16_t inField);

/// Fills a rectangle, or with null the whole picture, with bits 16 to 23, 8 to 15 and 0 to 7 of
/// inColour as the first three bytes of a BGRA or (for Y'CbCr frames) VUYA pixel, and alpha 255 or
/// 0.
VF_EXPORT void tpixFillRect(TPixHand ioHandle, const tagRECT* inRect, std::int32_t inColour);
VF_EXPORT void tpixFillRectTransparent(TPixHand ioHandle, const tagRECT* inRect,
                                       std::int32_t inColour);

/// The data rectangle of the frame behind the record; empty without one. A null handle is an input
/// contract violation.
VF_EXPORT void tpixGetAlphaBounds(TPixHand inHandle, tagRECT* outRect);

// ---------------------------------------------------------------------------------------------
// Shapes: the pixels of the destination whose centres a shape covers become those of the source at
// the same place, by the even-odd rule. Points are in pixels, y counting lines in memory, the
// bottom one first. Beyond the source its edge pixels go on; both pictures have pixels of four
// bytes. The format code makes no difference. Points that are no numbers, or beyond 1e9, draw
// nothing. Without memory std::bad_alloc is raised.

struct TPixPoint {
    float x;
    float y;
};

/// A polygon, closed by itself; it may cross itself.
VF_EXPORT void DoRenderPolygon(TPixHand ioDestination, TPixHand inSource,
                               const std::vector<TPixPoint>* inPoints, std::uint32_t inFormat);

/// An outline of cubic Bezier segments: a point, then three for each segment; points after the last
/// whole segment are ignored. Curves become polygons that keep within half a pixel of them.
VF_EXPORT void DoRenderPolyBezier(TPixHand ioDestination, TPixHand inSource,
                                  const std::vector<TPixPoint>* inPoints, std::uint32_t inFormat);

// ---------------------------------------------------------------------------------------------

/// These do nothing, whatever they are given.
VF_EXPORT void bn_AudioLimit();
VF_EXPORT void bn_AudioMix();
VF_EXPORT void bn_AudioMunge();
VF_EXPORT void bn_AudioStretch();
VF_EXPORT void bn_AudioSum();
VF_EXPORT void bn_ImageKey();
VF_EXPORT void bn_Resample();

}  // extern "C"
