// Hosts call operations by their position in the table.

#include <bit>

#include "frames/RawFrame.h"
#include "frames/SharedMemoryVideoFrame.h"
#include "support/Testing.h"

namespace {

// Pointers to virtual members hold their offset in the table; on some processors bit 0 is set, too.
struct Operation {
    template <class Pointer>
    Operation(Pointer inPointer)  // NOLINT: rows of the table are written without it
        : position(
              (std::bit_cast<std::array<std::uintptr_t, 2>>(inPointer)[0] & ~std::uintptr_t{1}) /
              sizeof(void*)) {}
    std::size_t position;
};

}  // namespace

TEST(Tables, OperationsKeepTheirPositions) {
    using Root = Brix::BrixUnknown;
    using Frame = OV::IVideoFrame;
    using Clearable = OV::IVideoFrameClearable;
    using Memory = VF::IVideoFrameMemoryAccess;
    using Rows = VF::IVideoFrame2DPixelMemoryAccess;
    using Base = VF::SharedMemoryVideoFrameBase;
    // clang-format off
    const struct { std::size_t first; std::vector<Operation> operations; } kTables[] = {
        {0, {&Root::AddRef, &Root::Release, &Root::Destroy, &Root::QueryInterface}},
        {4, {&Frame::GetBounds, &Frame::IsRectNative, &Frame::GetPixelAspectRatio,
             &Frame::SetPixelAspectRatio, &Frame::GetPixelType, &Frame::GetReadOnly,
             &Frame::SetReadOnly, &Frame::GetFieldType, &Frame::SetFieldType, &Frame::GetAlphaType,
             &Frame::SetAlphaType, &Frame::HasAlphaChannel, &Frame::GetOrigin, &Frame::SetOrigin,
             &Frame::GetContentRect, &Frame::SetContentRect, &Frame::GetAuxiliaryInfo,
             &Frame::SetAuxiliaryInfo, &Frame::GetRenderTime, &Frame::SetRenderTime,
             &Frame::Duplicate, &Frame::GetDataRect, &Frame::SetDataRect, &Frame::ResetDataRect}},
        {28, {&Base::InternalGetWritableData, &Base::InternalGetData, &Base::HasSharedBacking,
              &Base::GetSelfReference}},
        {4, {&Clearable::FillWithOpaqueBlack, &Clearable::FillWithOpaqueWhite,
             &Clearable::FillWithTransparentBlack, &Clearable::FillWithTransparentWhite}},
        {4, {&Memory::GetData, &Memory::GetDataSize, &Memory::GetAllocatedSize}},
        {7, {&VF::RawFrame::GetSelfReference}},
        {4, {&Rows::GetPixelSize, &Rows::GetRowBytes, &Rows::GetField0Data, &Rows::GetField1Data,
             &Rows::GetFieldRowBytes, &Rows::GetFieldFirstRow}},
        {4, {&VF::IPublishableVideoFrame::Publish}},
    };
    // clang-format on
    for (const auto& [first, operations] : kTables) {
        for (std::size_t i = 0; i < operations.size(); ++i)
            EXPECT_EQ(operations[i].position, first + i);
    }
}
