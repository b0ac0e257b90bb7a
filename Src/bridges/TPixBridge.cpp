#include "VideoFrame/TPixBridge.h"

#include <limits>
#include <memory>

#include "VideoFrame/VideoFrameFactory.h"
#include "bridges/RowGeometry.h"
#include "frames/Contract.h"
#include "frames/FramePixels.h"
#include "frames/RawFrame.h"
#include "frames/VideoFrameUtilities.h"

namespace VF {
namespace {

using FrameRoot = Brix::InterfaceRef<Brix::BrixUnknown>;

constexpr const char* kFile = "TPixBridge";

constexpr tulomediatypes::FieldType kFieldTypeNotSet = 3;
// What a whole record is made with: a field type that chooses no field.
constexpr tulomediatypes::FieldType kNoFieldType = 4;

// ---------------------------------------------------------------------------------------------
// Records

struct DisposeHandle {
    void operator()(TPixHand inHandle) const {
        TvDisposeHandle(reinterpret_cast<TvHandle>(inHandle));
    }
};

/// A record on its way to the caller; null when there is no memory.
using RecordOwner = std::unique_ptr<TPix*, DisposeHandle>;

RecordOwner MakeRecord() {
    return RecordOwner(reinterpret_cast<TPixHand>(TvNewHandleClear(sizeof(TPix))));
}

/// Gives the record to the caller and its frame to the map.
TPixHand Registered(RecordOwner inRecord, const FrameRoot& inFrame) {
    RegisterTPixFrame(inRecord.get(), inFrame);
    return inRecord.release();
}

void PointAt(TPix& outRecord, void* inPixels) {
    outRecord.pixels = outRecord.fullPixels = static_cast<std::uint8_t*>(inPixels);
}

std::uint32_t WidthOf(const tagRECT& inRect) {
    return static_cast<std::uint32_t>(inRect.right) - static_cast<std::uint32_t>(inRect.left);
}

std::uint32_t HeightOf(const tagRECT& inRect) {
    return static_cast<std::uint32_t>(inRect.bottom) - static_cast<std::uint32_t>(inRect.top);
}

std::int32_t LongerHalf(std::int32_t inHeight) {
    return inHeight - inHeight / 2;
}

/// The ratio in thousandths over 1000, packed. 32-bit arithmetic whose sign is kept.
std::uint64_t PackedThousandths(const tulomediatypes::PixelAspectRatio& inRatio) {
    const double ratio = static_cast<double>(inRatio.numerator) / inRatio.denominator;
    const double thousandths = ratio * 1000;
    const bool fits = thousandths < std::numeric_limits<std::int32_t>::max();
    const auto whole = fits ? static_cast<std::uint32_t>(thousandths) : 0U;
    return static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(whole << 16 | 1000U)});
}

