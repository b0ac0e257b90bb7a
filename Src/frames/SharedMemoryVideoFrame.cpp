#include "frames/SharedMemoryVideoFrame.h"

#include <algorithm>

#include "VideoFrame/PixelFormatUtilities.h"
#include "VideoFrame/Status.h"
#include "VideoFrame/VideoFrameFactory.h"
#include "frames/Contract.h"
#include "frames/FramePixels.h"
#include "frames/PixelFormatProperties.h"

namespace VF {
namespace {

constexpr const char* kFile = "SharedMemoryVideoFrame";

tulomediatypes::PixelFormat FormatOf(const SharedFrameHeader& inHeader) {
    return {inHeader.formatCode, inHeader.formatProperties};
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// References and views

void SharedMemoryVideoFrameBase::AddRef() {
    referenceCount_.fetch_add(1, std::memory_order_relaxed);
}

void SharedMemoryVideoFrameBase::Release() {
    if (referenceCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
}

VideoFrameRef SharedMemoryVideoFrameBase::GetSelfReference() {
    return VideoFrameRef(this);
}

std::int32_t SharedMemoryVideoFrameBase::QueryInterface(const tulocore::utility::Guid& inId,
                                                        void** outView) {
    *outView = nullptr;
    if (inId == OV::IVideoFrame::kInterfaceId || inId == Brix::BrixUnknown::kInterfaceId) {
        *outView = static_cast<OV::IVideoFrame*>(this);
    } else if (inId == IVideoFrameMemoryAccess::kInterfaceId) {
        *outView = static_cast<IVideoFrameMemoryAccess*>(this);
    } else if (inId == IPublishableVideoFrame::kInterfaceId) {
        if (HasSharedBacking()) *outView = static_cast<IPublishableVideoFrame*>(this);
    } else if (inId == OV::IVideoFrameClearable::kInterfaceId) {
        if (!GetReadOnly() && !IsCustomBEPixelFormat(GetPixelType())) {
            *outView = static_cast<OV::IVideoFrameClearable*>(this);
        }
    } else if (inId == IVideoFrame2DPixelMemoryAccess::kInterfaceId) {
        const tulomediatypes::PixelFormat format = GetPixelType();
        if (IsRowAddressable(format) && !IsCustomBEPixelFormat(format)) {
            *outView = static_cast<IVideoFrame2DPixelMemoryAccess*>(this);
        }
    }
    if (!*outView) return kInterfaceNotCarried;
    AddRef();
    return kSuccess;
}

// ---------------------------------------------------------------------------------------------
// The header

const SharedFrameHeader* SharedMemoryVideoFrameBase::InternalGetHeader() {
    return static_cast<const SharedFrameHeader*>(InternalGetData());
}

const SharedFrameHeader& SharedMemoryVideoFrameBase::ReadableHeader() {
    const SharedFrameHeader* const header = InternalGetHeader();
    Require(header != nullptr, "InternalGetData()", kFile, __LINE__);
    return *header;
}

const std::byte* SharedMemoryVideoFrameBase::ReadableBuffer() {
    const void* const buffer = InternalGetData();
    Require(buffer != nullptr, "InternalGetData()", kFile, __LINE__);
    return static_cast<const std::byte*>(buffer);
}

SharedFrameHeader& SharedMemoryVideoFrameBase::WritableHeader() {
    void* const buffer = GetReadOnly() ? nullptr : InternalGetWritableData();
    Require(buffer != nullptr, "!GetReadOnly() && InternalGetWritableData()", kFile, __LINE__);
    return *static_cast<SharedFrameHeader*>(buffer);
}

// ---------------------------------------------------------------------------------------------
// OV::IVideoFrame

Brix::Rect SharedMemoryVideoFrameBase::GetBounds() {
    const SharedFrameHeader& header = ReadableHeader();
    return {0, 0, header.width, header.height};
}

bool SharedMemoryVideoFrameBase::IsRectNative(const Brix::Rect& inRect) {
    return IsRectNativeToFrame(inRect, GetBounds(), GetPixelType());
}

tulomediatypes::PixelAspectRatio SharedMemoryVideoFrameBase::GetPixelAspectRatio() {
    const SharedFrameHeader& header = ReadableHeader();
    return {header.aspectRatioNumerator, header.aspectRatioDenominator};
}

void SharedMemoryVideoFrameBase::SetPixelAspectRatio(tulomediatypes::PixelAspectRatio inRatio) {
    SharedFrameHeader& header = WritableHeader();
    header.aspectRatioNumerator = inRatio.numerator;
    header.aspectRatioDenominator = inRatio.denominator;
}

tulomediatypes::PixelFormat SharedMemoryVideoFrameBase::GetPixelType() {
    return FormatOf(ReadableHeader());
}

tulomediatypes::FieldType SharedMemoryVideoFrameBase::GetFieldType() {
    return ReadableHeader().fieldType;
}

void SharedMemoryVideoFrameBase::SetFieldType(tulomediatypes::FieldType inFieldType) {
    WritableHeader().fieldType = inFieldType;
}

std::uint32_t SharedMemoryVideoFrameBase::GetAlphaType() {
    return ReadableHeader().alphaType;
}

void SharedMemoryVideoFrameBase::SetAlphaType(std::uint32_t inAlphaType) {
    WritableHeader().alphaType = inAlphaType;
}

bool SharedMemoryVideoFrameBase::HasAlphaChannel() {
    const SharedFrameHeader& header = ReadableHeader();
    const tulomediatypes::PixelFormat format = FormatOf(header);
    return IsPacked(format) && !IsSubsampled(format) && !IsAlphaIgnored(format) &&
           header.alphaType != 3;
}

OV::Point SharedMemoryVideoFrameBase::GetOrigin() {
    const SharedFrameHeader& header = ReadableHeader();
    if (header.originX < 0 || header.originY < 0) return {-1, -1};
    return {header.originX, header.originY};
}

void SharedMemoryVideoFrameBase::SetOrigin(std::int32_t inX, std::int32_t inY) {
    SharedFrameHeader& header = WritableHeader();
    const Brix::Rect bounds = GetBounds();
    header.originX = inX;
    header.originY = inY;
    header.width = bounds.Width();
    header.height = bounds.Height();
}

Brix::Rect SharedMemoryVideoFrameBase::GetContentRect() {
    const SharedFrameHeader& header = ReadableHeader();
    return FromStored({header.contentRectX, header.contentRectY, header.contentRectWidth,
                       header.contentRectHeight});
}

void SharedMemoryVideoFrameBase::SetContentRect(const Brix::Rect& inRect) {
    SharedFrameHeader& header = WritableHeader();
    const StoredRect rect = ToStored(inRect);
    header.contentRectX = rect.x;
    header.contentRectY = rect.y;
    header.contentRectWidth = rect.width;
    header.contentRectHeight = rect.height;
}

OV::AuxiliaryInfo SharedMemoryVideoFrameBase::GetAuxiliaryInfo() {
    return {};
}

void SharedMemoryVideoFrameBase::SetAuxiliaryInfo(OV::AuxiliaryInfo /*inInfo*/) {}

std::uint32_t SharedMemoryVideoFrameBase::GetRenderTime() {
    return ReadableHeader().renderTime;
}

void SharedMemoryVideoFrameBase::SetRenderTime(std::uint32_t inRenderTime) {
    if (!GetReadOnly()) WritableHeader().renderTime = inRenderTime;
}

bool SharedMemoryVideoFrameBase::GetDataRect(Brix::Rect& outRect) {
    const SharedFrameHeader& header = ReadableHeader();
    outRect = FromStored(
        {header.dataRectX, header.dataRectY, header.dataRectWidth, header.dataRectHeight});
    return true;
}

void SharedMemoryVideoFrameBase::SetDataRect(const Brix::Rect& inRect) {
    SharedFrameHeader& header = WritableHeader();
    const StoredRect rect = ToStored(inRect);
    header.dataRectX = rect.x;
    header.dataRectY = rect.y;
    header.dataRectWidth = rect.width;
    header.dataRectHeight = rect.height;
}

void SharedMemoryVideoFrameBase::ResetDataRect() {
    SetDataRect(GetBounds());
}

VideoFrameRef SharedMemoryVideoFrameBase::Duplicate() {
    const tulomediatypes::PixelFormat format = GetPixelType();
    const Brix::Rect bounds = GetBounds();
    const auto width = static_cast<std::uint32_t>(bounds.Width());
    const auto height = static_cast<std::uint32_t>(bounds.Height());
    VideoFrameRef frame;
    const std::int32_t status =
        IsCustomBEPixelFormat(format)
            ? CreateCustomVideoFrame(frame, format, width, height,
                                     static_cast<std::int32_t>(GetDataSize()),
                                     GetPixelAspectRatio())
            : CreateVideoFrame(frame, format, width, height, GetPixelAspectRatio(), false, false);
    if (status < 0 || !frame) return nullptr;

    const OV::Point origin = GetOrigin();
    frame->SetOrigin(origin.x, origin.y);
    frame->SetContentRect(GetContentRect());
    frame->SetReadOnly(false);
    frame->SetFieldType(GetFieldType());
    frame->SetAlphaType(GetAlphaType());
    Brix::Rect dataRect;
    if (GetDataRect(dataRect)) frame->SetDataRect(dataRect);
    return frame;
}

// ---------------------------------------------------------------------------------------------
// OV::IVideoFrameClearable

namespace {

using Fill = decltype(SV_FillWithOpaqueBlack);

std::int32_t FillFrame(SharedMemoryVideoFrameBase& inFrame, Fill* inFill) {
    const SV_PixelFormat format = BEPixelFormatToSVPixelFormat(inFrame.GetPixelType());
    if (format == kSV_PixelFormat_None) return kFailure;
    std::int64_t rowBytes = SignedRowBytes(inFrame.GetRowBytes());
    if (rowBytes == 0) rowBytes = static_cast<std::int64_t>(inFrame.GetDataSize());
    const Brix::Rect bounds = inFrame.GetBounds();
    const std::int32_t result =
        inFill(inFrame.GetData(), rowBytes, bounds.Width(), bounds.Height(), format);
    return result == 0 ? kSuccess : kFailure;
}

}  // namespace

std::int32_t SharedMemoryVideoFrameBase::FillWithOpaqueBlack() {
    return FillFrame(*this, SV_FillWithOpaqueBlack);
}

std::int32_t SharedMemoryVideoFrameBase::FillWithOpaqueWhite() {
    return FillFrame(*this, SV_FillWithOpaqueWhite);
}

std::int32_t SharedMemoryVideoFrameBase::FillWithTransparentBlack() {
    return FillFrame(*this, SV_FillWithTransparentBlack);
}

std::int32_t SharedMemoryVideoFrameBase::FillWithTransparentWhite() {
    return FillFrame(*this, SV_FillWithTransparentWhite);
}

// ---------------------------------------------------------------------------------------------
// IVideoFrameMemoryAccess

void* SharedMemoryVideoFrameBase::GetData() {
    if (!GetReadOnly()) {
        SharedFrameHeader& header = WritableHeader();
        return reinterpret_cast<std::byte*>(&header) + PixelPosition(header);
    }
    // The interface has one pointer for both kinds of frame: that of a read-only frame is for
    // reading only.
    return const_cast<std::byte*>(ReadableBuffer()) + PixelPosition(ReadableHeader());
}

std::uint64_t SharedMemoryVideoFrameBase::GetDataSize() {
    const SharedFrameHeader& header = ReadableHeader();
    const tulomediatypes::PixelFormat format = FormatOf(header);
    // A header from elsewhere may say less than its own size.
    if (IsCustomBEPixelFormat(format)) {
        return std::max(header.totalSize, std::uint32_t{kFrameHeaderSize}) - kFrameHeaderSize;
    }
    return tulomediatypes::PixelFormatSize(format, header.width, header.height);
}

std::uint64_t SharedMemoryVideoFrameBase::GetAllocatedSize() {
    return ReadableHeader().totalSize;
}

// ---------------------------------------------------------------------------------------------
// IVideoFrame2DPixelMemoryAccess

std::uint32_t SharedMemoryVideoFrameBase::GetPixelSize() {
    return PixelSize(GetPixelType());
}

std::uint32_t SharedMemoryVideoFrameBase::GetRowBytes() {
    return static_cast<std::uint32_t>(ReadableHeader().rowBytes);
}

void* SharedMemoryVideoFrameBase::FieldData(std::uint32_t inField) {
    Require(IsRowAddressable(GetPixelType()), "IsRowAddressable()", kFile, __LINE__);
    const auto offset = static_cast<std::int32_t>(GetFieldFirstRow(inField) * GetRowBytes());
    return static_cast<std::byte*>(GetData()) + offset;
}

void* SharedMemoryVideoFrameBase::GetField0Data() {
    return FieldData(0);
}

void* SharedMemoryVideoFrameBase::GetField1Data() {
    return FieldData(1);
}

std::uint32_t SharedMemoryVideoFrameBase::GetFieldRowBytes() {
    return 2 * GetRowBytes();
}

std::uint32_t SharedMemoryVideoFrameBase::GetFieldFirstRow(std::uint32_t inField) {
    const SharedFrameHeader& header = ReadableHeader();
    const bool isUpperFirst = header.fieldType == 1;
    const bool isOdd = (header.height & 1) != 0;
    if (isUpperFirst == isOdd) return inField;
    return inField == 0 ? 1 : 0;
}

}  // namespace VF
