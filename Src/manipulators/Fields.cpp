// Single fields: copied, exchanged, made whole pictures of.
#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "VideoFrame/VideoFrameManipulators.h"
#include "frames/PixelFormatProperties.h"
#include "manipulators/Manipulators.h"

namespace VF::VideoFrameManipulators {
namespace {

constexpr float kMean = 0.5f;
constexpr std::int32_t kEveryRow = 3;

// ---- Fields -------------------------------------------------------------------------------------

std::int32_t FieldHeight(const VideoFrameRef& inFrame, const RowsRef& inRows,
                         std::uint32_t inField) {
    const std::int32_t height = inFrame->GetBounds().Height();
    const bool isLonger = height % 2 != 0 && inRows->GetFieldFirstRow(inField) == 0;
    return height / 2 + (isLonger ? 1 : 0);
}

std::int64_t FieldRowBytes(const RowsRef& inRows) {
    return SignedRowBytes(inRows->GetFieldRowBytes());
}

void* FieldData(const RowsRef& inRows, std::uint32_t inField) {
    return inField == 0 ? inRows->GetField0Data() : inRows->GetField1Data();
}

RowsRef RequiredRows(const VideoFrameRef& inFrame) {
    RowsRef rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    if (!rows) Brix::ThrowNullInterface();
    return rows;
}

// Bytes from one pixel to the next; 0 for standard formats whose rows cannot be addressed. Frames
// of custom formats raise for want of the view.
std::uint32_t PixelSizeOf(const VideoFrameRef& inFrame, const RowsRef& inRows) {
    if (!inRows && IsStandardBEPixelFormat(inFrame->GetPixelType())) return 0;
    return inRows->GetPixelSize();
}

// ---- Rows of a picture --------------------------------------------------------------------------

struct Rows {
    std::byte* data;
    std::int64_t rowBytes;
    std::int32_t width;
    std::int32_t height;
    /// Of the pixels of a row, in whole units where two pixels share one.
    std::size_t usedBytes;
    SV_PixelFormat format;

    std::byte* At(std::int32_t inRow) const { return data + rowBytes * inRow; }
};

std::size_t UsedRowBytes(const VideoFrameRef& inFrame, std::uint32_t inPixelSize) {
    const std::int32_t width = inFrame->GetBounds().Width();
    const std::int32_t beyond = IsSubsampled(inFrame->GetPixelType()) ? width % 2 : 0;
    return static_cast<std::size_t>(width + beyond) * inPixelSize;
}

void CopyRow(const Rows& inRows, std::int32_t inFrom, std::int32_t inTo) {
    SV_CopyMemory(inRows.At(inTo), inRows.At(inFrom), inRows.usedBytes);
}

// Gives each of inCount rows, from inFirst on in steps of two, the mean of its two neighbours.
void RebuildRows(const Rows& inRows, std::int32_t inFirst, std::int32_t inCount) {
    if (inCount <= 0) return;
    const std::int64_t step = 2 * inRows.rowBytes;
    SV_CrossDissolve(inRows.At(inFirst - 1), step, inRows.format, inRows.At(inFirst + 1), step,
                     inRows.format, inRows.At(inFirst), step, inRows.format, inRows.width, inCount,
                     kMean, kFullQuality);
}

void RebuildField(const Rows& inRows, std::int32_t inKeptFirstRow) {
    const std::int32_t last = inRows.height - 1;
    const bool lacksFirst = inKeptFirstRow != 0;
    const bool lacksLast = (last - inKeptFirstRow) % 2 != 0;
    if (lacksFirst) CopyRow(inRows, 1, 0);
    const std::int32_t first = lacksFirst ? 2 : 1;
    const std::int32_t end = lacksLast ? last : last + 1;
    RebuildRows(inRows, first, (end - first) / 2);
    if (lacksLast) CopyRow(inRows, last - 1, last);
}

void MixRows(const Rows& inRows, const void* inFirst, const void* inSecond, void* outMean) {
    SV_CrossDissolve(inFirst, 0, inRows.format, inSecond, 0, inRows.format, outMean, 0,
                     inRows.format, inRows.width, 1, kMean, kFullQuality);
}

// The rows of the source from the last to the first. Where they are overwritten as they are used,
// the two that are still needed are kept.
class SourceRows {
  public:
    SourceRows(const Rows& inRows, bool inIsOverwritten)
        : rows_(inRows), isOverwritten_(inIsOverwritten) {
        for (std::vector<std::byte>& row : kept_)
            row.resize(isOverwritten_ ? rows_.usedBytes : 0);
    }

