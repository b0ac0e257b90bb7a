#include "frames/MemoryRecyclerVideoFrame.h"

#include "VideoFrame/Status.h"
#include "frames/Contract.h"

namespace VF {

VideoFrameRef MemoryRecyclerVideoFrame::Create(const FrameRequest& inRequest) {
    const std::uint64_t size = StandardBufferSize(inRequest);
    if (size == 0) return nullptr;
    RecyclerBuffer buffer(size);
    if (!buffer.Address()) return nullptr;
    WriteStandardFrameHeader(buffer.Address(), size, inRequest);
    return {new MemoryRecyclerVideoFrame(std::move(buffer)), Brix::AdoptReference{}};
}

VideoFrameRef MemoryRecyclerVideoFrame::CreateCustom(const FrameRequest& inRequest,
                                                     std::int32_t inDataSize) {
    const std::uint64_t size = CustomBufferSize(inDataSize);
    if (size == 0) return nullptr;
    RecyclerBuffer buffer(size);
    if (!buffer.Address()) return nullptr;
    WriteNewFrameHeader(buffer.Address(), size, inRequest.format, inRequest.width, inRequest.height,
                        inRequest.aspectRatio);
    return {new MemoryRecyclerVideoFrame(std::move(buffer)), Brix::AdoptReference{}};
}

MemoryRecyclerVideoFrame::MemoryRecyclerVideoFrame(RecyclerBuffer inBuffer)
    : buffer_(std::move(inBuffer)) {}

void MemoryRecyclerVideoFrame::Destroy() {
    delete this;
}

bool MemoryRecyclerVideoFrame::GetReadOnly() {
    return readOnly_;
}

void MemoryRecyclerVideoFrame::SetReadOnly(bool inReadOnly) {
    readOnly_ = inReadOnly;
}

void* MemoryRecyclerVideoFrame::InternalGetWritableData() {
    return buffer_.Address();
}

const void* MemoryRecyclerVideoFrame::InternalGetData() {
    return buffer_.Address();
}

bool MemoryRecyclerVideoFrame::HasSharedBacking() {
    return false;
}

std::int32_t MemoryRecyclerVideoFrame::Publish(const tulocore::utility::Guid& /*inGuid*/) {
    Require(false, "false", "SharedMemoryVideoFrame", 397);
    return kGeneralFailure;
}

}  // namespace VF
