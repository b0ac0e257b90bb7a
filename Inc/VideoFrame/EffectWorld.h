// Frames as effect plug-ins see them: a world describes a picture by the address of its top row, a
// signed stride and its size. Each world holds one reference to its frame, under the address of its
// pixels, until it is disposed of. Any thread may call these.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Export.h"
#include "FrameInterfaces.h"
#include "PixelFormatUtilities.h"

/// The plug-in's pixel; here an address only.
struct GF_Pixel;

struct GF_Extent {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

/// One world. The caller owns it, and it may be longer; bytes without a name are left alone.
struct GF_LayerDef {
    std::uint64_t spare0;
    std::uint64_t spare1;
    std::uint32_t depthFlags;  ///< 1 for 16-bit components
    std::uint32_t unusedA;
    GF_Pixel* pixelData;     ///< the world's first row
    std::int32_t rowStride;  ///< bytes from one row of the world to the next
    std::int32_t width;
    std::int32_t height;
    GF_Extent extent;
    std::uint32_t unusedB;
    std::uint64_t spare2;
    std::uint64_t unusedC[2];
    std::uint32_t aspectNumerator;  ///< of a pixel
    std::uint32_t aspectDenominator;
    std::uint64_t unusedD[2];
    TvPixelFormat pixelFormat;
    std::uint32_t spare3;
};
static_assert(offsetof(GF_LayerDef, depthFlags) == 16 && offsetof(GF_LayerDef, pixelData) == 24);
static_assert(offsetof(GF_LayerDef, rowStride) == 32 && offsetof(GF_LayerDef, width) == 36);
static_assert(offsetof(GF_LayerDef, height) == 40 && offsetof(GF_LayerDef, extent) == 44);
static_assert(offsetof(GF_LayerDef, spare2) == 64 && offsetof(GF_LayerDef, aspectNumerator) == 88);
static_assert(offsetof(GF_LayerDef, aspectDenominator) == 92);
static_assert(offsetof(GF_LayerDef, pixelFormat) == 112 && offsetof(GF_LayerDef, spare3) == 116);
static_assert(sizeof(GF_LayerDef) == 120);

namespace VF {

/// Fills a world over the frame's pixels, top display row first: the whole frame, or with inAsField
/// one field. The order of the fields is the frame's field type, or inFieldType where that is 0 or
/// 3. The field starts with the second display row when the order is 2 and inWhichField 0, or the
/// order is 1 and inWhichField 1, otherwise with the top one, and then has the odd row, if there is
/// one. A frame whose memory or rows cannot be reached is an input contract violation, and the
/// world is left alone.
VF_EXPORT void NewGF_WorldFromExistingVideoFrame(VideoFrameRef inVideoFrame, GF_LayerDef& outWorld,
                                                 bool inAsField,
                                                 tulomediatypes::FieldType inFieldType,
                                                 int inWhichField);

/// Fills a world over a new frame, whose pixels are undefined; only the world holds it. This one
/// begins with memory row 0, the bottom of the picture, and runs upwards; pixelFormat is left
/// alone. False with the world left alone when the frame cannot be created.
VF_EXPORT bool NewGF_WorldWithNewVideoFrame(unsigned int inWidth, unsigned int inHeight,
                                            tulomediatypes::PixelFormat inFormat,
                                            const tulomediatypes::PixelAspectRatio& inAspect,
                                            GF_LayerDef& outWorld);

/// Lets go of the frame behind the world with these pixels. Unknown pixels are ignored; null is an
/// input contract violation.
VF_EXPORT void DisposeGF_WorldFromVideoFrame(GF_Pixel* inData);

/// The memory of the frame behind a world, or null. Unknown pixels leave an entry without a frame
/// behind, which the report at the last VF::Shutdown counts, until they are disposed of.
VF_EXPORT Brix::InterfaceRef<IVideoFrameMemoryAccess> GetGFWorldFrameMapping(GF_Pixel* inData);

/// The format of the frame behind a world: false, with inDefault in outFormat, when there is none.
/// Null is an input contract violation.
VF_EXPORT bool GetGFWorldVideoFramePixelType(GF_Pixel* inData,
                                             tulomediatypes::PixelFormat inDefault,
                                             tulomediatypes::PixelFormat& outFormat);
/// The same with BGRA_4444_8u as the default.
VF_EXPORT tulomediatypes::PixelFormat GetGFWorldVideoFramePixelType(GF_Pixel* inData);

}  // namespace VF
