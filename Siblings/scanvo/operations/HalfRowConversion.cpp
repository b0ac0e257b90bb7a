#include "operations/HalfRowConversion.h"

#include <cmath>

#include "fast/ColourNumbers.h"
#include "rows/HalfRowLayouts.h"

namespace scanvo {
namespace {

bool IsPlanar(const Format& inFormat) {
    return inFormat.layout == Layout::Planar;
}

// ---- What can be done ---------------------------------------------------------------------------

bool IsHalfRowFormat(const Format& inFormat) {
    return HasHalfRows(inFormat) ||
           (inFormat.layout == Layout::Packed4444 && inFormat.component == Component::Unsigned8);
}

bool ChangesMatrix(const Format& inSource, const Format& inDestination) {
    return inSource.colour == Colour::YCbCr && inDestination.colour == Colour::YCbCr &&
           inSource.matrix != inDestination.matrix;
}

// What rows of the source are loaded as: what they are, or 8-bit pixels that lose no more than
// rounding does. Nothing where that would be too much.
std::optional<Format> FormatToLoad(const Format& inSource, const Format& inDestination) {
    if (IsHalfRowFormat(inSource) && inSource.alpha != Alpha::Premultiplied) return inSource;
    if (!BearsEightBits(inSource, inDestination)) return std::nullopt;
    Format pixels = InEightBits(inSource);
    if (pixels.alpha == Alpha::Premultiplied) pixels.alpha = Alpha::Straight;
    return RowRoad::Find(inSource, pixels) ? std::optional(pixels) : std::nullopt;
}

std::optional<HalfRowMatrix> MatrixBetween(const Format& inSource, const Format& inDestination) {
    if (!ChangesMatrix(inSource, inDestination) || !HasHalfChroma(inSource)) return std::nullopt;
    const MatrixChange change = ChangeBetween(inSource.matrix, inDestination.matrix);
    const auto number = [](double share) {
        return static_cast<std::int16_t>(std::lround(share * 32768));
    };
    return HalfRowMatrix{number(change.lumaOfCb),   number(change.lumaOfCr),
                         number(change.cbOfCb - 1), number(change.cbOfCr),
                         number(change.crOfCb),     number(change.crOfCr - 1)};
}

}  // namespace

std::optional<HalfRowRoad> HalfRowRoad::Find(const Source& inSource, const Format& inDestination,
                                             Scratch& ioScratch) {
    const Format& to = inDestination;
    if (!IsHalfRowFormat(to) || !(HasHalfChroma(inSource.format) || HasHalfChroma(to)))
        return std::nullopt;
    const std::optional<Format> from = FormatToLoad(inSource.format, to);
    HalfRowRoad road;
    road.to_ = FindHalfRowFunctions(to, inSource.format.matrix);
    if (!from || road.to_.loadLuma == nullptr) return std::nullopt;
    road.source_ = inSource;
    road.from_ = FindHalfRowFunctions(*from, to.matrix);
    road.matrix_ = MatrixBetween(*from, to);
    road.row_ = MakeHalfRow(inSource.width, ioScratch);
    if (*from != inSource.format) {
        road.toPixels_ = RowRoad::Find(inSource.format, *from);
        road.toPixels_->Prepare(inSource.width, ioScratch);
        road.pixels_ = ioScratch.Bytes(UsedRowBytes(*from, inSource.width));
    }
    return road;
}

void HalfRowRoad::Load(std::int32_t inRow, const HalfRow& outRow) const {
    if (IsPlanar(source_.format)) {
        LoadHalfRow(from_, source_, inRow, 0, source_.width, outRow);
    } else {
        const std::byte* row = RowAt(source_, inRow);
        if (toPixels_) {
            toPixels_->Convert(row, pixels_, source_.width);
            row = pixels_;
        }
        from_.load(row, source_.width, outRow);
    }
    ChangeMatrix(outRow);
}

void HalfRowRoad::ChangeMatrix(const HalfRow& ioRow) const {
    if (matrix_) to_.applyMatrix(*matrix_, source_.width, ioRow);
}

void HalfRowRoad::ConvertRow(std::int32_t inRow, std::byte* outRow) const {
    Load(inRow, row_);
    to_.store(row_, source_.width, outRow);
}

void HalfRowRoad::ConvertToPlanes(const Destination& outDestination, Scratch& ioScratch) const {
    if (IsPlanar(source_.format) && source_.format.chroma == outDestination.format.chroma) {
        KeepChromaRows(outDestination);
        return;
    }
    HalfRowWriter writer(to_, outDestination, RowOrder::BottomFirst, ioScratch);
    for (std::int32_t row = 0; row < source_.height; ++row) {
        Load(row, writer.PlaceFor(row));
        writer.Write(row);
    }
}

// Chroma rows that lie alike in both stay where they are.
void HalfRowRoad::KeepChromaRows(const Destination& outDestination) const {
    for (std::int32_t row = 0; row < source_.height; ++row) {
        Load(row, row_);
        to_.storeLuma(row_.luma, source_.width, RowAt(outDestination, source_.height - 1 - row));
    }
    for (std::int32_t row = 0; row < ChromaHeight(source_.format, source_.height); ++row) {
        LoadHalfChroma(from_, source_, row, row_.chroma);
        ChangeMatrix(row_);
        StoreHalfChroma(to_, outDestination, row, row_.chroma);
    }
}

}  // namespace scanvo
