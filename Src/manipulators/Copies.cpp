// Rectangles and whole frames.
#include <algorithm>

#include "VideoFrame/VideoFrameFactory.h"
#include "VideoFrame/VideoFrameManipulators.h"
#include "frames/PixelFormatProperties.h"
#include "manipulators/Manipulators.h"

namespace VF {
namespace VideoFrameManipulators {
namespace {

constexpr tulomediatypes::FieldType kFieldTypeNotSet = 3;

// ---- Rectangles ---------------------------------------------------------------------------------

// A value below both limits takes the lower one, also where the limits are the wrong way round.
std::int32_t Clamped(std::int32_t inValue, std::int32_t inLower, std::int32_t inUpper) {
    return std::min(std::max(inValue, inLower), inUpper);
}

Brix::Rect ClampedInto(const Brix::Rect& inBounds, const Brix::Rect& inRect) {
    return {Clamped(inRect.left, inBounds.left, inBounds.right),
            Clamped(inRect.top, inBounds.top, inBounds.bottom),
            Clamped(inRect.right, inBounds.left, inBounds.right),
            Clamped(inRect.bottom, inBounds.top, inBounds.bottom)};
}

// Between display rows and memory rows.
Brix::Rect Mirrored(const Brix::Rect& inBounds, const Brix::Rect& inRect) {
    const std::int32_t sum = inBounds.top + inBounds.bottom;
    return {inRect.left, sum - inRect.bottom, inRect.right, sum - inRect.top};
}

// A rectangle of a buffer, in memory rows.
struct Area {
    void* buffer;
    std::int64_t rowBytes;
    Brix::Rect rect;
    SV_PixelFormat format;
};

std::int32_t StartOf(const Area& inArea, void*& outStart) {
    return SV_ClipBufferToRect(inArea.buffer, inArea.rowBytes, inArea.rect.Width(),
                               inArea.rect.Height(), inArea.format, inArea.rect.left,
                               inArea.rect.top, &outStart);
}

std::int32_t CopyArea(const Area& inSource, const Area& inDestination,
                      tulomediatypes::RenderQuality inQuality) {
    void* source = nullptr;
    void* destination = nullptr;
    if (const std::int32_t result = StartOf(inSource, source)) return result;
    if (const std::int32_t result = StartOf(inDestination, destination)) return result;
    return SV_ScaleConvert(source, inSource.rowBytes, inSource.rect.Width(), inSource.rect.Height(),
                           inSource.format, 0, destination, inDestination.rowBytes,
                           inDestination.rect.Width(), inDestination.rect.Height(),
                           inDestination.format, 0, inQuality >= 3 ? 3 : 2);
}

// One field of the display rectangle inRect. The height halves, and the rows lie twice as far
// apart.
Area FieldArea(const VideoFrameRef& inFrame, const MemoryRef& inMemory, const RowsRef& inRows,
               const Brix::Rect& inRect, std::int32_t inField) {
    const std::int64_t rowBytes = SignedRowBytes(inRows);
    auto* const data = static_cast<std::byte*>(inMemory->GetData());
    return {data + (inField == 0 ? rowBytes : 0),
            2 * rowBytes,
            {inRect.left, inRect.top / 2, inRect.right, inRect.bottom / 2},
            RendererFormat(inFrame)};
}

Area WholeArea(const VideoFrameRef& inFrame, const MemoryRef& inMemory, const RowsRef& inRows,
               const Brix::Rect& inRect) {
    return {inMemory->GetData(), RendererRowBytes(inMemory, inRows),
            Mirrored(inFrame->GetBounds(), inRect), RendererFormat(inFrame)};
}

// ---- Whole frames -------------------------------------------------------------------------------

std::int32_t HeightOf(const VideoFrameRef& inFrame) {
    return inFrame->GetBounds().Height();
}

void PassOnFieldType(const VideoFrameRef& inSource, const VideoFrameRef& inDestination,
                     tulomediatypes::RenderQuality inQuality, tulomediatypes::FieldType inFieldType,
                     bool inIsGiven) {
    const std::int32_t sourceHeight = HeightOf(inSource);
    const std::int32_t height = HeightOf(inDestination);
    if (inQuality < 3 && sourceHeight >= 2 * std::int64_t{height}) {
        inDestination->SetFieldType(0);
    } else if (inDestination->GetFieldType() == kFieldTypeNotSet ||
               (!inIsGiven && sourceHeight <= height)) {
        inDestination->SetFieldType(inFieldType);
    }
}

// The renderer's format with its alpha as the frame's alpha type wants it understood.
SV_PixelFormat AlphaAdjustedFormat(const VideoFrameRef& inFrame) {
    constexpr std::uint32_t kLayoutBits = 0x30;
    constexpr std::uint32_t kAlphaBits = 0x0C;
    constexpr std::uint32_t kStraight = 0x04;
    constexpr std::uint32_t kPremultiplied = 0x08;
    const SV_PixelFormat format = RendererFormat(inFrame);
    const std::uint32_t bits = format;
    if ((bits & kLayoutBits) != 0 || (bits & kAlphaBits) != kStraight) return format;
    const std::uint32_t alphaType = inFrame->HasAlphaChannel() ? inFrame->GetAlphaType() : 0;
    if (alphaType == 1) return format;
    const std::uint32_t alpha = alphaType == 2 ? kPremultiplied : kAlphaBits;
    return static_cast<SV_PixelFormat>((bits & ~kAlphaBits) | alpha);
}

MemoryRef RequiredMemory(const VideoFrameRef& inFrame) {
    MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) Brix::ThrowNullInterface();
    return memory;
}

void PassOnDataRect(const VideoFrameRef& inSource, const VideoFrameRef& inDestination) {
    if (inSource->GetBounds() != inDestination->GetBounds()) return;
    Brix::Rect dataRect;
    if (inSource->GetDataRect(dataRect)) inDestination->SetDataRect(dataRect);
}

// ---- Addressable frames -------------------------------------------------------------------------

bool IsAddressable(tulomediatypes::PixelFormat inFormat) {
    return IsPacked(inFormat) && !IsSubsampled(inFormat);
}

tulomediatypes::PixelFormat AddressableFormat(tulomediatypes::PixelFormat inFormat,
                                              tulomediatypes::PixelFormat inPreferred,
                                              tulomediatypes::RenderQuality inQuality) {
    using namespace tulomediatypes;
    const PixelFormat format = Select4444PixelFormat(inFormat, inQuality);
    const bool isTooWide = format != inPreferred && IsAddressable(inPreferred) && inQuality < 5 &&
                           PixelSize(format) > PixelSize(inPreferred);
    if (!isTooWide) return format;
    PixelFormat narrower;
    narrower.properties = (format.properties & ~kProperty_ComponentMask) |
                          (inPreferred.properties & kProperty_ComponentMask);
    narrower.code = GuessFourCCForProperties(narrower.properties);
    return BEPixelFormatToSVPixelFormat(narrower) != 0 ? narrower : format;
}

}  // namespace

std::int32_t CopyRect(VideoFrameRef inSource, const Brix::Rect& inSourceRect,
                      VideoFrameRef inDestination, const Brix::Rect& inDestinationRect,
                      tulomediatypes::RenderQuality inQuality, std::int32_t inField) {
    if (inDestinationRect.right == inDestinationRect.left ||
        inDestinationRect.bottom == inDestinationRect.top) {
        return kSuccess;
    }
    const MemoryRef sourceMemory = ViewOf<IVideoFrameMemoryAccess>(inSource);
    Require(static_cast<bool>(sourceMemory), "srcMemoryAccess != NULL", kFile, __LINE__);
    const MemoryRef destinationMemory = ViewOf<IVideoFrameMemoryAccess>(inDestination);
    Require(static_cast<bool>(destinationMemory), "destMemoryAccess != NULL", kFile, __LINE__);
    const RowsRef sourceRows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inSource);
    const RowsRef destinationRows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inDestination);
    Require(!inDestination->GetReadOnly(), "destVideoFrame->GetReadOnly() == false", kFile,
            __LINE__);

    const Brix::Rect sourceRect = ClampedInto(inSource->GetBounds(), inSourceRect);
    const Brix::Rect destinationRect = ClampedInto(inDestination->GetBounds(), inDestinationRect);
    const bool isField = inField == 0 || inField == 1;
    if (isField && (!sourceRows || !destinationRows)) Brix::ThrowNullInterface();
    const Area source = isField ? FieldArea(inSource, sourceMemory, sourceRows, sourceRect, inField)
                                : WholeArea(inSource, sourceMemory, sourceRows, sourceRect);
    const Area destination =
        WholeArea(inDestination, destinationMemory, destinationRows, destinationRect);
    const std::int32_t result = CopyArea(source, destination, inQuality);
    return result == kSV_OutOfMemory ? kOutOfMemory : kSuccess;
}

