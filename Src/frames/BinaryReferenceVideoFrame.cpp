#include "frames/BinaryReferenceVideoFrame.h"

#include <utility>

#include "VideoFrame/Status.h"

namespace VF {

using processcoordination::BinaryReferencePtr;
using processcoordination::WritableBinaryReferencePtr;

namespace {

WritableBinaryReferencePtr GetSharedBuffer(std::uint64_t inSize) {
    WritableBinaryReferencePtr reference;
    if (inSize != 0) processcoordination::GetWritableBinaryData(inSize, reference);
    return reference;
}

std::int32_t ToFrameStatus(std::int32_t inServiceStatus) {
    return inServiceStatus == 0 ? kSuccess : kGeneralFailure;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// WritableBinaryReferenceVideoFrame

VideoFrameRef WritableBinaryReferenceVideoFrame::Create(const FrameRequest& inRequest) {
    const std::uint64_t size = StandardBufferSize(inRequest);
    WritableBinaryReferencePtr reference = GetSharedBuffer(size);
    void* const data = reference ? reference->GetData() : nullptr;
    if (!data) return nullptr;
    WriteStandardFrameHeader(data, size, inRequest);
    return {new WritableBinaryReferenceVideoFrame(std::move(reference), data),
            Brix::AdoptReference{}};
}

VideoFrameRef WritableBinaryReferenceVideoFrame::CreateCustom(const FrameRequest& inRequest,
                                                              std::int32_t inDataSize) {
    const std::uint64_t size = CustomBufferSize(inDataSize);
    WritableBinaryReferencePtr reference = GetSharedBuffer(size);
    void* const data = reference ? reference->GetData() : nullptr;
    if (!data) return nullptr;
    WriteNewFrameHeader(data, size, inRequest.format, inRequest.width, inRequest.height,
                        inRequest.aspectRatio);
    return {new WritableBinaryReferenceVideoFrame(std::move(reference), data),
            Brix::AdoptReference{}};
}

WritableBinaryReferenceVideoFrame::WritableBinaryReferenceVideoFrame(
    WritableBinaryReferencePtr inReference, void* inData)
    : writableReference_(std::move(inReference)), data_(inData) {}

WritableBinaryReferenceVideoFrame::~WritableBinaryReferenceVideoFrame() {
    writableReference_->ReleaseData(data_);
}

void WritableBinaryReferenceVideoFrame::Destroy() {
    delete this;
}

bool WritableBinaryReferenceVideoFrame::GetReadOnly() {
    const Brix::CriticalSectionLock lock(lock_);
    return readOnly_ || publishedReference_;
}

void WritableBinaryReferenceVideoFrame::SetReadOnly(bool inReadOnly) {
    const Brix::CriticalSectionLock lock(lock_);
    readOnly_ = inReadOnly;
}

void* WritableBinaryReferenceVideoFrame::InternalGetWritableData() {
    const Brix::CriticalSectionLock lock(lock_);
    return data_;
}

const void* WritableBinaryReferenceVideoFrame::InternalGetData() {
    const Brix::CriticalSectionLock lock(lock_);
    return data_;
}

bool WritableBinaryReferenceVideoFrame::HasSharedBacking() {
    const Brix::CriticalSectionLock lock(lock_);
    return writableReference_ || publishedReference_;
}

std::int32_t WritableBinaryReferenceVideoFrame::Publish(const tulocore::utility::Guid& inGuid) {
    const Brix::CriticalSectionLock lock(lock_);
    if (publishedReference_) {
        return ToFrameStatus(
            processcoordination::MakeBinaryDataAlias(publishedGuid_, publishedReference_, inGuid));
    }
    if (!writableReference_) return kGeneralFailure;
    publishedGuid_ = inGuid;
    const std::int32_t status =
        processcoordination::PutCompletedBinaryData(inGuid, writableReference_);
    if (status == 0) {
        processcoordination::GetBinaryDataIfAvailable(inGuid, publishedReference_);
    }
    return ToFrameStatus(status);
}

// ---------------------------------------------------------------------------------------------
// BinaryReferenceVideoFrame

ReceivedBytes::ReceivedBytes(BinaryReferencePtr inReference)
    : reference_(std::move(inReference)), data_(reference_ ? reference_->GetData() : nullptr) {}

ReceivedBytes::ReceivedBytes(ReceivedBytes&& inOther) noexcept
    : reference_(std::move(inOther.reference_)), data_(std::exchange(inOther.data_, nullptr)) {}

ReceivedBytes::~ReceivedBytes() {
    if (data_) reference_->ReleaseData(data_);
}

VideoFrameRef BinaryReferenceVideoFrame::Create(ReceivedBytes inBytes,
                                                const tulocore::utility::Guid& inGuid,
                                                const std::optional<SharedFrameHeader>& inHeader) {
    if (!inBytes.Address()) return nullptr;
    return {new BinaryReferenceVideoFrame(std::move(inBytes), inGuid, inHeader),
            Brix::AdoptReference{}};
}

BinaryReferenceVideoFrame::BinaryReferenceVideoFrame(
    ReceivedBytes inBytes, const tulocore::utility::Guid& inGuid,
    const std::optional<SharedFrameHeader>& inHeader)
    : bytes_(std::move(inBytes)), guid_(inGuid), header_(inHeader) {}

void BinaryReferenceVideoFrame::Destroy() {
    delete this;
}

bool BinaryReferenceVideoFrame::GetReadOnly() {
    return true;
}

void BinaryReferenceVideoFrame::SetReadOnly(bool /*inReadOnly*/) {}

void* BinaryReferenceVideoFrame::InternalGetWritableData() {
    return nullptr;
}

const void* BinaryReferenceVideoFrame::InternalGetData() {
    return bytes_.Address();
}

const SharedFrameHeader* BinaryReferenceVideoFrame::InternalGetHeader() {
    return header_ ? &*header_ : SharedMemoryVideoFrameBase::InternalGetHeader();
}

bool BinaryReferenceVideoFrame::HasSharedBacking() {
    return true;
}

std::int32_t BinaryReferenceVideoFrame::Publish(const tulocore::utility::Guid& inGuid) {
    return ToFrameStatus(
        processcoordination::MakeBinaryDataAlias(guid_, bytes_.Reference(), inGuid));
}

}  // namespace VF
