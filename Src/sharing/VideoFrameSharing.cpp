#include "VideoFrame/VideoFrameSharing.h"

#include <cstring>
#include <new>
#include <utility>

#include "VideoFrame/PixelFormatUtilities.h"
#include "frames/BinaryReferenceVideoFrame.h"
#include "frames/FrameHeader.h"
#include "frames/FramePixels.h"
#include "sharing/ReceivedHeader.h"

namespace VF {

using processcoordination::BinaryReferencePtr;
using processcoordination::WritableBinaryReferencePtr;
using tulocore::utility::Guid;

// ---------------------------------------------------------------------------------------------
// Copies in a buffer

namespace {

// What the renderer is always given as the mode of a conversion.
constexpr std::int32_t kConvertMode = 4;

// The row bytes of a tight copy; a picture whose rows cannot be addressed is one row.
std::int32_t CopyRowBytes(IVideoFrameMemoryAccess& inMemory, tulomediatypes::PixelFormat inFormat,
                          SV_PixelFormat inRendererFormat, const Brix::Rect& inBounds) {
    if (IsCustomBEPixelFormat(inFormat)) return static_cast<std::int32_t>(inMemory.GetDataSize());
    const bool isWholeRow = (inRendererFormat & 0xFF000000) != 0;
    return static_cast<std::int32_t>(
        SV_PixelFormatSize(inRendererFormat, inBounds.Width(), isWholeRow ? inBounds.Height() : 1));
}

// Rows of 10-bit 4:2:2 are whole units of 128 bytes, the last of which a picture need not fill.
// What the renderer leaves alone in it is cleared, lest other processes see what the memory held.
void ClearLastUnits(std::byte* outPixels, tulomediatypes::PixelFormat inFormat,
                    const Brix::Rect& inBounds, std::int32_t inRowBytes) {
    constexpr std::int32_t kUnitBytes = 128;
    if (inFormat != tulomediatypes::kPixelFormat_V210_422_10u &&
        inFormat != tulomediatypes::kPixelFormat_V210_422_10u_709) {
        return;
    }
    if (inRowBytes < kUnitBytes) return;
    for (std::int32_t row = 1; row <= inBounds.Height(); ++row) {
        std::memset(outPixels + std::int64_t{row} * inRowBytes - kUnitBytes, 0, kUnitBytes);
    }
}

}  // namespace

int GetRequiredSharedMemorySizeForVideoFrame(VideoFrameRef inFrame, unsigned long long& outSize) {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) return kGeneralFailure;
    const tulomediatypes::PixelFormat format = inFrame->GetPixelType();
    const Brix::Rect bounds = inFrame->GetBounds();
    const std::uint64_t pixels =
        IsCustomBEPixelFormat(format)
            ? memory->GetDataSize()
            : tulomediatypes::PixelFormatSize(format, bounds.Width(), bounds.Height());
    outSize = pixels + kFrameHeaderSize;
    return kSuccess;
}

int CopyVideoFrameIntoSharedMemoryBuffer(VideoFrameRef inFrame, void* outBuffer,
                                         unsigned long long inBufferSize) {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) return kFrameNotReadable;
    const auto rows = Brix::QueryInterface<IVideoFrame2DPixelMemoryAccess>(inFrame);
    unsigned long long size = 0;
    const int status = GetRequiredSharedMemorySizeForVideoFrame(inFrame, size);
    if (status < 0) return status;
    if (!outBuffer || inBufferSize < size) return kOutOfMemory;

    std::memset(outBuffer, 0, kFrameHeaderSize);
    Brix::Rect dataRect;
    inFrame->GetDataRect(dataRect);
    const tulomediatypes::PixelFormat format = inFrame->GetPixelType();
    const SV_PixelFormat rendererFormat = BEPixelFormatToSVPixelFormat(format);
    const Brix::Rect bounds = inFrame->GetBounds();
    const std::int32_t rowBytes = CopyRowBytes(*memory, format, rendererFormat, bounds);
    WriteFrameHeader(outBuffer, {.totalSize = size,
                                 .format = format,
                                 .origin = inFrame->GetOrigin(),
                                 .width = bounds.Width(),
                                 .height = bounds.Height(),
                                 .fieldType = inFrame->GetFieldType(),
                                 .dataRect = ToStored(dataRect),
                                 .aspectRatio = inFrame->GetPixelAspectRatio(),
                                 .rowBytes = rowBytes,
                                 .contentRect = ToStored(inFrame->GetContentRect())});

    std::byte* const pixels = static_cast<std::byte*>(outBuffer) + kFrameHeaderSize;
    ClearLastUnits(pixels, format, bounds, rowBytes);
    const std::int32_t result =
        SV_Convert(memory->GetData(), RendererRowBytes(memory, rows), rendererFormat, pixels,
                   rowBytes, rendererFormat, bounds.Width(), bounds.Height(), kConvertMode);
    return result == 0 ? kSuccess : kFrameNotReadable;
}

