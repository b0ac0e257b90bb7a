// Whole pictures in and out of callers' buffers.
#include "VideoFrame/VideoFrameManipulators.h"
#include "manipulators/Manipulators.h"

namespace VF::VideoFrameManipulators {
namespace {

/// A whole picture, memory rows.
struct Buffer {
    void* data;
    std::int64_t rowBytes;
    Brix::Rect rect;
};

Buffer BufferOf(void* inData, std::int32_t inWidth, std::int32_t inHeight,
                std::int32_t inRowBytes) {
    return {inData, inRowBytes, {0, 0, inWidth, inHeight}};
}

Buffer PixelsOf(const VideoFrameRef& inFrame, const MemoryRef& inMemory, const RowsRef& inRows) {
    return {inMemory->GetData(), SignedRowBytes(inRows), inFrame->GetBounds()};
}

bool FindStart(const Buffer& inBuffer, SV_PixelFormat inFormat, void*& outStart) {
    return SV_ClipBufferToRect(inBuffer.data, inBuffer.rowBytes, inBuffer.rect.Width(),
                               inBuffer.rect.Height(), inFormat, inBuffer.rect.left,
                               inBuffer.rect.top, &outStart) == kSV_Success;
}

void Copy(const Buffer& inFrom, const Buffer& inTo, SV_PixelFormat inFormat) {
    constexpr std::int32_t kQuality = 3;
    void* source = nullptr;
    void* destination = nullptr;
    if (!FindStart(inFrom, inFormat, source) || !FindStart(inTo, inFormat, destination)) return;
    SV_ScaleConvert(source, inFrom.rowBytes, inFrom.rect.Width(), inFrom.rect.Height(), inFormat, 0,
                    destination, inTo.rowBytes, inTo.rect.Width(), inTo.rect.Height(), inFormat, 0,
                    kQuality);
}

}  // namespace

void StoreExternal(VideoFrameRef inFrame, void* outBuffer, std::int32_t inBufferWidth,
                   std::int32_t inBufferHeight, std::int32_t inBufferRowBytes) {
    const MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    Require(static_cast<bool>(memory), "srcMemoryAccess != NULL", kFile, __LINE__);
    const RowsRef rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    Require(static_cast<bool>(rows), "src2DPixelMemoryAccess != NULL", kFile, __LINE__);
    Copy(PixelsOf(inFrame, memory, rows),
         BufferOf(outBuffer, inBufferWidth, inBufferHeight, inBufferRowBytes),
         RendererFormat(inFrame));
}

void LoadExternal(VideoFrameRef outFrame, void* inBuffer, std::int32_t inBufferWidth,
                  std::int32_t inBufferHeight, std::int32_t inBufferRowBytes) {
    const MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(outFrame);
    Require(static_cast<bool>(memory), "destMemoryAccess != NULL", kFile, __LINE__);
    const RowsRef rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(outFrame);
    Require(static_cast<bool>(rows), "dest2DPixelMemoryAccess != NULL", kFile, __LINE__);
    Require(!outFrame->GetReadOnly(), "inDestVideoFrame->GetReadOnly() == false", kFile, __LINE__);
    Copy(BufferOf(inBuffer, inBufferWidth, inBufferHeight, inBufferRowBytes),
         PixelsOf(outFrame, memory, rows), RendererFormat(outFrame));
}

void StoreExternal(VideoFrameRef inFrame, void* outBuffer, std::int32_t inBufferRowBytes) {
    const Brix::Rect bounds = inFrame->GetBounds();
    StoreExternal(inFrame, outBuffer, bounds.Width(), bounds.Height(), inBufferRowBytes);
}

void LoadExternal(VideoFrameRef outFrame, void* inBuffer, std::int32_t inBufferRowBytes) {
    const Brix::Rect bounds = outFrame->GetBounds();
    LoadExternal(outFrame, inBuffer, bounds.Width(), bounds.Height(), inBufferRowBytes);
}

}  // namespace VF::VideoFrameManipulators
