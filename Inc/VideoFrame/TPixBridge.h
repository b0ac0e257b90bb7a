// Records of older code over video frames, and the frames behind records. Each record holds one
// reference to its frame from when it is made until it is disposed of. Any thread may call these.
#pragma once

#include <cstdint>

#include "Export.h"
#include "FrameInterfaces.h"
#include "TPix.h"

namespace VF {

// ---------------------------------------------------------------------------------------------
// Records. Each function returns null when there is no memory, or when no frame can be as large as
// the new one; the caller owns the handle and gives it back with DisposeTPixFromVideoFrame.

/// A record over the frame's pixels: the whole frame, or with inAsField one field of it. The field
/// starts with the first memory row when inFieldType is 2 and inWhichField 0, or inFieldType is 1
/// and inWhichField 1, otherwise with the second. A frame without memory access gives a record
/// without pixels. A null frame is an input contract violation.
VF_EXPORT TPixHand NewTPixFromVideoFrame(VideoFrameRef inFrame, bool inAsField,
                                         tulomediatypes::FieldType inFieldType, int inWhichField);
/// The whole frame.
VF_EXPORT TPixHand NewTPixFromVideoFrame(VideoFrameRef inFrame);

/// A record over a new frame of the rectangle's size, whose pixels are undefined; the three numbers
/// are those of CreateDiskAlignedVideoFrame. With inAsField the record shows field 0 when
/// inFirstField is not 0 and field 1 otherwise, and the frame's field type becomes 2 or 1; else it
/// becomes 0. Of an odd height, field 0 counts one line more than the frame has: leave the one at
/// the highest address alone. A null rectangle and an empty one are input contract violations.
VF_EXPORT TPixHand NewTPixWithVideoFrame(const tagRECT* inBounds,
                                         tulomediatypes::PixelFormat inFormat, bool inAsField,
                                         int inFirstField,
                                         const tulomediatypes::PixelAspectRatio& inAspectRatio,
                                         int inPixelAlignment, int inBlockSize, int inPixelPrefix);

/// A record over a new custom frame of inDataSize bytes, as CreateCustomVideoFrame makes it.
VF_EXPORT TPixHand
NewCustomTPixWithVideoFrame(const tagRECT* inBounds, tulomediatypes::PixelFormat inFormat,
                            int inDataSize, const tulomediatypes::PixelAspectRatio& inAspectRatio);

/// A record over inSize bytes whose address is a multiple of inAlignment (a power of two, or 0 for
/// any). It has an address and no geometry. A zero size is an input contract violation.
VF_EXPORT TPixHand NewTPixWithRawFrame(std::uint64_t inSize, std::uint64_t inAlignment);

/// A record over whatever the memory belongs to: raw bytes, or a frame. Null for anything else.
VF_EXPORT TPixHand
NewTPixFromVideoMemoryAccess(Brix::InterfaceRef<IVideoFrameMemoryAccess> inMemory);

/// Disposes of a record and its hold on the frame. A null handle is an input contract violation; a
/// handle that has been disposed of is ignored.
VF_EXPORT void DisposeTPixFromVideoFrame(TPixHand inHandle);

// ---------------------------------------------------------------------------------------------
// The frame behind a record. Null handles are input contract violations where nothing else is
// said. Asking about a handle that no record of these functions has leaves an entry without a frame
// behind, which the report at the last VF::Shutdown counts, until the handle is disposed of; the
// last two functions leave none.

/// What the record holds: a frame, or raw bytes. Null for none, also for a null handle.
VF_EXPORT Brix::InterfaceRef<Brix::BrixUnknown> GetTPixHandFrameMapping(TPixHand inHandle);
/// The frame, or null.
VF_EXPORT VideoFrameRef GetVideoFrameFromTPix(TPixHand inHandle);
/// Whether the frame cannot be written; true without one.
VF_EXPORT bool GetUnderlyingVideoFrameReadOnly(TPixHand inHandle);
/// 0 without a frame.
VF_EXPORT std::uint32_t GetUnderlyingVideoFrameRenderTime(TPixHand inHandle);
/// Both 0 without a frame. Null pointers are input contract violations.
VF_EXPORT void GetUnderlyingVideoFrameAspectRatio(TPixHand inHandle, std::uint32_t* outNumerator,
                                                  std::uint32_t* outDenominator);
/// BGRA_4444_8u without a frame.
VF_EXPORT tulomediatypes::PixelFormat GetUnderlyingVideoFramePixelFormat(TPixHand inHandle);
/// 3 without a frame.
VF_EXPORT tulomediatypes::FieldType GetUnderlyingVideoFrameFieldType(TPixHand inHandle);

}  // namespace VF