// ---------------------------------------------------------------------------------------------
// Publication

namespace {

// Publishes a copy of the frame; nothing is published unless all of it went well.
int PublishCopy(const VideoFrameRef& inFrame, const Guid& inGuid,
                WritableBinaryReferencePtr& outReference) {
    unsigned long long size = 0;
    if (GetRequiredSharedMemorySizeForVideoFrame(inFrame, size) < 0) return kGeneralFailure;
    WritableBinaryReferencePtr reference;
    if (processcoordination::GetWritableBinaryData(size, reference) != 0 || !reference) {
        return kGeneralFailure;
    }
    void* const data = reference->GetData();
    if (!data) return kGeneralFailure;
    const int copied = CopyVideoFrameIntoSharedMemoryBuffer(inFrame, data, reference->GetSize());
    reference->ReleaseData(data);
    if (copied < 0) return kGeneralFailure;
    if (processcoordination::PutCompletedBinaryData(inGuid, reference) != 0) {
        return kGeneralFailure;
    }
    outReference = reference;
    return kSuccess;
}

}  // namespace

int PublishVideoFrameProvidingReference(VideoFrameRef inFrame, const Guid& inGuid,
                                        WritableBinaryReferencePtr& outReference) {
    const auto publishable = Brix::QueryInterface<IPublishableVideoFrame>(inFrame);
    const int status =
        publishable ? publishable->Publish(inGuid) : PublishCopy(inFrame, inGuid, outReference);
    if (status < 0) processcoordination::PutBinaryDataGenerationError(inGuid, -1);
    return status;
}

int PublishVideoFrame(VideoFrameRef inFrame, const Guid& inGuid) {
    WritableBinaryReferencePtr reference;
    return PublishVideoFrameProvidingReference(std::move(inFrame), inGuid, reference);
}

int WrapVideoFrameAroundBinaryReference(const BinaryReferencePtr& inReference, const Guid& inGuid,
                                        VideoFrameRef& outFrame) {
    outFrame = nullptr;
    try {
        outFrame = BinaryReferenceVideoFrame::Create(ReceivedBytes(inReference), inGuid);
    } catch (const std::bad_alloc&) {
    }
    return outFrame ? kSuccess : kGeneralFailure;
}

int WrapCheckedBinaryReference(const BinaryReferencePtr& inReference, const Guid& inGuid,
                               VideoFrameRef& outFrame, const char** outFault) {
    outFrame = nullptr;
    const char* fault = nullptr;
    try {
        ReceivedBytes bytes(inReference);
        SharedFrameHeader header;
        if (bytes.Address()) fault = TakeHeader(bytes.Address(), inReference->GetSize(), header);
        if (!fault) outFrame = BinaryReferenceVideoFrame::Create(std::move(bytes), inGuid, header);
    } catch (const std::bad_alloc&) {
    }
    if (outFault) *outFault = fault;
    if (fault) return kFrameNotReadable;
    return outFrame ? kSuccess : kGeneralFailure;
}

}  // namespace VF
