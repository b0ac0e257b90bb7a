#include "operations/Conversion.h"

#include <algorithm>
#include <vector>

#include "fast/Bytes.h"
#include "fast/FastRows.h"
#include "rows/RowPlan.h"

namespace scanvo {
namespace {

// ---- Copies -------------------------------------------------------------------------------------

bool IsSamePlace(const Source& inSource, const Destination& inDestination) {
    return inSource.start == inDestination.start && inSource.rowBytes == inDestination.rowBytes;
}

// One block of bytes, every one of which belongs to a pixel.
template <class Byte>
bool IsContiguous(const PictureOf<Byte>& inPicture) {
    return inPicture.rowBytes == UsedRowBytes(inPicture.format, inPicture.width) &&
           inPicture.width % inPicture.format.unitPixels == 0;
}

void CopyPicture(const Source& inSource, const Destination& outDestination) {
    if (IsSamePlace(inSource, outDestination)) return;
    if (IsContiguous(inSource) && IsContiguous(outDestination)) {
        CopyBytes(outDestination.start, inSource.start,
                  static_cast<std::size_t>(inSource.rowBytes * inSource.height));
        return;
    }
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        CopyRow(inSource.format, inSource.width, RowAt(inSource, row), RowAt(outDestination, row));
    }
}

// ---- Scaling across rows ------------------------------------------------------------------------

// What all rows of one scaling share.
struct Scaling {
    const RowPlan& plan;
    const WeightTable& across;
    const Source& source;
    const Destination& destination;
    WorkRows work;
};

std::pmr::vector<PlanarRow> MakeRows(std::int32_t inCount, std::int32_t inWidth,
                                     Scratch& ioScratch) {
    std::pmr::vector<PlanarRow> rows(static_cast<std::size_t>(inCount), ioScratch.Resource());
    std::generate(rows.begin(), rows.end(), [&] { return ioScratch.Row(inWidth); });
    return rows;
}

const PlanarRow& SlotOf(const std::pmr::vector<PlanarRow>& inRing, std::int32_t inRow) {
    return inRing[static_cast<std::size_t>(inRow) % inRing.size()];
}

// Adds a weighted row, or sets to it.
using MixSamples = void (*)(const float*, float, std::int32_t, float* __restrict);

void MixRow(MixSamples inMix, const RowShape& inShape, const PlanarRow& inRow, float inWeight,
            const PlanarRow& ioMixed) {
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        inMix(inRow[plane], inWeight, inShape[plane], ioMixed[plane]);
    }
}

void ClearRow(const RowShape& inShape, const PlanarRow& outRow) {
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        std::fill_n(outRow[plane], inShape[plane], 0.0f);
    }
}

