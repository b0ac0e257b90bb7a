#include "rows/RowPlan.h"

#include "rows/Chroma.h"
#include "rows/KeptTables.h"

namespace scanvo {
namespace {

bool IsChroma(std::size_t inPlane) {
    return inPlane == 1 || inPlane == 2;
}

// A filter mixes pixels by how much they show, which premultiplied colour does of itself. Taking
// the nearest pixel mixes nothing.
Format FormatForMixing(Format inSource, std::int32_t inQuality) {
    if (inQuality >= 2 && inSource.alpha == Alpha::Straight) inSource.alpha = Alpha::Premultiplied;
    return inSource;
}

// Chroma that both have for every other pixel stays there.
bool KeepsHalfChroma(const Format& inSource, const Format& inDestination) {
    return HasHalfChroma(inSource) && HasHalfChroma(inDestination);
}

void PlanColour(const Format& inSource, const Format& inFetched, const Format& inDestination,
                RowPlan& outPlan) {
    outPlan.from = AccessTo(inSource);
    outPlan.to = AccessTo(inDestination);
    outPlan.before = ColourSteps(inSource, inFetched);
    outPlan.after = ColourSteps(inFetched, inDestination, KeepsHalfChroma(inSource, inDestination));
}

void PlanChroma(const Format& inSource, const Format& inDestination, RowPlan& ioPlan) {
    const bool keepsHalf = KeepsHalfChroma(inSource, inDestination);
    ioPlan.fetchedShape =
        keepsHalf ? HalfChromaShape(ioPlan.width) : FullShape(ioPlan.width, HasAlpha(inSource));
    ioPlan.halvesChroma = HasHalfChroma(inDestination) && !keepsHalf;
    if (HasHalfChroma(inSource) && !keepsHalf) {
        ioPlan.moves[1] = ioPlan.moves[2] = PlaneMove::SpreadChroma;
    }
}

// The grid of a plane with inCount samples along a row of inWidth pixels.
SampleGrid GridAlongRow(std::int32_t inCount, std::int32_t inWidth) {
    return {inCount, inCount == inWidth ? 1 : 2, 0};
}

void PlanFilters(const Format& inSource, std::int32_t inQuality, RowPlan& ioPlan) {
    const RowShape loadedShape = LoadedShape(inSource, ioPlan.sourceWidth);
    const double scale = static_cast<double>(ioPlan.sourceWidth) / ioPlan.width;
    const auto weightsOf = [&](std::size_t plane) {
        return KeptWeights({GridAlongRow(loadedShape[plane], ioPlan.sourceWidth),
                            GridAlongRow(ioPlan.fetchedShape[plane], ioPlan.width), scale,
                            inQuality});
    };
    ioPlan.moves.fill(PlaneMove::Filter);
    ioPlan.weights = weightsOf(0);
    ioPlan.chromaWeights = weightsOf(1);
}

void MovePlane(const RowPlan& inPlan, std::size_t inPlane, const float* inLoaded,
               float* outFetched) {
    switch (inPlan.moves[inPlane]) {
        case PlaneMove::None:
            break;
        case PlaneMove::SpreadChroma:
            SpreadChroma(inLoaded, inPlan.width, outFetched);
            break;
        case PlaneMove::Filter:
            FilterAlongRow(inLoaded, IsChroma(inPlane) ? *inPlan.chromaWeights : *inPlan.weights,
                           outFetched);
            break;
    }
}

}  // namespace

RowPlan PlanConversion(const Format& inSource, const Format& inDestination, std::int32_t inWidth) {
    RowPlan plan;
    plan.sourceWidth = plan.width = inWidth;
    PlanColour(inSource, inSource, inDestination, plan);
    PlanChroma(inSource, inDestination, plan);
    return plan;
}

RowPlan PlanScaling(const Format& inSource, std::int32_t inSourceWidth, const Format& inDestination,
                    std::int32_t inWidth, std::int32_t inQuality) {
    RowPlan plan;
    plan.sourceWidth = inSourceWidth;
    plan.width = inWidth;
    PlanColour(inSource, FormatForMixing(inSource, inQuality), inDestination, plan);
    PlanChroma(inSource, inDestination, plan);
    if (inSourceWidth != inWidth) PlanFilters(inSource, inQuality, plan);
    return plan;
}

WorkRows MakeWorkRows(const RowPlan& inPlan, Scratch& ioScratch) {
    return {ioScratch.Row(inPlan.sourceWidth), ioScratch.Row(HalfWidth(inPlan.width))};
}

void FetchRow(const RowPlan& inPlan, const Source& inSource, std::int32_t inRow,
              const WorkRows& ioWork, const PlanarRow& outFetched) {
    // Planes that stay as they are get loaded where they belong.
    PlanarRow loaded = ioWork.loaded;
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        if (inPlan.moves[plane] == PlaneMove::None) loaded[plane] = outFetched[plane];
    }
    inPlan.from.Load(inSource, inRow, loaded);
    inPlan.before.Run(loaded, inPlan.sourceWidth);
    for (std::size_t plane = 0; plane < kPlaneCount; ++plane) {
        if (inPlan.fetchedShape[plane] != 0)
            MovePlane(inPlan, plane, loaded[plane], outFetched[plane]);
    }
}

PlanarRow FinishedRow(const RowPlan& inPlan, const PlanarRow& ioFetched, const WorkRows& ioWork) {
    inPlan.after.Run(ioFetched, inPlan.width);
    PlanarRow finished = ioFetched;
    if (!inPlan.halvesChroma) return finished;
    for (const std::size_t plane : {std::size_t{1}, std::size_t{2}}) {
        HalveChroma(ioFetched[plane], inPlan.width, ioWork.halved[plane]);
        finished[plane] = ioWork.halved[plane];
    }
    return finished;
}

void FinishRow(const RowPlan& inPlan, const PlanarRow& ioFetched, const WorkRows& ioWork,
               const Destination& outDestination, std::int32_t inRow) {
    inPlan.to.Store(FinishedRow(inPlan, ioFetched, ioWork), outDestination, inRow);
}

}  // namespace scanvo
