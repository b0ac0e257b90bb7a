// Operations on whole frames, rectangles and fields.
//
// Rectangles are in display coordinates: (0, 0) is the top left pixel, right and bottom are
// exclusive. Pixels are converted and scaled by the image renderer wherever formats or sizes
// differ. No function takes a lock: nobody else may use a frame while it is written.
//
// Functions that return a status return 0, kOutOfMemory when the renderer had no memory, or
// kGeneralFailure for its other failures, unless they say otherwise. A null frame reference, and a
// frame without a view that the function needs, raise Brix::NullInterfaceException unless a
// contract is named for it. All contract violations name the source file VideoFrameManipulators.
#pragma once

#include <cstdint>

#include "Export.h"
#include "FrameInterfaces.h"
#include "Status.h"

namespace VF {

namespace VideoFrameManipulators {

/// Takes the field type of the source frame.
inline constexpr tulomediatypes::FieldType kFieldTypeOfSource = 0xFFFFFFFF;

/// Copies a rectangle of one frame into a rectangle of another, scaling where they differ in size.
/// Both are clamped into their frames first; one that lies wholly outside becomes empty, and
/// nothing is copied. inQuality 3 and more asks the renderer for quality 3, less for 2.
///
/// inField 0 or 1 takes every other row of the source rectangle: in a source of even height 0 takes
/// its even display rows and 1 the odd ones, in one of odd height the other way round, whatever its
/// field type. Any other value takes every row.
///
/// An empty destination rectangle (right equals left or bottom equals top) returns 0 before
/// anything is looked at. Otherwise a source or destination without memory access, and a read-only
/// destination, are input contract violations. Failures of the renderer other than lack of memory
/// return 0.
VF_EXPORT std::int32_t CopyRect(VideoFrameRef inSource, const Brix::Rect& inSourceRect,
                                VideoFrameRef inDestination, const Brix::Rect& inDestinationRect,
                                tulomediatypes::RenderQuality inQuality, std::int32_t inField);

/// Converts and scales a whole frame into another, and carries alpha type, origin and, for equal
/// bounds, the data rectangle across; these stay changed when the renderer fails. inFieldType is
/// that of the source picture, or kFieldTypeOfSource. The destination's field type becomes 0 when
/// inQuality is below 3 and the height is at least halved; otherwise it becomes the source's when
/// it was 3 (not set), or when kFieldTypeOfSource is given and the source is not the higher one.
///
/// The renderer sees premultiplied or ignored alpha where a frame's alpha type says so. A read-only
/// destination is an input contract violation.
VF_EXPORT std::int32_t CopyFrameWithFields(VideoFrameRef inSource, VideoFrameRef inDestination,
                                           tulomediatypes::RenderQuality inQuality,
                                           tulomediatypes::FieldType inFieldType);

/// CopyFrameWithFields with kFieldTypeOfSource.
VF_EXPORT std::int32_t CopyFrame(VideoFrameRef inSource, VideoFrameRef inDestination,
                                 tulomediatypes::RenderQuality inQuality);

/// Gives a frame whose pixels can be addressed one by one: the frame itself when its format is
/// packed and not subsampled, otherwise a copy in a 4:4:4:4 format that suits inQuality. Below
/// quality 5 the copy has components no wider than those of inPreferredFormat, if that is such a
/// format itself. On failure, also that of creating the frame, outFrame stays as it was.
VF_EXPORT std::int32_t MakeAddressableVideoFrame(VideoFrameRef inFrame, VideoFrameRef& outFrame,
                                                 tulomediatypes::PixelFormat inPreferredFormat,
                                                 tulomediatypes::RenderQuality inQuality);

/// Copies field 0 or 1 (any other number counts as 1) into the same field of another frame, whose
/// other field and properties stay as they were. Which rows are a field's follows from each frame's
/// own field type. Widths may differ. A source that is not packed or is subsampled is made
/// addressable first, with inQuality; its failure is returned.
///
/// A read-only destination and fields of different heights are input contract violations.
VF_EXPORT std::int32_t CopyField(VideoFrameRef inSource, VideoFrameRef inDestination,
                                 std::int32_t inField, tulomediatypes::RenderQuality inQuality);

/// Writes the source picture into the destination, moved down by one display row, so that the rows
/// of each field come to lie in the other one. The top row is written twice, the bottom row is left
/// out. The two may be one frame. A read-only destination is an input contract violation.
VF_EXPORT void SwapFields(VideoFrameRef inSource, VideoFrameRef inDestination);

/// Keeps field 0 or 1 of a frame and rebuilds each row of the other one as the mean of its
/// neighbours, or as a copy of the one neighbour it has; then sets the field type to 0. Frames
/// without a pixel size (DV, planar) are left untouched, as is a frame of one row that belongs to
/// the other field. A read-only frame is an input contract violation.
VF_EXPORT void DeinterlaceVideoFrame(VideoFrameRef inFrame, std::int32_t inField);

/// Makes the destination a progressive picture of one field of the source: CopyField at quality 4,
/// whose failure is returned, then DeinterlaceVideoFrame. A read-only destination is an input
/// contract violation.
VF_EXPORT std::int32_t InterpFieldToFrame(VideoFrameRef inSource, VideoFrameRef inDestination,
                                          std::int32_t inField);

/// Filters the rows of the source with 1/4, 1/2, 1/4 into the destination (rounding after each
/// halving); the first and last row become the mean of themselves and their one neighbour. The
/// destination must have the size, format and row bytes of the source; the two may be one frame. A
/// frame of one row and frames without a pixel size are left untouched. A read-only destination is
/// an input contract violation.
VF_EXPORT void VerticalConvolve(VideoFrameRef inSource, VideoFrameRef inDestination);

/// Merges the second frame into the first: field 0 stays, field 1 comes from the second. DV frames
/// are merged by the renderer, whose result is ignored (0 is returned), even into a read-only
/// frame; other formats by CopyField. Frames of different formats are an input contract violation.
VF_EXPORT std::int32_t MergePulldownFrames(VideoFrameRef ioFirst, VideoFrameRef inSecond);

/// Inverts every alpha value in place. Frames whose alpha does not count, and frames without rows,
/// are left as they are. A read-only frame is an input contract violation.
VF_EXPORT void InvertAlpha(VideoFrameRef ioFrame);

/// Makes every pixel opaque in place and sets the alpha type to 3, after which the frame's alpha no
/// longer counts. Otherwise as InvertAlpha.
VF_EXPORT void OpaqueAlpha(VideoFrameRef ioFrame);

/// Gives the smallest rectangle that holds every pixel whose alpha is not zero (in float formats:
/// does not compare equal to 0), (0, 0, 0, 0) when there is none. Frames without a two-dimensional
/// view and formats other than 8-bit, 16-bit and float BGRA and VUYA give their bounds.
VF_EXPORT void CalculateAlphaBounds(VideoFrameRef inFrame, Brix::Rect& outBounds);

/// Write a whole frame into a caller's buffer, and the other way round, scaling where the buffer
/// has another size than the frame. The buffer holds pixels of the frame's format, memory rows as
/// in the frame (bottom-up); sizes in pixels, row bytes in bytes. The caller answers for its
/// extent. Failures of the renderer are not reported; sizes that are not positive leave everything
/// as it was. A frame without memory or two-dimensional access and, for LoadExternal, a read-only
/// frame are input contract violations.
VF_EXPORT void StoreExternal(VideoFrameRef inFrame, void* outBuffer, std::int32_t inBufferWidth,
                             std::int32_t inBufferHeight, std::int32_t inBufferRowBytes);
VF_EXPORT void LoadExternal(VideoFrameRef outFrame, void* inBuffer, std::int32_t inBufferWidth,
                            std::int32_t inBufferHeight, std::int32_t inBufferRowBytes);

/// The same with a buffer of the frame's own size.
VF_EXPORT void StoreExternal(VideoFrameRef inFrame, void* outBuffer, std::int32_t inBufferRowBytes);
VF_EXPORT void LoadExternal(VideoFrameRef outFrame, void* inBuffer, std::int32_t inBufferRowBytes);

}  // namespace VideoFrameManipulators

/// The frame itself when it can be written, otherwise a writable copy, made with
/// VideoFrameManipulators::CopyFrame, whose status is ignored. Null when the copy cannot be made.
VF_EXPORT VideoFrameRef MakeWriteableVideoFrame(VideoFrameRef inFrame,
                                                tulomediatypes::RenderQuality inQuality);

}  // namespace VF
