#include "operations/HalfRowConversion.h"

#include <cmath>
#include <optional>

#include "fast/ColourNumbers.h"
#include "operations/FormatRows.h"
#include "rows/HalfRowLayouts.h"
#include "rows/Scratch.h"

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

// ---- Pictures -----------------------------------------------------------------------------------

struct Road {
    HalfRowFunctions from, to;
    std::optional<HalfRowMatrix> matrix;
    InputRows rows;
    HalfRow row;
};

void LoadAndChange(const Road& inRoad, const Source& inSource, std::int32_t inRow,
                   const HalfRow& outRow) {
    if (IsPlanar(inSource.format)) {
        LoadHalfRow(inRoad.from, inSource, inRow, 0, inSource.width, outRow);
    } else {
        inRoad.from.load(inRoad.rows.At(inRow), inSource.width, outRow);
    }
    if (inRoad.matrix) inRoad.to.applyMatrix(*inRoad.matrix, inSource.width, outRow);
}

void ConvertToPacked(const Road& inRoad, const Source& inSource,
                     const Destination& outDestination) {
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        LoadAndChange(inRoad, inSource, row, inRoad.row);
        inRoad.to.store(inRoad.row, inSource.width, RowAt(outDestination, row));
    }
}

void ConvertToPlanes(const Road& inRoad, const Source& inSource, const Destination& outDestination,
                     Scratch& ioScratch) {
    HalfRowWriter writer(inRoad.to, outDestination, RowOrder::BottomFirst, ioScratch);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        LoadAndChange(inRoad, inSource, row, writer.PlaceFor(row));
        writer.Write(row);
    }
}

// Chroma rows that lie alike in both stay where they are.
void ConvertPlanes(const Road& inRoad, const Source& inSource, const Destination& outDestination) {
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        LoadAndChange(inRoad, inSource, row, inRoad.row);
        inRoad.to.storeLuma(inRoad.row.luma, inSource.width,
                            RowAt(outDestination, inSource.height - 1 - row));
    }
    for (std::int32_t row = 0; row < ChromaHeight(inSource.format, inSource.height); ++row) {
        LoadHalfChroma(inRoad.from, inSource, row, inRoad.row.chroma);
        if (inRoad.matrix) inRoad.to.applyMatrix(*inRoad.matrix, inSource.width, inRoad.row);
        StoreHalfChroma(inRoad.to, outDestination, row, inRoad.row.chroma);
    }
}

}  // namespace

bool ConvertByHalfRows(const Source& inSource, const Destination& outDestination) {
    const Format& to = outDestination.format;
    if (!IsHalfRowFormat(to) || !(HasHalfChroma(inSource.format) || HasHalfChroma(to)))
        return false;
    const std::optional<Format> from = FormatToLoad(inSource.format, to);
    const HalfRowFunctions toRows = FindHalfRowFunctions(to, inSource.format.matrix);
    if (!from || toRows.loadLuma == nullptr) return false;
    Scratch scratch;
    const Road road{FindHalfRowFunctions(*from, to.matrix),
                    toRows,
                    MatrixBetween(*from, to),
                    {inSource, *from, scratch},
                    MakeHalfRow(inSource.width, scratch)};
    if (!IsPlanar(to)) {
        ConvertToPacked(road, inSource, outDestination);
    } else if (IsPlanar(inSource.format) && inSource.format.chroma == to.chroma) {
        ConvertPlanes(road, inSource, outDestination);
    } else {
        ConvertToPlanes(road, inSource, outDestination, scratch);
    }
    return true;
}

}  // namespace scanvo
