#include "operations/HalfRowConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "fast/ColourNumbers.h"
#include "fast/HalfRows.h"
#include "operations/FormatRows.h"
#include "rows/PlanarLayouts.h"
#include "rows/Scratch.h"

namespace scanvo {
namespace {

bool IsPlanar(const Format& inFormat) {
    return inFormat.layout == Layout::Planar;
}

// ---- What can be done ---------------------------------------------------------------------------

bool IsHalfRowFormat(const Format& inFormat) {
    if (IsPlanar(inFormat)) {
        return inFormat.chroma.columnShift == 1 && inFormat.chroma.rows != ChromaRows::InTurns &&
               inFormat.chroma.rows != ChromaRows::Each;
    }
    return inFormat.layout == Layout::Packed422 ||
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

// ---- Rows ---------------------------------------------------------------------------------------

std::uint16_t* MakeSamples(std::int32_t inWidth, Scratch& ioScratch) {
    const std::int32_t count = inWidth + kHalfRowRoom;
    auto* const samples = reinterpret_cast<std::uint16_t*>(ioScratch.Floats((count + 1) / 2));
    // What lies behind a row takes part in no result, but vectors read it.
    std::fill_n(samples, count, std::uint16_t{0});
    return samples;
}

void LoadChroma(const HalfRowFunctions& inFunctions, const Source& inPicture,
                const ChromaPlace& inPlace, std::uint16_t* outChroma) {
    const auto codesAt = [&](std::int32_t row) {
        const auto& [cb, cr] = inPicture.chroma;
        return ChromaCodes{cb.start + cb.rowBytes * row, cr.start + cr.rowBytes * row, cb.step};
    };
    // Shares are whole eighths.
    inFunctions.mixChroma(codesAt(inPlace.above), codesAt(inPlace.below),
                          static_cast<int>(inPlace.share * 8), inPicture.width, outChroma);
}

void LoadRow(const HalfRowFunctions& inFunctions, const Source& inPicture, const InputRows& inRows,
             std::int32_t inRowFromTop, const HalfRow& outRow) {
    if (!IsPlanar(inPicture.format)) {
        inFunctions.load(inRows.At(inPicture.height - 1 - inRowFromTop), inPicture.width, outRow);
        return;
    }
    inFunctions.loadLuma(RowAt(inPicture, inRowFromTop), inPicture.width, outRow.luma);
    LoadChroma(inFunctions, inPicture,
               ChromaPlaceOf(inPicture.format, inPicture.height, 0, inRowFromTop), outRow.chroma);
}

void StoreChroma(const HalfRowFunctions& inFunctions, const Destination& outPicture,
                 std::int32_t inChromaRow, const std::array<const std::uint16_t*, 4>& inRows,
                 const std::array<std::uint16_t, 4>& inSixteenths) {
    const auto& [cb, cr] = outPicture.chroma;
    inFunctions.storeChroma(inRows, inSixteenths, outPicture.width, cb.step,
                            cb.start + cb.rowBytes * inChromaRow,
                            cr.start + cr.rowBytes * inChromaRow);
}

// Takes the rows of a planar picture from its top and keeps their chroma until that of a chroma row
// is complete.
class ChromaStore {
  public:
    ChromaStore(const HalfRowFunctions& inFunctions, const Destination& outPicture,
                Scratch& ioScratch)
        : functions_(inFunctions),
          picture_(outPicture),
          fields_(ChromaFieldCount(outPicture.format, outPicture.height)) {
        for (std::uint16_t*& row : kept_)
            row = MakeSamples(outPicture.width, ioScratch);
    }

    /// Where to put the chroma of a row, before Stored is called for it.
    std::uint16_t* PlaceFor(std::int32_t inRowFromTop) const {
        return kept_[static_cast<std::size_t>(inRowFromTop) % kKept];
    }

    void Stored(std::int32_t inRowFromTop) {
        for (std::int32_t field = 0; field < fields_; ++field) {
            std::int32_t& next = next_[static_cast<std::size_t>(field)];
            for (; HasRow(field, next) && RowOf(field, 2 * next + 2) <= inRowFromTop; ++next)
                Store(field, next);
        }
    }

  private:
    // Of the rows of a field, four are mixed to one: from one above a pair to one below it.
    static constexpr std::size_t kKept = 8;

    bool HasRow(std::int32_t inField, std::int32_t inChromaRow) const {
        return inField + fields_ * inChromaRow < ChromaHeight(picture_.format, picture_.height);
    }

    /// Beyond its ends, a field goes on with its first and its last row.
    std::int32_t RowOf(std::int32_t inField, std::int32_t inRow) const {
        const std::int32_t last = (picture_.height - 1 - inField) / fields_;
        return inField + fields_ * std::clamp(inRow, 0, last);
    }

    void Store(std::int32_t inField, std::int32_t inChromaRow) const {
        // By how far they lie from the chroma row: see ChromaRows.
        constexpr std::array<std::uint16_t, 4> kOfFrame = {2, 6, 6, 2};
        constexpr std::array<std::uint16_t, 4> kOfField[] = {{3, 7, 5, 1}, {1, 5, 7, 3}};
        std::array<const std::uint16_t*, 4> rows;
        for (std::int32_t i = 0; i < 4; ++i)
            rows[static_cast<std::size_t>(i)] = PlaceFor(RowOf(inField, 2 * inChromaRow - 1 + i));
        StoreChroma(functions_, picture_, inField + fields_ * inChromaRow, rows,
                    fields_ == 1 ? kOfFrame : kOfField[inField]);
    }

    HalfRowFunctions functions_;
    Destination picture_;
    std::int32_t fields_;
    std::array<std::uint16_t*, kKept> kept_;
    std::array<std::int32_t, 2> next_{};
};

// ---- Pictures -----------------------------------------------------------------------------------

struct Road {
    HalfRowFunctions from, to;
    std::optional<HalfRowMatrix> matrix;
    InputRows rows;
    HalfRow row;
};

void LoadAndChange(const Road& inRoad, const Source& inSource, std::int32_t inRowFromTop,
                   const HalfRow& outRow) {
    LoadRow(inRoad.from, inSource, inRoad.rows, inRowFromTop, outRow);
    if (inRoad.matrix) inRoad.to.applyMatrix(*inRoad.matrix, inSource.width, outRow);
}

void ConvertToPacked(const Road& inRoad, const Source& inSource,
                     const Destination& outDestination) {
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        LoadAndChange(inRoad, inSource, row, inRoad.row);
        inRoad.to.store(inRoad.row, inSource.width,
                        RowAt(outDestination, inSource.height - 1 - row));
    }
}

void ConvertToPlanes(const Road& inRoad, const Source& inSource, const Destination& outDestination,
                     Scratch& ioScratch) {
    ChromaStore chroma(inRoad.to, outDestination, ioScratch);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        const HalfRow place{inRoad.row.luma, chroma.PlaceFor(row)};
        LoadAndChange(inRoad, inSource, row, place);
        inRoad.to.storeLuma(place.luma, inSource.width, RowAt(outDestination, row));
        chroma.Stored(row);
    }
}

// Chroma rows that lie alike in both stay where they are.
void ConvertPlanes(const Road& inRoad, const Source& inSource, const Destination& outDestination) {
    const std::uint16_t* const chroma = inRoad.row.chroma;
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        LoadAndChange(inRoad, inSource, row, inRoad.row);
        inRoad.to.storeLuma(inRoad.row.luma, inSource.width, RowAt(outDestination, row));
    }
    for (std::int32_t row = 0; row < ChromaHeight(inSource.format, inSource.height); ++row) {
        LoadChroma(inRoad.from, inSource, {row, row, 0}, inRoad.row.chroma);
        if (inRoad.matrix) inRoad.to.applyMatrix(*inRoad.matrix, inSource.width, inRoad.row);
        StoreChroma(inRoad.to, outDestination, row, {chroma, chroma, chroma, chroma},
                    {16, 0, 0, 0});
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
                    {MakeSamples(inSource.width, scratch), MakeSamples(inSource.width, scratch)}};
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
