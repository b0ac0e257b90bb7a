// Sub-frames: frames that show a rectangle of another frame.
#pragma once

#include <atomic>

#include "VideoFrame/FrameInterfaces.h"

namespace VF {

/// Its pixels are those of its parent; it has properties of its own where VideoFrameFactory.h says
/// so. The rectangle is inside the parent's bounds and counts memory rows of the parent.
class VideoSubFrame final : public OV::IVideoFrame,
                            public IVideoFrameMemoryAccess,
                            public IVideoFrame2DPixelMemoryAccess,
                            public OV::IVideoFrameClearable {
  public:
    // The class operations, 28 to 30 of the primary table. They come first in the class because an
    // override of a secondary interface takes a slot of the primary table, too.

    /// 28. A counted reference to the object itself.
    virtual VideoFrameRef GetSelfReference();
    /// 29. Does nothing.
    virtual void DoNothing();
    /// 30. Makes the object show a rectangle of the parent. Once only. A parent without
    /// two-dimensional access is an input contract violation.
    virtual void Initialize(VideoFrameRef inParent, const Brix::Rect& inSubRect);

    // Brix::BrixUnknown
    void AddRef() override;
    void Release() override;
    void Destroy() override;
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override;

    // OV::IVideoFrame
    Brix::Rect GetBounds() override;
    bool IsRectNative(const Brix::Rect& inRect) override;
    tulomediatypes::PixelAspectRatio GetPixelAspectRatio() override;
    void SetPixelAspectRatio(tulomediatypes::PixelAspectRatio inRatio) override;
    tulomediatypes::PixelFormat GetPixelType() override;
    bool GetReadOnly() override;
    void SetReadOnly(bool inReadOnly) override;
    tulomediatypes::FieldType GetFieldType() override;
    void SetFieldType(tulomediatypes::FieldType inFieldType) override;
    std::uint32_t GetAlphaType() override;
    void SetAlphaType(std::uint32_t inAlphaType) override;
    bool HasAlphaChannel() override;
    OV::Point GetOrigin() override;
    void SetOrigin(std::int32_t inX, std::int32_t inY) override;
    Brix::Rect GetContentRect() override;
    void SetContentRect(const Brix::Rect& inRect) override;
    OV::AuxiliaryInfo GetAuxiliaryInfo() override;
    void SetAuxiliaryInfo(OV::AuxiliaryInfo inInfo) override;
    std::uint32_t GetRenderTime() override;
    void SetRenderTime(std::uint32_t inRenderTime) override;
    VideoFrameRef Duplicate() override;
    bool GetDataRect(Brix::Rect& outRect) override;
    void SetDataRect(const Brix::Rect& inRect) override;
    void ResetDataRect() override;

    // IVideoFrameMemoryAccess
    void* GetData() override;
    std::uint64_t GetDataSize() override;
    std::uint64_t GetAllocatedSize() override;

    // IVideoFrame2DPixelMemoryAccess
    std::uint32_t GetPixelSize() override;
    std::uint32_t GetRowBytes() override;
    void* GetField0Data() override;
    void* GetField1Data() override;
    std::uint32_t GetFieldRowBytes() override;
    std::uint32_t GetFieldFirstRow(std::uint32_t inField) override;

    // OV::IVideoFrameClearable: the whole parent is filled.
    std::int32_t FillWithOpaqueBlack() override;
    std::int32_t FillWithOpaqueWhite() override;
    std::int32_t FillWithTransparentBlack() override;
    std::int32_t FillWithTransparentWhite() override;

  private:
    std::byte* FieldData(std::uint32_t inField);

    std::atomic<std::uint32_t> referenceCount_ = 0;
    Brix::Rect dataRect_;
    bool hasDataRect_ = false;
    Brix::Rect subRect_;
    VideoFrameRef parent_;
    OV::Point origin_;
    Brix::Rect contentRect_;
    OV::AuxiliaryInfo auxiliaryInfo_;
    std::uint32_t renderTime_ = 0;
};

}  // namespace VF