    /// Must be called for each row before the destination's row of that number is written.
    void Keep(std::int32_t inRow) {
        if (isOverwritten_) SV_CopyMemory(Slot(inRow).data(), rows_.At(inRow), rows_.usedBytes);
    }
    const std::byte* Kept(std::int32_t inRow) {
        return isOverwritten_ ? Slot(inRow).data() : rows_.At(inRow);
    }

  private:
    std::vector<std::byte>& Slot(std::int32_t inRow) {
        return kept_[static_cast<std::size_t>(inRow % 2)];
    }

    Rows rows_;
    bool isOverwritten_;
    std::array<std::vector<std::byte>, 2> kept_;
};

void Convolve(const Rows& inSource, const Rows& inDestination) {
    const std::int32_t last = inSource.height - 1;
    std::vector<std::byte> outer(inSource.usedBytes);
    SourceRows source(inSource, inSource.data == inDestination.data);
    source.Keep(last);
    MixRows(inDestination, source.Kept(last), inSource.At(last - 1), inDestination.At(last));
    for (std::int32_t row = last - 1; row > 0; --row) {
        source.Keep(row);
        MixRows(inDestination, source.Kept(row + 1), inSource.At(row - 1), outer.data());
        MixRows(inDestination, outer.data(), source.Kept(row), inDestination.At(row));
    }
    source.Keep(0);
    MixRows(inDestination, source.Kept(1), source.Kept(0), inDestination.At(0));
}

// ---- DV -----------------------------------------------------------------------------------------

constexpr tulomediatypes::PixelFormat kDvcproFormats[] = {
    OV::kPixelFormat_NTSCDV50,        OV::kPixelFormat_PALDV50,
    OV::kPixelFormat_NTSCDV100_720p,  OV::kPixelFormat_PALDV100_720p,
    OV::kPixelFormat_NTSCDV100_1080i, OV::kPixelFormat_PALDV100_1080i};

// Bytes of a DV25 frame of 525 and of 625 lines (IEC 61834-2); 0 for other formats.
std::int32_t Dv25FrameBytes(tulomediatypes::PixelFormat inFormat) {
    if (inFormat == OV::kPixelFormat_NTSCDV25) return 120000;
    return inFormat == OV::kPixelFormat_PALDV25 ? 144000 : 0;
}

bool IsDvcpro(tulomediatypes::PixelFormat inFormat) {
    return std::find(std::begin(kDvcproFormats), std::end(kDvcproFormats), inFormat) !=
           std::end(kDvcproFormats);
}

}  // namespace

std::int32_t CopyField(VideoFrameRef inSource, VideoFrameRef inDestination, std::int32_t inField,
                       tulomediatypes::RenderQuality inQuality) {
    Require(!inDestination->GetReadOnly(), "inDestFrame->GetReadOnly() == false", kFile, __LINE__);
    VideoFrameRef source = inSource;
    const std::int32_t made =
        MakeAddressableVideoFrame(inSource, source, inDestination->GetPixelType(), inQuality);
    if (made < 0) return made;
    const RowsRef sourceRows = RequiredRows(source);
    const RowsRef rows = RequiredRows(inDestination);
    const std::uint32_t field = inField == 0 ? 0 : 1;
    const std::int32_t sourceHeight = FieldHeight(source, sourceRows, field);
    const std::int32_t height = FieldHeight(inDestination, rows, field);
    Require(sourceHeight == height, "theSrcRect.Height() == theDestRect.Height()", kFile, __LINE__);
    return StatusOf(SV_ScaleConvert(FieldData(sourceRows, field), FieldRowBytes(sourceRows),
                                    source->GetBounds().Width(), sourceHeight,
                                    RendererFormat(source), 0, FieldData(rows, field),
                                    FieldRowBytes(rows), inDestination->GetBounds().Width(), height,
                                    RendererFormat(inDestination), 0, kFullQuality));
}

void SwapFields(VideoFrameRef inSource, VideoFrameRef inDestination) {
    Require(!inDestination->GetReadOnly(), "inDestFrame->GetReadOnly() == false", kFile, __LINE__);
    const Brix::Rect sourceBounds = inSource->GetBounds();
    const Brix::Rect bounds = inDestination->GetBounds();
    const auto copy = [&](const Brix::Rect& from, const Brix::Rect& to) {
        if (from.Width() <= 0 || to.Width() <= 0 || from.Height() <= 0 || to.Height() <= 0) return;
        CopyRect(inSource, from, inDestination, to, kFullQuality, kEveryRow);
    };
    const auto firstRow = [](Brix::Rect rect) {
        rect.bottom = rect.top + 1;
        return rect;
    };
    const auto allButLastRow = [](Brix::Rect rect) {
        --rect.bottom;
        return rect;
    };
    const auto allButFirstRow = [](Brix::Rect rect) {
        ++rect.top;
        return rect;
    };
    copy(firstRow(sourceBounds), firstRow(bounds));
    copy(allButLastRow(sourceBounds), allButFirstRow(bounds));
}

void DeinterlaceVideoFrame(VideoFrameRef inFrame, std::int32_t inField) {
    const MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    const RowsRef view = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    Require(!inFrame->GetReadOnly(), "inVideoFrame->GetReadOnly() == false", kFile, __LINE__);
    const std::uint32_t pixelSize = PixelSizeOf(inFrame, view);
    if (pixelSize == 0) return;
    const Brix::Rect bounds = inFrame->GetBounds();
    const auto keptFirstRow =
        static_cast<std::int32_t>(view->GetFieldFirstRow(static_cast<std::uint32_t>(inField)));
    if (keptFirstRow >= bounds.Height()) return;
    RebuildField({static_cast<std::byte*>(memory->GetData()), SignedRowBytes(view), bounds.Width(),
                  bounds.Height(), UsedRowBytes(inFrame, pixelSize), RendererFormat(inFrame)},
                 keptFirstRow);
    inFrame->SetFieldType(0);
}

std::int32_t InterpFieldToFrame(VideoFrameRef inSource, VideoFrameRef inDestination,
                                std::int32_t inField) {
    Require(!inDestination->GetReadOnly(), "inDestFrame->GetReadOnly() == false", kFile, __LINE__);
    const std::int32_t result = CopyField(inSource, inDestination, inField, kFullQuality);
    if (result < 0) return result;
    DeinterlaceVideoFrame(inDestination, inField);
    return kSuccess;
}

void VerticalConvolve(VideoFrameRef inSource, VideoFrameRef inDestination) {
    Require(!inDestination->GetReadOnly(), "inDestFrame->GetReadOnly() == false", kFile, __LINE__);
    const RowsRef view = ViewOf<IVideoFrame2DPixelMemoryAccess>(inSource);
    const std::uint32_t pixelSize = PixelSizeOf(inSource, view);
    const Brix::Rect bounds = inSource->GetBounds();
    if (pixelSize == 0 || bounds.Height() < 2) return;
    const MemoryRef source = ViewOf<IVideoFrameMemoryAccess>(inSource);
    const MemoryRef destination = ViewOf<IVideoFrameMemoryAccess>(inDestination);
    const auto rowsOf = [&](const MemoryRef& memory) {
        return Rows{static_cast<std::byte*>(memory->GetData()),
                    SignedRowBytes(view),
                    bounds.Width(),
                    bounds.Height(),
                    UsedRowBytes(inSource, pixelSize),
                    RendererFormat(inDestination)};
    };
    Convolve(rowsOf(source), rowsOf(destination));
}

std::int32_t MergePulldownFrames(VideoFrameRef ioFirst, VideoFrameRef inSecond) {
    const tulomediatypes::PixelFormat format = ioFirst->GetPixelType();
    Require(format == inSecond->GetPixelType(),
            "inSourceFrameA->GetPixelType() == inSourceFrameB->GetPixelType()", kFile, __LINE__);
    const std::int32_t dv25FrameBytes = Dv25FrameBytes(format);
    if (dv25FrameBytes == 0 && !IsDvcpro(format)) {
        return CopyField(inSecond, ioFirst, 1, kFullQuality);
    }
    const MemoryRef first = ViewOf<IVideoFrameMemoryAccess>(ioFirst);
    const MemoryRef second = ViewOf<IVideoFrameMemoryAccess>(inSecond);
    void* const data = first->GetData();
    if (dv25FrameBytes != 0) {
        SV_MergeDV(data, second->GetData(), data, dv25FrameBytes, kFullQuality);
    } else {
        SV_MergeDVCPRO(data, second->GetData(), data, BEPixelFormatToSVPixelFormat(format),
                       kFullQuality);
    }
    return kSuccess;
}

}  // namespace VF::VideoFrameManipulators