std::uint32_t Packed(std::uint32_t inNumerator, std::uint32_t inDenominator) {
    return inNumerator << 16 | inDenominator;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Over frames

namespace {

/// Whether the field starts with the frame's first memory row.
bool StartsWithFirstRow(tulomediatypes::FieldType inFieldType, int inWhichField) {
    return (inFieldType == 2 && inWhichField == 0) || (inFieldType == 1 && inWhichField == 1);
}

void FillGeometry(TPix& outRecord, const VideoFrameRef& inFrame, const RowsRef& inRows,
                  bool inAsField) {
    if (inRows) {
        outRecord.rowbytes = static_cast<std::int32_t>(inRows->GetRowBytes() * (inAsField ? 2 : 1));
        outRecord.depth = 8 * inRows->GetPixelSize();
    } else if (const auto geometry = ViewOf<IVideoFrameRowGeometry>(inFrame)) {
        outRecord.rowbytes = static_cast<std::int32_t>(geometry->GetRowBytes());
        outRecord.depth = 8 * geometry->GetPixelSize();
    }
}

}  // namespace

TPixHand NewTPixFromVideoFrame(VideoFrameRef inFrame, bool inAsField,
                               tulomediatypes::FieldType inFieldType, int inWhichField) {
    Require(static_cast<bool>(inFrame), "inVideoFrame != NULL", kFile, __LINE__);
    RecordOwner owner = MakeRecord();
    if (!owner) return nullptr;
    TPix& record = **owner;
    const auto memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    const auto rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    const Brix::Rect bounds = inFrame->GetBounds();
    const bool isField = inAsField && rows;
    const bool startsWithFirstRow = !isField || StartsWithFirstRow(inFieldType, inWhichField);

    record.bounds = {bounds.left, bounds.top, bounds.right, bounds.Height()};
    if (isField) {
        record.bounds.bottom =
            startsWithFirstRow ? LongerHalf(bounds.Height()) : bounds.Height() / 2;
    }
    if (memory) {
        auto* const base = static_cast<std::uint8_t*>(memory->GetData());
        std::uint8_t* const secondRow = isField ? base + SignedRowBytes(rows) : base;
        PointAt(record, startsWithFirstRow ? base : secondRow);
        const bool isFirstRowFirst = inFieldType == 2;
        record.fieldStart[0] = isFirstRowFirst ? base : secondRow;
        record.fieldStart[1] = isFirstRowFirst ? secondRow : base;
        record.fieldbase = inAsField ? (inWhichField != 0 ? 2 : 1) : 0;
        record.pixelAspectRatio = PackedThousandths(inFrame->GetPixelAspectRatio());
    }
    FillGeometry(record, inFrame, rows, inAsField);
    return Registered(std::move(owner), ViewOf<Brix::BrixUnknown>(inFrame));
}

TPixHand NewTPixFromVideoFrame(VideoFrameRef inFrame) {
    return NewTPixFromVideoFrame(std::move(inFrame), false, kNoFieldType, 0);
}

TPixHand NewTPixWithVideoFrame(const tagRECT* inBounds, tulomediatypes::PixelFormat inFormat,
                               bool inAsField, int inFirstField,
                               const tulomediatypes::PixelAspectRatio& inAspectRatio,
                               int inPixelAlignment, int inBlockSize, int inPixelPrefix) {
    Require(inBounds != nullptr, "bounds", kFile, __LINE__);
    RecordOwner owner = MakeRecord();
    if (!owner) return nullptr;
    TPix& record = **owner;
    VideoFrameRef frame;
    if (CreateDiskAlignedVideoFrame(frame, inFormat, WidthOf(*inBounds), HeightOf(*inBounds),
                                    inAspectRatio, inPixelAlignment, inBlockSize, inPixelPrefix,
                                    false, false) < 0 ||
        !frame)
        return nullptr;
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(frame);
    Require(static_cast<bool>(memory), "memoryAccesibleVideoFrame != NULL", kFile, __LINE__);
    const auto rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(frame);
    const Brix::Rect bounds = frame->GetBounds();
    const bool isFirstField = inFirstField != 0;

    record.bounds = {bounds.left, bounds.top, bounds.right, bounds.bottom};
    record.fieldStart[0] = record.fieldStart[1] = static_cast<std::uint8_t*>(memory->GetData());
    if (inAsField) {
        record.bounds.bottom = isFirstField ? LongerHalf(bounds.Height()) : bounds.Height() / 2;
        record.fieldbase = isFirstField ? 2 : 1;
        if (rows) {
            record.fieldStart[0] = static_cast<std::uint8_t*>(rows->GetField0Data());
            record.fieldStart[1] = static_cast<std::uint8_t*>(rows->GetField1Data());
        }
    }
    PointAt(record, record.fieldStart[inAsField && !isFirstField ? 1 : 0]);
    frame->SetFieldType(static_cast<tulomediatypes::FieldType>(record.fieldbase));
    record.pixelAspectRatio = Packed(inAspectRatio.numerator, inAspectRatio.denominator);
    if (rows) {
        record.rowbytes =
            static_cast<std::int32_t>(inAsField ? rows->GetFieldRowBytes() : rows->GetRowBytes());
        record.depth = 8 * rows->GetPixelSize();
    }
    return Registered(std::move(owner), ViewOf<Brix::BrixUnknown>(frame));
}

TPixHand NewCustomTPixWithVideoFrame(const tagRECT* inBounds, tulomediatypes::PixelFormat inFormat,
                                     int inDataSize,
                                     const tulomediatypes::PixelAspectRatio& inAspectRatio) {
    Require(inBounds != nullptr, "bounds", kFile, __LINE__);
    VideoFrameRef frame;
    if (CreateCustomVideoFrame(frame, inFormat, WidthOf(*inBounds), HeightOf(*inBounds), inDataSize,
                               inAspectRatio) < 0 ||
        !frame)
        return nullptr;
    return NewTPixFromVideoFrame(std::move(frame));
}

// ---------------------------------------------------------------------------------------------
// Over bytes

namespace {

/// A record that has an address and no geometry.
TPixHand NewTPixOver(const Brix::InterfaceRef<RawFrame>& inFrame, RecordOwner inRecord) {
    PointAt(**inRecord, inFrame->GetData());
    return Registered(std::move(inRecord), Brix::QueryInterface<Brix::BrixUnknown>(inFrame));
}

}  // namespace

TPixHand NewTPixWithRawFrame(std::uint64_t inSize, std::uint64_t inAlignment) {
    Require(inSize != 0, "inSize", kFile, __LINE__);
    RecordOwner record = MakeRecord();
    if (!record) return nullptr;
    const Brix::InterfaceRef<RawFrame> frame = RawFrame::Create();
    if (frame->AllocateMemory(inSize, inAlignment) < 0) return nullptr;
    return NewTPixOver(frame, std::move(record));
}

TPixHand NewTPixFromVideoMemoryAccess(Brix::InterfaceRef<IVideoFrameMemoryAccess> inMemory) {
    if (const auto bytes = Brix::QueryInterface<RawFrame>(inMemory)) {
        RecordOwner record = MakeRecord();
        if (record) return NewTPixOver(bytes, std::move(record));
    }
    VideoFrameRef frame = Brix::QueryInterface<OV::IVideoFrame>(inMemory);
    return frame ? NewTPixFromVideoFrame(std::move(frame)) : nullptr;
}

void DisposeTPixFromVideoFrame(TPixHand inHandle) {
    Require(inHandle != nullptr, "tpixHandle != NULL", kFile, __LINE__);
    if (!*inHandle) return;
    TPixFrameMap().Forget(inHandle);
    DisposeHandle()(inHandle);
}

// ---------------------------------------------------------------------------------------------
// Queries

namespace {

void RequireHandle(TPixHand inHandle, int inLine) {
    Require(inHandle != nullptr, "inTPixHand != NULL", kFile, inLine);
}

/// The frame behind a record that is known; asking leaves no entry behind.
VideoFrameRef FrameOfKnown(TPixHand inHandle) {
    return Brix::QueryInterface<OV::IVideoFrame>(
        TPixFrameMap().Contains(inHandle) ? TPixFrameMap().Find(inHandle) : nullptr);
}

}  // namespace

FrameRoot GetTPixHandFrameMapping(TPixHand inHandle) {
    return TPixFrameMap().Find(inHandle);
}

VideoFrameRef GetVideoFrameFromTPix(TPixHand inHandle) {
    Require(inHandle != nullptr, "inTPix != NULL", kFile, __LINE__);
    return Brix::QueryInterface<OV::IVideoFrame>(TPixFrameMap().Find(inHandle));
}

bool GetUnderlyingVideoFrameReadOnly(TPixHand inHandle) {
    RequireHandle(inHandle, __LINE__);
    const FrameRoot root = TPixFrameMap().Find(inHandle);
    if (const auto frame = Brix::QueryInterface<OV::IVideoFrame>(root)) return frame->GetReadOnly();
    const auto bytes = Brix::QueryInterface<RawFrame>(root);
    return !bytes || bytes->GetReadOnly();
}

std::uint32_t GetUnderlyingVideoFrameRenderTime(TPixHand inHandle) {
    RequireHandle(inHandle, __LINE__);
    const auto frame = Brix::QueryInterface<OV::IVideoFrame>(TPixFrameMap().Find(inHandle));
    return frame ? frame->GetRenderTime() : 0;
}

void GetUnderlyingVideoFrameAspectRatio(TPixHand inHandle, std::uint32_t* outNumerator,
                                        std::uint32_t* outDenominator) {
    RequireHandle(inHandle, __LINE__);
    Require(outNumerator && outDenominator, "outAspectNum != NULL && outAspectDen != NULL", kFile,
            __LINE__);
    *outNumerator = *outDenominator = 0;
    if (const auto frame = Brix::QueryInterface<OV::IVideoFrame>(TPixFrameMap().Find(inHandle))) {
        const auto ratio = frame->GetPixelAspectRatio();
        *outNumerator = ratio.numerator;
        *outDenominator = ratio.denominator;
    }
}

tulomediatypes::PixelFormat GetUnderlyingVideoFramePixelFormat(TPixHand inHandle) {
    RequireHandle(inHandle, __LINE__);
    const VideoFrameRef frame = FrameOfKnown(inHandle);
    return frame ? frame->GetPixelType() : OV::kPixelFormat_BGRA_4444_8u;
}

tulomediatypes::FieldType GetUnderlyingVideoFrameFieldType(TPixHand inHandle) {
    RequireHandle(inHandle, __LINE__);
    const VideoFrameRef frame = FrameOfKnown(inHandle);
    return frame ? frame->GetFieldType() : kFieldTypeNotSet;
}

}  // namespace VF

// ---------------------------------------------------------------------------------------------
// For older code

TPixHand tpixNew(const tagRECT* inBounds) {
    return VF::NewTPixWithVideoFrame(inBounds, OV::kPixelFormat_BGRA_4444_8u, false, 0,
                                     tulomediatypes::kPixelAspectRatio_Square, 0, 0, 0);
}

std::int16_t tpixDispose(TPixHand inHandle) {
    VF::DisposeTPixFromVideoFrame(inHandle);
    return 0;
}

std::uint32_t tpixGetPixelAspectRatio(TPixHand inHandle) {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 0;
    VF::GetUnderlyingVideoFrameAspectRatio(inHandle, &numerator, &denominator);
    const std::uint32_t packed = VF::Packed(numerator, denominator);
    (*inHandle)->pixelAspectRatio = packed;
    return packed;
}
