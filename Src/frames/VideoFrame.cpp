#include "frames/VideoFrame.h"

#include <algorithm>

#include "VideoFrame/Status.h"
#include "VideoFrame/VideoFrameFactory.h"
#include "frames/Contract.h"

namespace VF {
namespace {

constexpr const char* kFile = "VideoFrame";

using RowsRef = Brix::InterfaceRef<IVideoFrame2DPixelMemoryAccess>;

// The parent's rows, whose lack is a broken contract.
RowsRef RowsOf(const VideoFrameRef& inParent, int inLine) {
    RowsRef rows = Brix::QueryInterface<IVideoFrame2DPixelMemoryAccess>(VideoFrameRef(&*inParent));
    Require(static_cast<bool>(rows), "memory2DPixelAccesibleVideoFrame != NULL", kFile, inLine);
    return rows;
}

Brix::InterfaceRef<OV::IVideoFrameClearable> ClearableOf(const VideoFrameRef& inParent) {
    auto clearable = Brix::QueryInterface<OV::IVideoFrameClearable>(VideoFrameRef(&*inParent));
    Require(static_cast<bool>(clearable), "clearableVideoFrame != NULL", kFile, 409);
    return clearable;
}

// Products of rows and pixels are signed 32-bit values here, as they are for hosts.
std::int32_t Product(std::uint32_t inLeft, std::int32_t inRight) {
    return static_cast<std::int32_t>(inLeft * static_cast<std::uint32_t>(inRight));
}

}  // namespace

const char* IllegalVideoSubFrameOperation::what() const noexcept {
    return "Illegal operation on a VideoSubFrame.";
}

// ---------------------------------------------------------------------------------------------
// Identity

VideoFrameRef VideoSubFrame::GetSelfReference() {
    return VideoFrameRef(this);
}

void VideoSubFrame::DoNothing() {}

void VideoSubFrame::Initialize(VideoFrameRef inParent, const Brix::Rect& inSubRect) {
    RowsOf(inParent, 179);
    subRect_ = inSubRect;
    contentRect_ = inSubRect;
    parent_ = inParent;
}

void VideoSubFrame::AddRef() {
    referenceCount_.fetch_add(1, std::memory_order_relaxed);
}

void VideoSubFrame::Release() {
    if (referenceCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
}

void VideoSubFrame::Destroy() {
    delete this;
}

std::int32_t VideoSubFrame::QueryInterface(const tulocore::utility::Guid& inId, void** outView) {
    *outView = nullptr;
    if (inId == OV::IVideoFrame::kInterfaceId || inId == Brix::BrixUnknown::kInterfaceId) {
        *outView = static_cast<OV::IVideoFrame*>(this);
    } else if (inId == IVideoFrameMemoryAccess::kInterfaceId) {
        *outView = static_cast<IVideoFrameMemoryAccess*>(this);
    } else if (inId == IVideoFrame2DPixelMemoryAccess::kInterfaceId) {
        *outView = static_cast<IVideoFrame2DPixelMemoryAccess*>(this);
    } else if (inId == OV::IVideoFrameClearable::kInterfaceId) {
        *outView = static_cast<OV::IVideoFrameClearable*>(this);
    }
    if (!*outView) return kInterfaceNotCarried;
    AddRef();
    return kSuccess;
}

// ---------------------------------------------------------------------------------------------
// Properties

Brix::Rect VideoSubFrame::GetBounds() {
    return {0, 0, subRect_.Width(), subRect_.Height()};
}

bool VideoSubFrame::IsRectNative(const Brix::Rect& inRect) {
    return inRect == GetBounds();
}

tulomediatypes::PixelAspectRatio VideoSubFrame::GetPixelAspectRatio() {
    return parent_->GetPixelAspectRatio();
}

void VideoSubFrame::SetPixelAspectRatio(tulomediatypes::PixelAspectRatio) {
    throw IllegalVideoSubFrameOperation();
}

tulomediatypes::PixelFormat VideoSubFrame::GetPixelType() {
    return parent_->GetPixelType();
}

bool VideoSubFrame::GetReadOnly() {
    return parent_->GetReadOnly();
}

void VideoSubFrame::SetReadOnly(bool) {
    throw IllegalVideoSubFrameOperation();
}

tulomediatypes::FieldType VideoSubFrame::GetFieldType() {
    return parent_->GetFieldType();
}

void VideoSubFrame::SetFieldType(tulomediatypes::FieldType) {}

std::uint32_t VideoSubFrame::GetAlphaType() {
    return parent_->GetAlphaType();
}

void VideoSubFrame::SetAlphaType(std::uint32_t inAlphaType) {
    if (parent_->GetAlphaType() != 1) parent_->SetAlphaType(inAlphaType);
}

bool VideoSubFrame::HasAlphaChannel() {
    return parent_->HasAlphaChannel();
}

OV::Point VideoSubFrame::GetOrigin() {
    return origin_;
}

void VideoSubFrame::SetOrigin(std::int32_t inX, std::int32_t inY) {
    origin_ = {inX, inY};
}

Brix::Rect VideoSubFrame::GetContentRect() {
    return contentRect_;
}

void VideoSubFrame::SetContentRect(const Brix::Rect& inRect) {
    contentRect_ = inRect;
}

OV::AuxiliaryInfo VideoSubFrame::GetAuxiliaryInfo() {
    return auxiliaryInfo_;
}

void VideoSubFrame::SetAuxiliaryInfo(OV::AuxiliaryInfo inInfo) {
    auxiliaryInfo_ = inInfo;
}

std::uint32_t VideoSubFrame::GetRenderTime() {
    return renderTime_;
}

void VideoSubFrame::SetRenderTime(std::uint32_t inRenderTime) {
    renderTime_ = inRenderTime;
}

VideoFrameRef VideoSubFrame::Duplicate() {
    const Brix::InterfaceRef<VideoSubFrame> copy(new VideoSubFrame);
    copy->Initialize(parent_, subRect_);
    copy->origin_ = origin_;
    copy->contentRect_ = contentRect_;
    return copy;
}

bool VideoSubFrame::GetDataRect(Brix::Rect& outRect) {
    outRect = hasDataRect_ ? dataRect_ : subRect_;
    return hasDataRect_;
}

void VideoSubFrame::SetDataRect(const Brix::Rect& inRect) {
    dataRect_ = {std::max(inRect.left, subRect_.left), std::max(inRect.top, subRect_.top),
                 std::min(inRect.right, subRect_.right), std::min(inRect.bottom, subRect_.bottom)};
    hasDataRect_ = true;
}

void VideoSubFrame::ResetDataRect() {
    hasDataRect_ = false;
}

// ---------------------------------------------------------------------------------------------
// Pixels

void* VideoSubFrame::GetData() {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(VideoFrameRef(&*parent_));
    Require(static_cast<bool>(memory), "memoryAccesibleVideoFrame != NULL", kFile, 215);
    const RowsRef rows = RowsOf(parent_, 218);
    return static_cast<std::byte*>(memory->GetData()) + Product(rows->GetRowBytes(), subRect_.top) +
           Product(rows->GetPixelSize(), subRect_.left);
}

std::uint64_t VideoSubFrame::GetDataSize() {
    return std::uint64_t{RowsOf(parent_, 194)->GetPixelSize()} *
           static_cast<std::uint64_t>(subRect_.Width()) *
           static_cast<std::uint64_t>(subRect_.Height());
}

std::uint64_t VideoSubFrame::GetAllocatedSize() {
    return Brix::QueryInterface<IVideoFrameMemoryAccess>(VideoFrameRef(&*parent_))
        ->GetAllocatedSize();
}

std::uint32_t VideoSubFrame::GetPixelSize() {
    return RowsOf(parent_, 387)->GetPixelSize();
}

std::uint32_t VideoSubFrame::GetRowBytes() {
    return RowsOf(parent_, 398)->GetRowBytes();
}

std::byte* VideoSubFrame::FieldData(std::uint32_t inField) {
    const auto row = static_cast<std::int32_t>(GetFieldFirstRow(inField));
    return static_cast<std::byte*>(GetData()) + Product(GetRowBytes(), row);
}

void* VideoSubFrame::GetField0Data() {
    return FieldData(0);
}

void* VideoSubFrame::GetField1Data() {
    return FieldData(1);
}

std::uint32_t VideoSubFrame::GetFieldRowBytes() {
    return 2 * GetRowBytes();
}

std::uint32_t VideoSubFrame::GetFieldFirstRow(std::uint32_t inField) {
    const bool isFirstField = inField == 0;
    const tulomediatypes::FieldType fieldType = GetFieldType();
    const bool isOdd = subRect_.Height() % 2 != 0;
    const bool firstFieldIsFirst = fieldType == 2 || (fieldType == 1 && isOdd);
    return isFirstField == firstFieldIsFirst ? 0 : 1;
}

std::int32_t VideoSubFrame::FillWithOpaqueBlack() {
    return ClearableOf(parent_)->FillWithOpaqueBlack();
}

std::int32_t VideoSubFrame::FillWithOpaqueWhite() {
    return ClearableOf(parent_)->FillWithOpaqueWhite();
}

std::int32_t VideoSubFrame::FillWithTransparentBlack() {
    return ClearableOf(parent_)->FillWithTransparentBlack();
}

std::int32_t VideoSubFrame::FillWithTransparentWhite() {
    return ClearableOf(parent_)->FillWithTransparentWhite();
}

}  // namespace VF
