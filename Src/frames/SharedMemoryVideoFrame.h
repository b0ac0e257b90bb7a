// What all frames have in common whose properties and pixels lie in one buffer behind a header.
#pragma once

#include <atomic>

#include "VideoFrame/FrameInterfaces.h"
#include "frames/FrameHeader.h"

namespace VF {

/// A frame over a buffer that begins with a SharedFrameHeader, in which every property lives. How
/// the buffer is owned, and when it may be written, is the concrete class's business.
class SharedMemoryVideoFrameBase : public OV::IVideoFrame,
                                   public OV::IVideoFrameClearable,
                                   public IVideoFrameMemoryAccess,
                                   public IVideoFrame2DPixelMemoryAccess,
                                   public IPublishableVideoFrame {
  public:
    // The class operations, 28 to 32 of the primary table. They come first in the class because
    // an override of a secondary interface takes a slot of the primary table, too.

    /// 28. The start of the buffer for writing, or null.
    virtual void* InternalGetWritableData() = 0;
    /// 29. The start of the buffer for reading, or null.
    virtual const void* InternalGetData() = 0;
    /// 30. Whether the buffer is shared memory that can be published.
    virtual bool HasSharedBacking() = 0;
    /// 31. A counted reference to the object itself.
    virtual VideoFrameRef GetSelfReference();
    /// 32. The header that properties are read from: that of the buffer, or the class's own copy
    /// of it. Null without a buffer.
    virtual const SharedFrameHeader* InternalGetHeader();

    // Brix::BrixUnknown
    void AddRef() final;
    void Release() final;
    void Destroy() override = 0;
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) final;

    // OV::IVideoFrame; GetReadOnly and SetReadOnly are the concrete class's.
    Brix::Rect GetBounds() final;
    bool IsRectNative(const Brix::Rect& inRect) final;
    tulomediatypes::PixelAspectRatio GetPixelAspectRatio() final;
    void SetPixelAspectRatio(tulomediatypes::PixelAspectRatio inRatio) final;
    tulomediatypes::PixelFormat GetPixelType() final;
    tulomediatypes::FieldType GetFieldType() final;
    void SetFieldType(tulomediatypes::FieldType inFieldType) final;
    std::uint32_t GetAlphaType() final;
    void SetAlphaType(std::uint32_t inAlphaType) final;
    bool HasAlphaChannel() final;
    OV::Point GetOrigin() final;
    void SetOrigin(std::int32_t inX, std::int32_t inY) final;
    Brix::Rect GetContentRect() final;
    void SetContentRect(const Brix::Rect& inRect) final;
    OV::AuxiliaryInfo GetAuxiliaryInfo() final;
    void SetAuxiliaryInfo(OV::AuxiliaryInfo inInfo) final;
    std::uint32_t GetRenderTime() final;
    void SetRenderTime(std::uint32_t inRenderTime) final;
    VideoFrameRef Duplicate() final;
    bool GetDataRect(Brix::Rect& outRect) final;
    void SetDataRect(const Brix::Rect& inRect) final;
    void ResetDataRect() final;

    // OV::IVideoFrameClearable
    std::int32_t FillWithOpaqueBlack() final;
    std::int32_t FillWithOpaqueWhite() final;
    std::int32_t FillWithTransparentBlack() final;
    std::int32_t FillWithTransparentWhite() final;

    // IVideoFrameMemoryAccess
    void* GetData() final;
    std::uint64_t GetDataSize() final;
    std::uint64_t GetAllocatedSize() final;

    // IVideoFrame2DPixelMemoryAccess
    std::uint32_t GetPixelSize() final;
    std::uint32_t GetRowBytes() final;
    void* GetField0Data() final;
    void* GetField1Data() final;
    std::uint32_t GetFieldRowBytes() final;
    std::uint32_t GetFieldFirstRow(std::uint32_t inField) final;

  protected:
    ~SharedMemoryVideoFrameBase() = default;

  private:
    const SharedFrameHeader& ReadableHeader();
    SharedFrameHeader& WritableHeader();
    const std::byte* ReadableBuffer();
    void* FieldData(std::uint32_t inField);

    std::atomic<std::uint32_t> referenceCount_ = 1;
};

}  // namespace VF
