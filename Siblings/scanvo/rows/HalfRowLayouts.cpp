#include "rows/HalfRowLayouts.h"

#include <algorithm>

#include "rows/PlanarLayouts.h"

namespace scanvo {
namespace {

// Small enough for its samples to stay in the nearest cache; whole units of every format.
constexpr std::int32_t kChunkPixels = 480;

struct Chunk {
    std::uint16_t luma[kChunkPixels + kHalfRowRoom] = {};
    std::uint16_t chroma[kChunkPixels + kHalfRowRoom] = {};

    HalfRow Row() { return {luma, chroma}; }
};

PlanarRow From(const PlanarRow& inRow, std::int32_t inFirst) {
    return {inRow[0] + inFirst, inRow[1] + inFirst / 2, inRow[2] + inFirst / 2, inRow[3] + inFirst};
}

void Load(const Source& inPicture, std::int32_t inRow, const CodeRanges&, const PlanarRow& outRow) {
    const auto functions = FindHalfRowFunctions(inPicture.format, inPicture.format.matrix);
    Chunk chunk;
    for (std::int32_t x = 0; x < inPicture.width; x += kChunkPixels) {
        const std::int32_t count = std::min(kChunkPixels, inPicture.width - x);
        LoadHalfRow(functions, inPicture, inRow, x, count, chunk.Row());
        functions.toFloats(chunk.Row(), count, From(outRow, x));
    }
}

void Store(const PlanarRow& inRow, const CodeRanges&, const Destination& outPicture,
           std::int32_t inRowNumber) {
    const auto functions = FindHalfRowFunctions(outPicture.format, outPicture.format.matrix);
    std::byte* const row = RowAt(outPicture, inRowNumber);
    Chunk chunk;
    for (std::int32_t x = 0; x < outPicture.width; x += kChunkPixels) {
        const std::int32_t count = std::min(kChunkPixels, outPicture.width - x);
        functions.fromFloats(From(inRow, x), count, chunk.Row());
        functions.store(chunk.Row(), count, row + UsedRowBytes(outPicture.format, x));
    }
}

bool HasVectors(const Format& inFormat) {
    return HasHalfRows(inFormat) &&
           FindHalfRowFunctions(inFormat, inFormat.matrix).toFloats != nullptr;
}

ChromaCodes CodesAt(const Source& inPicture, std::int32_t inChromaRow, std::int32_t inFirst) {
    const auto at = [&](const PlaneOf<const std::byte>& plane) {
        return plane.start + plane.rowBytes * inChromaRow + std::int64_t{inFirst} * plane.step;
    };
    const auto& [cb, cr] = inPicture.chroma;
    return {at(cb), at(cr), cb.step};
}

void MixChroma(const HalfRowFunctions& inFunctions, const Source& inPicture,
               const ChromaPlace& inPlace, std::int32_t inFirst, std::int32_t inCount,
               std::uint16_t* outChroma) {
    // Shares are whole eighths.
    inFunctions.mixChroma(CodesAt(inPicture, inPlace.above, inFirst / 2),
                          CodesAt(inPicture, inPlace.below, inFirst / 2),
                          static_cast<int>(inPlace.share * 8), inCount, outChroma);
}

void StoreMixedChroma(const HalfRowFunctions& inFunctions, const Destination& outPicture,
                      std::int32_t inChromaRow, const std::array<const std::uint16_t*, 4>& inRows,
                      const std::array<std::uint16_t, 4>& inSixteenths) {
    const auto& [cb, cr] = outPicture.chroma;
    inFunctions.storeChroma(inRows, inSixteenths, outPicture.width, cb.step,
                            cb.start + cb.rowBytes * inChromaRow,
                            cr.start + cr.rowBytes * inChromaRow);
}

std::uint16_t* MakeSamples(std::int32_t inWidth, Scratch& ioScratch) {
    const std::int32_t count = inWidth + kHalfRowRoom;
    auto* const samples = reinterpret_cast<std::uint16_t*>(ioScratch.Floats((count + 1) / 2));
    // What lies behind a row takes part in no result, but vectors read it.
    std::fill_n(samples, count, std::uint16_t{0});
    return samples;
}

}  // namespace

LoadRow HalfRowLoadOf(const Format& inFormat) {
    return HasVectors(inFormat) ? Load : nullptr;
}

StoreRow HalfRowStoreOf(const Format& inFormat) {
    return HasVectors(inFormat) && inFormat.layout != Layout::Planar ? Store : nullptr;
}

HalfRow MakeHalfRow(std::int32_t inWidth, Scratch& ioScratch) {
    return {MakeSamples(inWidth, ioScratch), MakeSamples(inWidth, ioScratch)};
}

void LoadHalfRow(const HalfRowFunctions& inFunctions, const Source& inPicture, std::int32_t inRow,
                 std::int32_t inFirst, std::int32_t inCount, const HalfRow& outRow) {
    if (inPicture.format.layout != Layout::Planar) {
        const std::byte* const row = RowAt(inPicture, inRow);
        inFunctions.load(row + UsedRowBytes(inPicture.format, inFirst), inCount, outRow);
        return;
    }
    const std::int32_t rowFromTop = inPicture.height - 1 - inRow;
    inFunctions.loadLuma(RowAt(inPicture, rowFromTop) + inFirst, inCount, outRow.luma);
    MixChroma(inFunctions, inPicture,
              ChromaPlaceOf(inPicture.format, inPicture.height, 0, rowFromTop), inFirst, inCount,
              outRow.chroma);
}

void LoadHalfChroma(const HalfRowFunctions& inFunctions, const Source& inPicture,
                    std::int32_t inChromaRow, std::uint16_t* outChroma) {
    MixChroma(inFunctions, inPicture, {inChromaRow, inChromaRow, 0}, 0, inPicture.width, outChroma);
}

void StoreHalfChroma(const HalfRowFunctions& inFunctions, const Destination& outPicture,
                     std::int32_t inChromaRow, const std::uint16_t* inChroma) {
    StoreMixedChroma(inFunctions, outPicture, inChromaRow, {inChroma, inChroma, inChroma, inChroma},
                     {16, 0, 0, 0});
}

HalfRowWriter::HalfRowWriter(const HalfRowFunctions& inFunctions, const Destination& inPicture,
                             RowOrder inOrder, Scratch& ioScratch)
    : functions_(inFunctions),
      picture_(inPicture),
      order_(inOrder),
      fields_(ChromaFieldCount(inPicture.format, inPicture.height)),
      luma_(MakeSamples(inPicture.width, ioScratch)) {
    for (std::uint16_t*& row : kept_)
        row = MakeSamples(inPicture.width, ioScratch);
}

std::uint16_t* HalfRowWriter::KeptChroma(std::int32_t inRowFromTop) const {
    return kept_[static_cast<std::size_t>(inRowFromTop) % kKept];
}

HalfRow HalfRowWriter::PlaceFor(std::int32_t inRow) const {
    return {luma_, KeptChroma(picture_.height - 1 - inRow)};
}

// Chroma rows of a field.
std::int32_t HalfRowWriter::CountOf(std::int32_t inField) const {
    return (ChromaHeight(picture_.format, picture_.height) - inField + fields_ - 1) / fields_;
}

// Beyond its ends, a field goes on with its first and its last row.
std::int32_t HalfRowWriter::RowOf(std::int32_t inField, std::int32_t inRow) const {
    const std::int32_t last = (picture_.height - 1 - inField) / fields_;
    return inField + fields_ * std::clamp(inRow, 0, last);
}

bool HalfRowWriter::HasCome(std::int32_t inField, std::int32_t inChromaRow,
                            std::int32_t inRowFromTop) const {
    return order_ == RowOrder::TopFirst ? RowOf(inField, 2 * inChromaRow + 2) <= inRowFromTop
                                        : RowOf(inField, 2 * inChromaRow - 1) >= inRowFromTop;
}

void HalfRowWriter::Write(std::int32_t inRow) {
    const std::int32_t rowFromTop = picture_.height - 1 - inRow;
    functions_.storeLuma(luma_, picture_.width, RowAt(picture_, rowFromTop));
    for (std::int32_t field = 0; field < fields_; ++field) {
        const std::int32_t count = CountOf(field);
        for (std::int32_t& done = done_[static_cast<std::size_t>(field)]; done < count; ++done) {
            const std::int32_t next = order_ == RowOrder::TopFirst ? done : count - 1 - done;
            if (!HasCome(field, next, rowFromTop)) break;
            StoreChroma(field, next);
        }
    }
}

void HalfRowWriter::StoreChroma(std::int32_t inField, std::int32_t inChromaRow) const {
    // By how far they lie from the chroma row: see ChromaRows.
    constexpr std::array<std::uint16_t, 4> kOfFrame = {2, 6, 6, 2};
    constexpr std::array<std::uint16_t, 4> kOfField[] = {{3, 7, 5, 1}, {1, 5, 7, 3}};
    std::array<const std::uint16_t*, 4> rows;
    for (std::int32_t i = 0; i < 4; ++i)
        rows[static_cast<std::size_t>(i)] = KeptChroma(RowOf(inField, 2 * inChromaRow - 1 + i));
    StoreMixedChroma(functions_, picture_, inField + fields_ * inChromaRow, rows,
                     fields_ == 1 ? kOfFrame : kOfField[inField]);
}

}  // namespace scanvo