// Keeps the source rows that the next destination row may need again. Good for few taps.
void MixKeptRows(const Scaling& inScaling, Scratch& ioScratch) {
    const RowPlan& plan = inScaling.plan;
    const WeightTable& across = inScaling.across;
    const auto kept = MakeRows(across.tapCount, plan.width, ioScratch);
    const PlanarRow mixed = ioScratch.Row(plan.width);
    std::int32_t fetched = 0;
    for (std::int32_t row = 0; row < across.Count(); ++row) {
        const std::int32_t first = across.first[static_cast<std::size_t>(row)];
        for (fetched = std::max(fetched, first); fetched < first + across.tapCount; ++fetched) {
            FetchRow(plan, inScaling.source, fetched, inScaling.work, SlotOf(kept, fetched));
        }
        const float* const weights = across.WeightsOf(row);
        for (std::int32_t tap = 0; tap < across.tapCount; ++tap) {
            MixRow(tap == 0 ? SetWeighted : AddWeighted, plan.fetchedShape,
                   SlotOf(kept, first + tap), weights[tap], mixed);
        }
        FinishRow(plan, mixed, inScaling.work, inScaling.destination, row);
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

// Adds each source row to the destination rows that it is part of. Good for many taps, of which
// keeping all the rows could mean keeping the picture.
void MixIntoOpenRows(const Scaling& inScaling, Scratch& ioScratch) {
    const RowPlan& plan = inScaling.plan;
    const WeightTable& across = inScaling.across;
    const auto firstOf = [&across](std::int32_t row) {
        return across.first[static_cast<std::size_t>(row)];
    };
    const auto open = MakeRows(MostOpenRows(across), plan.width, ioScratch);
    const PlanarRow fetched = ioScratch.Row(plan.width);
    std::int32_t firstOpen = 0;
    std::int32_t endOpen = 0;
    for (std::int32_t sourceRow = 0; firstOpen < across.Count(); ++sourceRow) {
        FetchRow(plan, inScaling.source, sourceRow, inScaling.work, fetched);
        for (; endOpen < across.Count() && firstOf(endOpen) <= sourceRow; ++endOpen) {
            ClearRow(plan.fetchedShape, SlotOf(open, endOpen));
        }
        for (std::int32_t row = firstOpen; row < endOpen; ++row) {
            MixRow(AddWeighted, plan.fetchedShape, fetched,
                   across.WeightsOf(row)[sourceRow - firstOf(row)], SlotOf(open, row));
        }
        for (; firstOpen < endOpen && firstOf(firstOpen) + across.tapCount == sourceRow + 1;
             ++firstOpen) {
            FinishRow(plan, SlotOf(open, firstOpen), inScaling.work, inScaling.destination,
                      firstOpen);
        }
    }
}

void ScaleRows(const RowPlan& inPlan, const WeightTable& inAcross, const Source& inSource,
               const Destination& outDestination, Scratch& ioScratch) {
    constexpr std::int32_t kMostKeptRows = 6;
    const Scaling scaling{inPlan, inAcross, inSource, outDestination,
                          MakeWorkRows(inPlan, ioScratch)};
    const auto mix = inAcross.tapCount <= kMostKeptRows ? MixKeptRows : MixIntoOpenRows;
    mix(scaling, ioScratch);
}

RowPlan PlanBetween(const Source& inSource, const Destination& inDestination,
                    std::int32_t inQuality, Scratch& ioScratch) {
    return PlanScaling(inSource.format, inSource.width, inDestination.format, inDestination.width,
                       inQuality, ioScratch.Resource());
}

double HeightScale(const Source& inSource, const Destination& inDestination) {
    return static_cast<double>(inSource.height) / inDestination.height;
}

}  // namespace

void ConvertPicture(const Source& inSource, const Destination& outDestination) {
    if (inSource.format == outDestination.format) {
        CopyPicture(inSource, outDestination);
        return;
    }
    if (const ConvertRow convert = FastRowBetween(inSource.format, outDestination.format)) {
        for (std::int32_t row = 0; row < inSource.height; ++row) {
            convert(RowAt(inSource, row), RowAt(outDestination, row), inSource.width);
        }
        return;
    }
    Scratch scratch;
    const RowPlan plan =
        PlanConversion(inSource.format, outDestination.format, inSource.width, scratch.Resource());
    const WorkRows work = MakeWorkRows(plan, scratch);
    const PlanarRow fetched = scratch.Row(plan.width);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        FetchRow(plan, inSource, row, work, fetched);
        FinishRow(plan, fetched, work, outDestination, row);
    }
}

void ScalePicture(const Source& inSource, const Destination& outDestination,
                  std::int32_t inQuality) {
    Scratch scratch;
    const RowPlan plan = PlanBetween(inSource, outDestination, inQuality, scratch);
    const WeightTable across =
        MakeWeights({inSource.height, 1, 0}, {outDestination.height, 1, 0},
                    HeightScale(inSource, outDestination), inQuality, scratch.Resource());
    ScaleRows(plan, across, inSource, outDestination, scratch);
}

void ScaleFields(const Source& inSource, const Destination& outDestination,
                 std::int32_t inQuality) {
    Scratch scratch;
    const RowPlan plan = PlanBetween(inSource, outDestination, inQuality, scratch);
    for (const std::int32_t field : {0, 1}) {
        // Memory starts at the bottom row.
        const std::int32_t sourceFirst = (inSource.height - 1 - field) % 2;
        const std::int32_t destinationFirst = (outDestination.height - 1 - field) % 2;
        const Source source = FieldOf(inSource, sourceFirst);
        const Destination destination = FieldOf(outDestination, destinationFirst);
        const WeightTable across =
            MakeWeights({source.height, 2, sourceFirst}, {destination.height, 2, destinationFirst},
                        HeightScale(inSource, outDestination), inQuality, scratch.Resource());
        ScaleRows(plan, across, source, destination, scratch);
    }
}

}  // namespace scanvo
