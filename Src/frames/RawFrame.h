// A block of aligned bytes with a frame's lifetime rules.
#pragma once

#include <atomic>

#include "VideoFrame/FrameInterfaces.h"
#include "frames/RecyclerBuffer.h"

namespace VF {

/// Carries IVideoFrameMemoryAccess and nothing else.
class RawFrame final : public IVideoFrameMemoryAccess, public Brix::Allocated<RawFrame> {
  public:
    /// The identity of the class: asking for it recognises a raw frame.
    static constexpr tulocore::utility::Guid kInterfaceId{"F216FE55-58ED-4784-A44A-0B051A0C726D"};

    /// A raw frame without memory.
    static Brix::InterfaceRef<RawFrame> Create();

    /// Gives the frame inSize bytes whose address is a multiple of inAlignment (a power of two; 0
    /// for whatever the recycler gives). Once only. Returns 0, or kOutOfMemory when the alignment
    /// is no power of two or there is no memory; the frame then has none. A zero size is an input
    /// contract violation.
    std::int32_t AllocateMemory(std::uint64_t inSize, std::uint64_t inAlignment);

    bool GetReadOnly() const { return readOnly_; }

    void AddRef() override;
    void Release() override;
    void Destroy() override;
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override;

    void* GetData() override;
    std::uint64_t GetDataSize() override;
    std::uint64_t GetAllocatedSize() override;

    /// 7. A counted reference to the object itself.
    virtual Brix::InterfaceRef<RawFrame> GetSelfReference();

  private:
    RawFrame() = default;

    std::atomic<std::uint32_t> referenceCount_ = 0;
    RecyclerBuffer buffer_;
    void* data_ = nullptr;
    std::uint64_t size_ = 0;
    std::uint64_t allocatedSize_ = 0;
    bool readOnly_ = false;
};

}  // namespace VF
