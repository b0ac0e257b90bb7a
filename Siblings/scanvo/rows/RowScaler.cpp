#include "rows/RowScaler.h"

#include <algorithm>
#include <array>

namespace scanvo {
namespace {

// What is kept for them should stay in a second-level cache.
constexpr std::int32_t kMostKeptRows = 16;

void ClearRow(const RowShape& inShape, const PlanarRow& outRow) {
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        std::fill_n(outRow[plane], inShape[plane], 0.0f);
    }
}

// The most destination rows that one source row is part of.
std::int32_t MostOpenRows(const WeightTable& inAcross) {
    std::int32_t most = 0;
    std::int32_t done = 0;
    for (std::int32_t row = 0; row < inAcross.Count(); ++row) {
        const std::int32_t first = inAcross.first[static_cast<std::size_t>(row)];
        while (inAcross.first[static_cast<std::size_t>(done)] + inAcross.tapCount <= first)
            ++done;
        most = std::max(most, row - done + 1);
    }
    return most;
}

}  // namespace

RowScaler::RowScaler(const RowPlan& inPlan, const WeightTable& inAcross, const Source& inSource,
                     const RowSteps& inSteps, const WorkRows& inWork, Scratch& ioScratch)
    : plan_(inPlan),
      across_(inAcross),
      source_(inSource),
      steps_(inSteps),
      work_(inWork),
      keepsRows_(inAcross.tapCount <= kMostKeptRows),
      ring_(ioScratch.Resource()),
      extra_(ioScratch.Row(inPlan.width)) {
    ring_.resize(static_cast<std::size_t>(keepsRows_ ? inAcross.tapCount : MostOpenRows(inAcross)));
    std::generate(ring_.begin(), ring_.end(), [&] { return ioScratch.Row(inPlan.width); });
}

const PlanarRow& RowScaler::Next() {
    return keepsRows_ ? MixKeptRows() : MixIntoOpenRows();
}

void RowScaler::Fetch(std::int32_t inIndex, const PlanarRow& outRow) {
    FetchRow(plan_, source_, steps_.At(inIndex), work_, outRow);
}

const PlanarRow& RowScaler::SlotOf(std::int32_t inRow) const {
    return ring_[static_cast<std::size_t>(inRow) % ring_.size()];
}

// Keeps the source rows that the next destination row may need again. Good for few taps.
const PlanarRow& RowScaler::MixKeptRows() {
    const std::int32_t first = across_.first[static_cast<std::size_t>(nextDestination_)];
    nextSource_ = std::max(nextSource_, first);
    for (; nextSource_ < first + across_.tapCount; ++nextSource_) {
        Fetch(nextSource_, SlotOf(nextSource_));
    }
    const float* const weights = across_.WeightsOf(nextDestination_++);
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        std::array<const float*, kMostKeptRows> rows;
        for (std::int32_t tap = 0; tap < across_.tapCount; ++tap)
            rows[static_cast<std::size_t>(tap)] = SlotOf(first + tap)[plane];
        MixWeighted(rows.data(), weights, across_.tapCount, plan_.fetchedShape[plane],
                    extra_[plane]);
    }
    return extra_;
}

// Adds each source row to the destination rows that it is part of. Good for many taps, of which
// keeping all the rows could mean keeping the picture.
const PlanarRow& RowScaler::MixIntoOpenRows() {
    const auto firstOf = [this](std::int32_t row) {
        return across_.first[static_cast<std::size_t>(row)];
    };
    const std::int32_t row = nextDestination_++;
    nextSource_ = std::max(nextSource_, firstOf(row));
    for (; nextSource_ < firstOf(row) + across_.tapCount; ++nextSource_) {
        Fetch(nextSource_, extra_);
        for (; endOpen_ < across_.Count() && firstOf(endOpen_) <= nextSource_; ++endOpen_) {
            ClearRow(plan_.fetchedShape, SlotOf(endOpen_));
        }
        for (std::int32_t open = row; open < endOpen_; ++open) {
            const float weight = across_.WeightsOf(open)[nextSource_ - firstOf(open)];
            for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
                AddWeighted(extra_[plane], weight, plan_.fetchedShape[plane], SlotOf(open)[plane]);
            }
        }
    }
    return SlotOf(row);
}

}  // namespace scanvo
