#include "operations/HalfRowScaling.h"

#include <algorithm>
#include <array>
#include <memory_resource>
#include <vector>

#include "fast/WordKernels.h"
#include "rows/HalfRowLayouts.h"
#include "rows/KeptTables.h"
#include "rows/PlanarLayouts.h"

namespace scanvo {
namespace {

bool AreAlike(const Format& inSource, const Format& inDestination) {
    return HasHalfRows(inSource) && HasHalfRows(inDestination) &&
           inSource.matrix == inDestination.matrix && inSource.chroma == inDestination.chroma &&
           (inSource.layout == Layout::Planar) == (inDestination.layout == Layout::Planar);
}

// ---- Rows of numbers ----------------------------------------------------------------------------

// The numbers of a row that are filtered alike.
struct Part {
    Part(std::uint16_t* HalfRow::*inNumbers, const WordWeights& inAlong)
        : numbers(inNumbers), along(&inAlong) {}

    std::uint16_t* HalfRow::*numbers;
    const WordWeights* along;
    std::pmr::vector<std::int16_t*> filtered{};
};

// Filters rows of a picture along and mixes them across.
class Scaler {
  public:
    Scaler(const WordKernels& inKernels, const WeightTable& inDown, std::int32_t inSourceWidth,
           std::int32_t inWidth, std::initializer_list<Part> inParts, Scratch& ioScratch)
        : kernels_(inKernels),
          down_(inDown),
          width_(inWidth),
          parts_(inParts, ioScratch.Resource()),
          result_(MakeHalfRow(inWidth, ioScratch)) {
        for (HalfRow& row : loaded_)
            row = MakeHalfRow(inSourceWidth, ioScratch);
        for (Part& part : parts_) {
            const auto bytes =
                static_cast<std::int64_t>(part.along->numberCount * sizeof(std::int16_t));
            part.filtered.resize(static_cast<std::size_t>(inDown.tapCount) + kFilteredTogether - 1);
            for (std::int16_t*& row : part.filtered)
                row = reinterpret_cast<std::int16_t*>(ioScratch.Bytes(bytes));
        }
    }

    /// Calls inLoad(row, half row) for rows of the source, which ascend, and inStore(row, half row)
    /// for every row of the destination.
    template <class Load, class Store>
    void Run(std::int32_t inSourceRows, const Load& inLoad, const Store& inStore) {
        std::int32_t next = 0;
        for (std::int32_t row = 0; row < down_.Count(); ++row) {
            const std::int32_t first = down_.first[static_cast<std::size_t>(row)];
            next = std::max(next, first);
            for (; next < first + down_.tapCount; next += kTogether)
                FilterFrom(next, inSourceRows, inLoad);
            Mix(row, first);
            inStore(row, result_);
        }
    }

  private:
    static constexpr auto kTogether = static_cast<std::int32_t>(kFilteredTogether);

    static std::int16_t* SlotOf(const Part& inPart, std::int32_t inRow) {
        return inPart.filtered[static_cast<std::size_t>(inRow) % inPart.filtered.size()];
    }

    template <class Load>
    void FilterFrom(std::int32_t inFirst, std::int32_t inSourceRows, const Load& inLoad) {
        // Below the last row, that is filtered once more.
        const std::int32_t count = std::min(kTogether, inSourceRows - inFirst);
        for (std::int32_t i = 0; i < count; ++i)
            inLoad(inFirst + i, loaded_[static_cast<std::size_t>(i)]);
        for (const Part& part : parts_) {
            std::array<const std::uint16_t*, kFilteredTogether> from;
            std::array<std::int16_t*, kFilteredTogether> to;
            for (std::int32_t i = 0; i < kTogether; ++i) {
                const std::int32_t row = std::min(i, count - 1);
                from[static_cast<std::size_t>(i)] =
                    loaded_[static_cast<std::size_t>(row)].*part.numbers;
                to[static_cast<std::size_t>(i)] = SlotOf(part, inFirst + row);
            }
            part.along->filter(from.data(), *part.along, to.data());
        }
    }