std::int32_t CopyFrameWithFields(VideoFrameRef inSource, VideoFrameRef inDestination,
                                 tulomediatypes::RenderQuality inQuality,
                                 tulomediatypes::FieldType inFieldType) {
    Require(!inDestination->GetReadOnly(), "inDestVideoFrame->GetReadOnly() == false", kFile,
            __LINE__);
    const bool isGiven = inFieldType != kFieldTypeOfSource;
    const tulomediatypes::FieldType fieldType = isGiven ? inFieldType : inSource->GetFieldType();
    PassOnFieldType(inSource, inDestination, inQuality, fieldType, isGiven);
    inDestination->SetAlphaType(inSource->GetAlphaType());
    const OV::Point origin = inSource->GetOrigin();
    inDestination->SetOrigin(origin.x, origin.y);

    const SV_PixelFormat sourceFormat = AlphaAdjustedFormat(inSource);
    const SV_PixelFormat destinationFormat = AlphaAdjustedFormat(inDestination);
    const MemoryRef destination = RequiredMemory(inDestination);
    const MemoryRef source = RequiredMemory(inSource);
    const Brix::Rect sourceBounds = inSource->GetBounds();
    const Brix::Rect bounds = inDestination->GetBounds();
    const std::int32_t result = SV_ScaleConvert(
        source->GetData(),
        RendererRowBytes(source, ViewOf<IVideoFrame2DPixelMemoryAccess>(inSource)),
        sourceBounds.Width(), sourceBounds.Height(), sourceFormat, fieldType,
        destination->GetData(),
        RendererRowBytes(destination, ViewOf<IVideoFrame2DPixelMemoryAccess>(inDestination)),
        bounds.Width(), bounds.Height(), destinationFormat, inDestination->GetFieldType(),
        inQuality);
    if (result == kSV_Success) PassOnDataRect(inSource, inDestination);
    return StatusOf(result);
}

