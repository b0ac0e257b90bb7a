// Frames whose buffer is memory shared between processes.
#pragma once

#include <atomic>
#include <optional>

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

/// The bytes of received data, whose address it hands back in the end.
class ReceivedBytes {
  public:
    /// Of an empty reference there are none.
    explicit ReceivedBytes(processcoordination::BinaryReferencePtr inReference);
    ReceivedBytes(ReceivedBytes&& inOther) noexcept;
    ~ReceivedBytes();

    const void* Address() const { return data_; }
    const processcoordination::BinaryReferencePtr& Reference() const { return reference_; }

  private:
    processcoordination::BinaryReferencePtr reference_;
    const void* data_;
};

/// A read-only frame over data that was published by this process or another.
class BinaryReferenceVideoFrame final : public SharedMemoryVideoFrameBase,
                                        public Brix::Allocated<BinaryReferenceVideoFrame> {
  public:
    /// Null when there are no bytes. The properties are read from inHeader where it is given, else
    /// from the bytes as they are then.
    static VideoFrameRef Create(ReceivedBytes inBytes, const tulocore::utility::Guid& inGuid,
                                const std::optional<SharedFrameHeader>& inHeader = {});

    void Destroy() override;
    bool GetReadOnly() override;
    void SetReadOnly(bool inReadOnly) override;
    void* InternalGetWritableData() override;
    const void* InternalGetData() override;
    bool HasSharedBacking() override;
    const SharedFrameHeader* InternalGetHeader() override;
    std::int32_t Publish(const tulocore::utility::Guid& inGuid) override;

  private:
    BinaryReferenceVideoFrame(ReceivedBytes inBytes, const tulocore::utility::Guid& inGuid,
                              const std::optional<SharedFrameHeader>& inHeader);

    const ReceivedBytes bytes_;
    const tulocore::utility::Guid guid_;
    const std::optional<SharedFrameHeader> header_;
};

}  // namespace VF
