// The library's ordinary frame: its buffer comes from the memory recycler.
#pragma once

#include <atomic>

#include "frames/RecyclerBuffer.h"
#include "frames/SharedMemoryVideoFrame.h"

namespace VF {

class MemoryRecyclerVideoFrame final : public SharedMemoryVideoFrameBase,
                                       public Brix::Allocated<MemoryRecyclerVideoFrame> {
  public:
    /// Null when no memory could be had or the size cannot be held; std::bad_alloc passes through.
    static VideoFrameRef Create(const FrameRequest& inRequest);
    static VideoFrameRef CreateCustom(const FrameRequest& inRequest, std::int32_t inDataSize);

    void Destroy() override;
    bool GetReadOnly() override;
    void SetReadOnly(bool inReadOnly) override;
    void* InternalGetWritableData() override;
    const void* InternalGetData() override;
    bool HasSharedBacking() override;
    std::int32_t Publish(const tulocore::utility::Guid& inGuid) override;

  private:
    explicit MemoryRecyclerVideoFrame(RecyclerBuffer inBuffer);

    RecyclerBuffer buffer_;
    std::atomic<bool> readOnly_ = false;  // the cache sets it while other threads read
};

}  // namespace VF
