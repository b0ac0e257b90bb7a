#include "frames/RawFrame.h"

#include <bit>
#include <new>

#include "VideoFrame/Status.h"
#include "frames/Contract.h"

namespace VF {

Brix::InterfaceRef<RawFrame> RawFrame::Create() {
    return Brix::InterfaceRef<RawFrame>(new RawFrame);
}

std::int32_t RawFrame::AllocateMemory(std::uint64_t inSize, std::uint64_t inAlignment) {
    Require(inSize != 0, "inSize", "RawFrame", 60);
    if (inAlignment != 0 && !std::has_single_bit(inAlignment)) return kOutOfMemory;
    const std::uint64_t allocatedSize = inSize + inAlignment;
    if (allocatedSize < inSize) return kOutOfMemory;
    try {
        buffer_ = RecyclerBuffer(allocatedSize);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    std::byte* const start = buffer_.Address();
    if (!start) return kOutOfMemory;

    data_ = start;
    if (inAlignment != 0) {
        data_ =
            start + (inAlignment - (reinterpret_cast<std::uintptr_t>(start) & (inAlignment - 1)));
    }
    size_ = inSize;
    allocatedSize_ = allocatedSize;
    return kSuccess;
}

void RawFrame::AddRef() {
    referenceCount_.fetch_add(1, std::memory_order_relaxed);
}

void RawFrame::Release() {
    if (referenceCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
}

void RawFrame::Destroy() {
    delete this;
}

std::int32_t RawFrame::QueryInterface(const tulocore::utility::Guid& inId, void** outView) {
    const bool carried = inId == IVideoFrameMemoryAccess::kInterfaceId ||
                         inId == RawFrame::kInterfaceId || inId == Brix::BrixUnknown::kInterfaceId;
    // One table serves all three: the class and its interface begin at the same address.
    *outView = carried ? static_cast<IVideoFrameMemoryAccess*>(this) : nullptr;
    if (!carried) return kInterfaceNotCarried;
    AddRef();
    return kSuccess;
}

void* RawFrame::GetData() {
    return data_;
}

std::uint64_t RawFrame::GetDataSize() {
    return size_;
}

std::uint64_t RawFrame::GetAllocatedSize() {
    return allocatedSize_;
}

Brix::InterfaceRef<RawFrame> RawFrame::GetSelfReference() {
    return Brix::InterfaceRef<RawFrame>(this);
}

}  // namespace VF
