// Alpha: inverted, made opaque, searched.
#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <optional>

#include "VideoFrame/VideoFrameManipulators.h"
#include "manipulators/Manipulators.h"

namespace VF::VideoFrameManipulators {
namespace {

static_assert(std::endian::native == std::endian::little,
              "alpha, the last component, is in the highest bits of a pixel's last word");

constexpr std::uint32_t kAlphaIsOpaque = 3;

struct FrameRows {
    void* data;
    std::int64_t rowBytes;
};

// Where a frame's alpha can be changed in place; nothing when there is none to change. A read-only
// frame is a broken contract.
std::optional<FrameRows> RowsWithAlpha(const VideoFrameRef& inFrame, int inLine) {
    Require(!inFrame->GetReadOnly(), "inDestFrame->GetReadOnly() == false", kFile, inLine);
    const MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    const RowsRef rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    if (!inFrame->HasAlphaChannel() || !rows) return std::nullopt;
    return FrameRows{memory->GetData(), SignedRowBytes(rows)};
}

// ---- Searching ----------------------------------------------------------------------------------

// Pixels whose alpha is in the bits inMask of the last of their words. A pixel is covered when any
// of these is set; of a float that leaves out the sign, so that -0 is not.
template <class Word, std::size_t kWordsPerPixel, Word kMask>
struct AlphaRow {
    const std::byte* row;

    Word LastWordAt(std::size_t inX) const {
        Word word;
        std::memcpy(&word, row + sizeof(Word) * (kWordsPerPixel * inX + kWordsPerPixel - 1),
                    sizeof word);
        return word;
    }
    Word AlphaAt(std::size_t inX) const { return LastWordAt(inX) & kMask; }

    bool AnyOf(std::size_t inFirst, std::size_t inCount) const {
        Word any = 0;
        for (std::size_t x = inFirst; x < inFirst + inCount; ++x)
            any |= LastWordAt(x);
        return (any & kMask) != 0;
    }
};

// Pixels looked at before it is asked whether one of them was covered.
constexpr std::size_t kRun = 256;

/// The first covered pixel, or inWidth.
template <class Row>
std::size_t FirstCovered(const Row& inRow, std::size_t inWidth) {
    std::size_t x = 0;
    while (inWidth - x >= kRun && !inRow.AnyOf(x, kRun))
        x += kRun;
    while (x < inWidth && inRow.AlphaAt(x) == 0)
        ++x;
    return x;
}

/// One past the last covered pixel of those from inFirst on, which is covered itself.
template <class Row>
std::size_t EndOfCovered(const Row& inRow, std::size_t inFirst, std::size_t inWidth) {
    std::size_t end = inWidth;
    while (end - inFirst > kRun && !inRow.AnyOf(end - kRun, kRun))
        end -= kRun;
    while (inRow.AlphaAt(end - 1) == 0)
        --end;
    return end;
}

/// Memory rows.
struct Pixels {
    const std::byte* data;
    std::int64_t rowBytes;
    std::size_t width;
    std::int32_t height;
};

// In display coordinates; nothing when no pixel is covered.
template <class Row>
std::optional<Brix::Rect> CoveredBounds(const Pixels& inPixels) {
    std::size_t left = inPixels.width;
    std::size_t right = 0;
    std::int32_t top = inPixels.height;
    std::int32_t bottom = 0;
    // In the order of memory, which is what processors fetch ahead.
    for (std::int32_t memoryRow = 0; memoryRow < inPixels.height; ++memoryRow) {
        const Row row{inPixels.data + inPixels.rowBytes * memoryRow};
        const std::size_t first = FirstCovered(row, inPixels.width);
        if (first == inPixels.width) continue;
        left = std::min(left, first);
        const std::int32_t y = inPixels.height - 1 - memoryRow;
        top = y;
        bottom = std::max(bottom, y + 1);
        if (right < inPixels.width)
            right = std::max(right, EndOfCovered(row, first, inPixels.width));
    }
    if (bottom == 0) return std::nullopt;
    return Brix::Rect{static_cast<std::int32_t>(left), top, static_cast<std::int32_t>(right),
                      bottom};
}

using FindBounds = std::optional<Brix::Rect> (*)(const Pixels& inPixels);

constexpr FindBounds kFind8 = CoveredBounds<AlphaRow<std::uint32_t, 1, 0xFF000000>>;
constexpr FindBounds kFind16 = CoveredBounds<AlphaRow<std::uint64_t, 1, 0xFFFF000000000000>>;
constexpr FindBounds kFindFloat = CoveredBounds<AlphaRow<std::uint32_t, 4, 0x7FFFFFFF>>;

constexpr struct {
    tulomediatypes::PixelFormat format;
    FindBounds find;
} kSearchable[] = {
    {OV::kPixelFormat_BGRA_4444_8u, kFind8},      {OV::kPixelFormat_VUYA_4444_8u, kFind8},
    {OV::kPixelFormat_VUYA_4444_8u_709, kFind8},  {OV::kPixelFormat_BGRA_4444_16u, kFind16},
    {OV::kPixelFormat_VUYA_4444_16u, kFind16},    {OV::kPixelFormat_BGRA_4444_32f, kFindFloat},
    {OV::kPixelFormat_VUYA_4444_32f, kFindFloat}, {OV::kPixelFormat_VUYA_4444_32f_709, kFindFloat},
};

}  // namespace

void InvertAlpha(VideoFrameRef ioFrame) {
    const std::optional<FrameRows> rows = RowsWithAlpha(ioFrame, __LINE__);
    if (!rows) return;
    const Brix::Rect bounds = ioFrame->GetBounds();
    SV_InvertAlpha(rows->data, rows->rowBytes, rows->data, rows->rowBytes, RendererFormat(ioFrame),
                   bounds.Width(), bounds.Height());
}

void OpaqueAlpha(VideoFrameRef ioFrame) {
    constexpr float kOpaque = 1.0f;
    const std::optional<FrameRows> rows = RowsWithAlpha(ioFrame, __LINE__);
    if (!rows) return;
    const Brix::Rect bounds = ioFrame->GetBounds();
    SV_CopyAndSetAlpha(rows->data, rows->rowBytes, rows->data, rows->rowBytes,
                       RendererFormat(ioFrame), bounds.Width(), bounds.Height(), kOpaque);
    ioFrame->SetAlphaType(kAlphaIsOpaque);
}

void CalculateAlphaBounds(VideoFrameRef inFrame, Brix::Rect& outBounds) {
    const tulomediatypes::PixelFormat format = inFrame->GetPixelType();
    const MemoryRef memory = ViewOf<IVideoFrameMemoryAccess>(inFrame);
    const Brix::Rect bounds = inFrame->GetBounds();
    outBounds = bounds;
    const RowsRef rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
    const auto found = std::find_if(std::begin(kSearchable), std::end(kSearchable),
                                    [format](const auto& each) { return each.format == format; });
    if (!rows || found == std::end(kSearchable)) return;
    outBounds = found
                    ->find({static_cast<const std::byte*>(memory->GetData()), SignedRowBytes(rows),
                            static_cast<std::size_t>(bounds.Width()), bounds.Height()})
                    .value_or(Brix::Rect{});
}

}  // namespace VF::VideoFrameManipulators
