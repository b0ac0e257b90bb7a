// Conversions between the three vocabularies of pixel formats, tests on formats and rectangles,
// and one-pixel colours.
//
// BE formats are the framework's (tulomediatypes::PixelFormat), SDK formats the plug-in interface's
// four-character codes, SV formats the image renderer's. Nothing here keeps state.
#pragma once

#include <cstdint>

#include "Export.h"
#include "contracts/BrixFoundation.h"
#include "contracts/ScanvoFormats.h"
#include "contracts/TuloMediaTypes.h"

/// A four-character code, first character in the lowest byte. A code whose first character is '@'
/// or '_' names a custom format, whose layout is private to its maker.
using TvPixelFormat = std::uint32_t;

namespace VF {

/// The format's code word.
VF_EXPORT TvPixelFormat BEToSDKPixelFormat(tulomediatypes::PixelFormat inFormat);

/// The format of a valid code, of 'badf' and of 0; OV::kPixelFormat_Invalid for any other.
VF_EXPORT tulomediatypes::PixelFormat SDKToBEPixelFormat(TvPixelFormat inFormat);

/// The renderer's code: kSV_PixelFormat_Custom for every custom format, 0 where there is none.
VF_EXPORT SV_PixelFormat BEPixelFormatToSVPixelFormat(tulomediatypes::PixelFormat inFormat);
VF_EXPORT ScanvoPixelFormat BEToSVPixelFormat(tulomediatypes::PixelFormat inFormat);

/// The format of a renderer code; OV::kPixelFormat_Invalid for 0 and for unknown codes.
VF_EXPORT tulomediatypes::PixelFormat SVPixelFormatToBEPixelFormat(SV_PixelFormat inFormat);

VF_EXPORT bool IsCustomSDKPixelFormat(TvPixelFormat inFormat);
VF_EXPORT bool IsCustomBEPixelFormat(tulomediatypes::PixelFormat inFormat);
VF_EXPORT bool IsStandardBEPixelFormat(tulomediatypes::PixelFormat inFormat);

/// Whether the code is custom or one of the 55 of the plug-in interface.
VF_EXPORT bool IsValidSDKPixelFormat(TvPixelFormat inFormat);

/// Bits in which a component is stored: 8, 16 or 32; 0 for any other kind.
VF_EXPORT std::int32_t PixelFormatComponentPrecision(tulomediatypes::PixelFormat inFormat);

/// Write one opaque pixel (for 4:2:2, one unit of two) to outPixel, which must hold it: black,
/// white, or a colour given as full-range R'G'B' with straight alpha, each from 0 to 1. Return 0,
/// or -1 when the renderer does not know the format. A null outPixel is an input contract
/// violation.
VF_EXPORT std::int32_t GetBlackForPixelFormat(tulomediatypes::PixelFormat inFormat, void* outPixel);
VF_EXPORT std::int32_t GetWhiteForPixelFormat(tulomediatypes::PixelFormat inFormat, void* outPixel);
VF_EXPORT std::int32_t ConvertColorToPixelFormattedData(tulomediatypes::PixelFormat inFormat,
                                                        float inAlpha, float inRed, float inGreen,
                                                        float inBlue, void* outPixel);

/// Whether a picture of the rectangle's size and this pixel aspect ratio can be held in the format.
VF_EXPORT bool RectIsValidForPixelFormat(tulomediatypes::PixelFormat inFormat,
                                         const Brix::Rect& inRect,
                                         const tulomediatypes::PixelAspectRatio& inAspectRatio);

/// Whether a frame of these bounds and format can be read at exactly this rectangle without
/// resampling: at its bounds, and for formats without addressable rows also at a half or a quarter
/// of its size (for planar 4:2:0, of its height alone, too).
VF_EXPORT bool IsRectNativeToFrame(const Brix::Rect& inRect, const Brix::Rect& inBounds,
                                   tulomediatypes::PixelFormat inFormat);

}  // namespace VF