    void Mix(std::int32_t inRow, std::int32_t inFirst) {
        std::array<std::int16_t, kMostMixedRows> weights;
        RoundWeights(down_.WeightsOf(inRow), down_.tapCount, kWordBits, weights.data());
        for (const Part& part : parts_) {
            std::array<const std::int16_t*, kMostMixedRows> rows;
            for (std::int32_t tap = 0; tap < down_.tapCount; ++tap)
                rows[static_cast<std::size_t>(tap)] = SlotOf(part, inFirst + tap);
            kernels_.mixRows(rows.data(), weights.data(), down_.tapCount, part.along->numberCount,
                             result_.*part.numbers);
        }
        ContinueHalfRow(width_, result_);
    }

    const WordKernels& kernels_;
    const WeightTable& down_;
    std::int32_t width_;
    std::pmr::vector<Part> parts_;
    std::array<HalfRow, kFilteredTogether> loaded_;
    HalfRow result_;
};

}  // namespace

bool ScaleHalfRows(const Source& inSource, const Destination& outDestination, const Axis& inDown) {
    const WordKernels* const kernels = FindWordKernels();
    const Format& from = inSource.format;
    const Format& to = outDestination.format;
    if (kernels == nullptr || !AreAlike(from, to)) return false;
    const std::int32_t sourceWidth = inSource.width, width = outDestination.width;
    const double scale = static_cast<double>(sourceWidth) / width;
    const auto luma =
        KeptTable(kernels->makeWeights, Axis{{sourceWidth}, {width}, scale, inDown.quality});
    const auto chroma = KeptTable(
        kernels->makePairWeights,
        Axis{{HalfWidth(sourceWidth), 2, 0}, {HalfWidth(width), 2, 0}, scale, inDown.quality});
    const auto down = KeptWeights(inDown);
    if (luma->filter == nullptr || chroma->filter == nullptr || down->tapCount > kMostMixedRows)
        return false;
    const Part lumaPart(&HalfRow::luma, *luma), chromaPart(&HalfRow::chroma, *chroma);
    const HalfRowFunctions load = FindHalfRowFunctions(from, from.matrix);
    const HalfRowFunctions store = FindHalfRowFunctions(to, to.matrix);
    Scratch scratch;
    if (from.layout != Layout::Planar) {
        Scaler(*kernels, *down, sourceWidth, width, {lumaPart, chromaPart}, scratch)
            .Run(
                inSource.height,
                [&](std::int32_t row, const HalfRow& outRow) {
                    load.load(RowAt(inSource, row), sourceWidth, outRow);
                },
                [&](std::int32_t row, const HalfRow& inRow) {
                    store.store(inRow, width, RowAt(outDestination, row));
                });
        return true;
    }

    const std::int32_t fields = ChromaFieldCount(from, inSource.height);
    if (fields != ChromaFieldCount(to, outDestination.height)) return false;
    const auto fieldDown = [&](std::int32_t field) {
        return KeptWeights(
            ChromaRowAxis(from, inSource.height, to, outDestination.height, field, inDown));
    };
    for (std::int32_t field = 0; field < fields; ++field) {
        if (fieldDown(field)->tapCount > kMostMixedRows) return false;
    }
    Scaler(*kernels, *down, sourceWidth, width, {lumaPart}, scratch)
        .Run(
            inSource.height,
            [&](std::int32_t row, const HalfRow& outRow) {
                load.loadLuma(RowAt(inSource, row), sourceWidth, outRow.luma);
            },
            [&](std::int32_t row, const HalfRow& inRow) {
                store.storeLuma(inRow.luma, width, RowAt(outDestination, row));
            });
    for (std::int32_t field = 0; field < fields; ++field) {
        const auto chromaDown = fieldDown(field);
        const std::int32_t rows =
            (ChromaHeight(from, inSource.height) - field + fields - 1) / fields;
        Scaler(*kernels, *chromaDown, sourceWidth, width, {chromaPart}, scratch)
            .Run(
                rows,
                [&](std::int32_t row, const HalfRow& outRow) {
                    LoadHalfChroma(load, inSource, field + fields * row, outRow.chroma);
                },
                [&](std::int32_t row, const HalfRow& inRow) {
                    StoreHalfChroma(store, outDestination, field + fields * row, inRow.chroma);
                });
    }
    return true;
}

}  // namespace scanvo
