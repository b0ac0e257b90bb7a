// Frames whose buffer is memory shared between processes.
#pragma once

#include <atomic>

#include "contracts/Pellux.h"
#include "frames/SharedMemoryVideoFrame.h"

namespace VF {

/// A frame in shared memory that this process fills and can then publish without a copy. Once
/// published it is read-only for good.
class WritableBinaryReferenceVideoFrame final
    : public SharedMemoryVideoFrameBase,
      public Brix::Allocated<WritableBinaryReferenceVideoFrame> {
  public:
    /// Null when no shared buffer could be had or the size cannot be held; std::bad_alloc passes
    /// through.
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
    WritableBinaryReferenceVideoFrame(processcoordination::WritableBinaryReferencePtr inReference,
                                      void* inData);
    ~WritableBinaryReferenceVideoFrame();

    processcoordination::WritableBinaryReferencePtr writableReference_;
    processcoordination::BinaryReferencePtr publishedReference_;  // empty until published
    tulocore::utility::Guid publishedGuid_;                       // of the first publication
    Brix::CriticalSection lock_;                                  // guards the members
    void* data_;
    std::atomic<bool> readOnly_ = false;  // the cache sets it while other threads read
};

/// A read-only frame over data that was published by this process or another.
class BinaryReferenceVideoFrame final : public SharedMemoryVideoFrameBase,
                                        public Brix::Allocated<BinaryReferenceVideoFrame> {
  public:
    /// Null when the reference is empty or gives no address.
    static VideoFrameRef Create(const processcoordination::BinaryReferencePtr& inReference,
                                const tulocore::utility::Guid& inGuid);

    void Destroy() override;
    bool GetReadOnly() override;
    void SetReadOnly(bool inReadOnly) override;
    void* InternalGetWritableData() override;
    const void* InternalGetData() override;
    bool HasSharedBacking() override;
    std::int32_t Publish(const tulocore::utility::Guid& inGuid) override;

  private:
    BinaryReferenceVideoFrame(processcoordination::BinaryReferencePtr inReference,
                              const tulocore::utility::Guid& inGuid, const void* inData);
    ~BinaryReferenceVideoFrame();

    const processcoordination::BinaryReferencePtr reference_;
    const tulocore::utility::Guid guid_;
    const void* const data_;
};

}  // namespace VF
