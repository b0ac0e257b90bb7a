// A frame of another library, which does not show its memory.
#pragma once

#include "contracts/Orvane.h"
#include "support/Testing.h"

namespace support {

/// 10 by 10 pixels. Lives on the stack of a test: its count is kept by nobody.
class FrameWithoutMemory : public OV::IVideoFrame {
  public:
    void AddRef() override {}
    void Release() override {}
    void Destroy() override {}
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override {
        const bool isCarried =
            inId == Brix::BrixUnknown::kInterfaceId || inId == OV::IVideoFrame::kInterfaceId;
        *outView = isCarried ? this : nullptr;
        return isCarried ? 0 : Brix::kInterfaceNotCarried;
    }
    Brix::Rect GetBounds() override { return {0, 0, 10, 10}; }
    bool IsRectNative(const Brix::Rect&) override { return false; }
    tulomediatypes::PixelAspectRatio GetPixelAspectRatio() override { return {}; }
    void SetPixelAspectRatio(tulomediatypes::PixelAspectRatio) override {}
    tulomediatypes::PixelFormat GetPixelType() override {
        return tulomediatypes::kPixelFormat_BGRA_4444_8u;
    }
    bool GetReadOnly() override { return false; }
    void SetReadOnly(bool) override {}
    tulomediatypes::FieldType GetFieldType() override { return 0; }
    void SetFieldType(tulomediatypes::FieldType) override {}
    std::uint32_t GetAlphaType() override { return 1; }
    void SetAlphaType(std::uint32_t) override {}
    bool HasAlphaChannel() override { return true; }
    OV::Point GetOrigin() override { return {}; }
    void SetOrigin(std::int32_t, std::int32_t) override {}
    Brix::Rect GetContentRect() override { return GetBounds(); }
    void SetContentRect(const Brix::Rect&) override {}
    OV::AuxiliaryInfo GetAuxiliaryInfo() override { return {}; }
    void SetAuxiliaryInfo(OV::AuxiliaryInfo) override {}
    std::uint32_t GetRenderTime() override { return 0; }
    void SetRenderTime(std::uint32_t) override {}
    Brix::InterfaceRef<OV::IVideoFrame> Duplicate() override { return nullptr; }
    bool GetDataRect(Brix::Rect& outRect) override {
        outRect = GetBounds();
        return true;
    }
    void SetDataRect(const Brix::Rect&) override {}
    void ResetDataRect() override {}
};

}  // namespace support