std::int32_t CopyFrame(VideoFrameRef inSource, VideoFrameRef inDestination,
                       tulomediatypes::RenderQuality inQuality) {
    return CopyFrameWithFields(inSource, inDestination, inQuality, kFieldTypeOfSource);
}

std::int32_t MakeAddressableVideoFrame(VideoFrameRef inFrame, VideoFrameRef& outFrame,
                                       tulomediatypes::PixelFormat inPreferredFormat,
                                       tulomediatypes::RenderQuality inQuality) {
    const tulomediatypes::PixelFormat own = inFrame->GetPixelType();
    if (IsAddressable(own)) {
        outFrame = inFrame;
        return kSuccess;
    }
    const Brix::Rect bounds = inFrame->GetBounds();
    VideoFrameRef frame;
    std::int32_t result = CreateVideoFrame(
        frame, AddressableFormat(own, inPreferredFormat, inQuality),
        static_cast<std::uint32_t>(bounds.Width()), static_cast<std::uint32_t>(bounds.Height()),
        inFrame->GetPixelAspectRatio(), false, false);
    if (result < 0) return result;
    frame->SetFieldType(inFrame->GetFieldType());
    result = CopyFrame(inFrame, frame, inQuality);
    if (result >= 0) outFrame = frame;
    return result;
}

}  // namespace VideoFrameManipulators

VideoFrameRef MakeWriteableVideoFrame(VideoFrameRef inFrame,
                                      tulomediatypes::RenderQuality inQuality) {
    if (!inFrame->GetReadOnly()) return inFrame;
    const VideoFrameRef copy = inFrame->Duplicate();
    if (copy) VideoFrameManipulators::CopyFrame(inFrame, copy, inQuality);
    return copy;
}

}  // namespace VF
