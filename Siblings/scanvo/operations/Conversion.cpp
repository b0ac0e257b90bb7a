#include "operations/Conversion.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "fast/ByteScaling.h"
#include "fast/Bytes.h"
#include "fast/Caches.h"
#include "fast/FastPictures.h"
#include "fast/FastRows.h"
#include "operations/HalfRowConversion.h"
#include "operations/HalfRowScaling.h"
#include "operations/RowConverter.h"
#include "rows/KeptTables.h"
#include "rows/PlanarLayouts.h"
#include "rows/RowPlan.h"
#include "rows/RowScaler.h"
#include "rows/RowWriter.h"

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

// Between the lowest and the highest byte of two pictures' rows.
bool Overlap(const Source& inSource, const Destination& inDestination) {
    const auto endsOf = [](const std::byte* start, std::int64_t rowBytes, std::int32_t height,
                           std::int64_t used) {
        const std::byte* const last = start + rowBytes * (height - 1);
        return std::pair(std::min(start, last), std::max(start, last) + used);
    };
    const std::int64_t used = UsedRowBytes(inSource.format, inSource.width);
    const auto source = endsOf(inSource.start, inSource.rowBytes, inSource.height, used);
    const auto destination =
        endsOf(inDestination.start, inDestination.rowBytes, inSource.height, used);
    return source.first < destination.second && destination.first < source.second;
}

// Rows move towards lower numbers or stay; then the first is the one to begin with.
bool MovesForward(const Source& inSource, const Destination& inDestination) {
    return (inDestination.start > inSource.start) != (inSource.rowBytes > 0);
}

// Rows of whole units; the last one of a v210 row may have to be cleared in part.
bool AreRowsWorthStreaming(const Source& inSource) {
    return inSource.width % inSource.format.unitPixels == 0 &&
           IsWorthStreaming(2 * UsedRowBytes(inSource.format, inSource.width) * inSource.height);
}

void StreamRows(const Source& inSource, const Destination& outDestination) {
    const std::int64_t used = UsedRowBytes(inSource.format, inSource.width);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        CopyPastCaches(RowAt(outDestination, row), RowAt(inSource, row),
                       static_cast<std::size_t>(used));
    }
    FinishCopies();
}

void CopyPicture(const Source& inSource, const Destination& outDestination) {
    if (IsSamePlace(inSource, outDestination)) return;
    const bool overlap = Overlap(inSource, outDestination);
    if (!overlap && IsContiguous(inSource) && IsContiguous(outDestination)) {
        CopyBytes(outDestination.start, inSource.start,
                  static_cast<std::size_t>(inSource.rowBytes * inSource.height));
        return;
    }
    if (!overlap && AreRowsWorthStreaming(inSource)) {
        StreamRows(inSource, outDestination);
        return;
    }
    const bool backwards = overlap && !MovesForward(inSource, outDestination);
    for (std::int32_t i = 0; i < inSource.height; ++i) {
        const std::int32_t row = backwards ? inSource.height - 1 - i : i;
        CopyRow(inSource.format, inSource.width, RowAt(inSource, row), RowAt(outDestination, row));
    }
}

void CopyPlanes(const Source& inSource, const Destination& outDestination) {
    const MemoryPlanes<const std::byte> from = PlanesOf(inSource);
    const MemoryPlanes<std::byte> to = PlanesOf(outDestination);
    for (std::size_t number = 0; number < to.count; ++number) {
        const MemoryPlane<std::byte>& plane = to.planes[number];
        for (std::int32_t row = 0; row < plane.rows; ++row) {
            std::memmove(RowAt(plane, row), RowAt(from.planes[number], row),
                         static_cast<std::size_t>(plane.usedBytes));
        }
    }
}

// ---- By rows ------------------------------------------------------------------------------------

void ConvertToPacked(const Source& inSource, const Destination& outDestination) {
    Scratch scratch;
    const RowConverter converter(inSource, outDestination.format, scratch);
    for (std::int32_t row = 0; row < inSource.height; ++row)
        converter.Convert(row, RowAt(outDestination, row));
}

// Chroma rows that lie alike in both stay where they are, as chroma samples along rows do.
bool HaveSameChromaRows(const Format& inSource, const Format& inDestination) {
    return inSource.layout == Layout::Planar && inDestination.layout == Layout::Planar &&
           inSource.chroma == inDestination.chroma && inSource.chroma.columnShift == 1;
}

// The plain form.
void KeepChromaRows(const Source& inSource, const Destination& outDestination) {
    Scratch scratch;
    const RowPlan plan = PlanConversion(inSource.format, outDestination.format, inSource.width);
    const WorkRows work = MakeWorkRows(plan, scratch);
    const PlanarRow fetched = scratch.Row(plan.width);
    PlanarStore store(outDestination, plan.to.ranges, scratch);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        FetchRow(plan, inSource, row, work, fetched);
        store.StoreLuma(FinishedRow(plan, fetched, work), row);
    }
    for (std::int32_t row = 0; row < ChromaHeight(inSource.format, inSource.height); ++row) {
        LoadChromaRow(inSource, row, plan.from.ranges, fetched);
        store.StoreChromaRow(FinishedRow(plan, fetched, work), row);
    }
}

void ConvertToPlanes(const Source& inSource, const Destination& outDestination) {
    Scratch scratch;
    if (const auto road = HalfRowRoad::Find(inSource, outDestination.format, scratch)) {
        road->ConvertToPlanes(outDestination, scratch);
        return;
    }
    if (HaveSameChromaRows(inSource.format, outDestination.format)) {
        KeepChromaRows(inSource, outDestination);
        return;
    }
    const RowPlan plan = PlanConversion(inSource.format, outDestination.format, inSource.width);
    const WorkRows work = MakeWorkRows(plan, scratch);
    const PlanarRow fetched = scratch.Row(plan.width);
    RowWriter writer(outDestination, scratch);
    for (std::int32_t row = 0; row < inSource.height; ++row) {
        FetchRow(plan, inSource, row, work, fetched);
        writer.Write(FinishedRow(plan, fetched, work), row);
    }
}

// ---- Scales -------------------------------------------------------------------------------------

RowPlan PlanBetween(const Source& inSource, const Destination& inDestination,
                    std::int32_t inQuality) {
    return PlanScaling(inSource.format, inSource.width, inDestination.format, inDestination.width,
                       inQuality);
}

double HeightScale(const Source& inSource, const Destination& inDestination) {
    return static_cast<double>(inSource.height) / inDestination.height;
}

// The rows of one field, which counts from the top, in a picture whose rows start at the bottom.
RowSteps StepsOfField(std::int32_t inHeight, std::int32_t inField) {
    return {(inHeight - 1 - inField) % 2, 2};
}

SampleGrid GridOf(const RowSteps& inSteps, std::int32_t inHeight) {
    return {(inHeight - inSteps.first + inSteps.step - 1) / inSteps.step, inSteps.step,
            1.0 * inSteps.first};
}

// The rows of a picture that steps go through, as a picture of its own.
template <class Byte>
PictureOf<Byte> PartOf(PictureOf<Byte> inPicture, const RowSteps& inSteps) {
    inPicture.height = GridOf(inSteps, inPicture.height).count;
    inPicture.start += inPicture.rowBytes * inSteps.first;
    inPicture.rowBytes *= inSteps.step;
    return inPicture;
}

Axis FieldAxis(const Source& inSource, const Destination& inDestination, std::int32_t inField,
               std::int32_t inQuality) {
    return {GridOf(StepsOfField(inSource.height, inField), inSource.height),
            GridOf(StepsOfField(inDestination.height, inField), inDestination.height),
            HeightScale(inSource, inDestination), inQuality};
}

bool ScaleWithoutFloats(const Source& inSource, const Destination& outDestination,
                        const Axis& inDown) {
    return ScaleBytes(inSource, outDestination, inDown) ||
           ScaleHalfRows(inSource, outDestination, inDown);
}

bool ScaleFieldsWithoutFloats(const Source& inSource, const Destination& outDestination,
                              std::int32_t inQuality) {
    const auto scaleField = [&](std::int32_t field) {
        return ScaleWithoutFloats(
            PartOf(inSource, StepsOfField(inSource.height, field)),
            PartOf(outDestination, StepsOfField(outDestination.height, field)),
            FieldAxis(inSource, outDestination, field, inQuality));
    };
    return HasAddressableRows(inSource.format) && HasAddressableRows(outDestination.format) &&
           scaleField(0) && scaleField(1);
}

// The plain form of ScaleHalfRows, and what does what that leaves.
bool ScalePlanes(const Source& inSource, const Destination& outDestination, const Axis& inDown) {
    const Format& from = inSource.format;
    const Format& to = outDestination.format;
    const std::int32_t fields = ChromaFieldCount(from, inSource.height);
    if (!HaveSameChromaRows(from, to) || fields != ChromaFieldCount(to, outDestination.height))
        return false;
    Scratch scratch;
    const RowPlan plan = PlanBetween(inSource, outDestination, inDown.quality);
    const WorkRows work = MakeWorkRows(plan, scratch);
    PlanarStore store(outDestination, plan.to.ranges, scratch);
    const auto across = KeptWeights(inDown);
    RowScaler luma(plan, *across, inSource, {}, work, scratch);
    for (std::int32_t row = 0; row < outDestination.height; ++row)
        store.StoreLuma(FinishedRow(plan, luma.Next(), work), row);

    RowPlan chromaPlan = plan;
    chromaPlan.from.load = LoadChromaRow;
    chromaPlan.fetchedShape[0] = 0;
    for (std::int32_t field = 0; field < fields; ++field) {
        const auto chromaAcross = KeptWeights(
            ChromaRowAxis(from, inSource.height, to, outDestination.height, field, inDown));
        RowScaler chroma(chromaPlan, *chromaAcross, inSource, {field, fields}, work, scratch);
        for (std::int32_t row = 0; row < chromaAcross->Count(); ++row) {
            store.StoreChromaRow(FinishedRow(chromaPlan, chroma.Next(), work),
                                 field + fields * row);
        }
    }
    return true;
}

}  // namespace

void ConvertPicture(const Source& inSource, const Destination& outDestination) {
    const Format& from = inSource.format;
    const Format& to = outDestination.format;
    if (from == to && to.layout == Layout::Planar) {
        CopyPlanes(inSource, outDestination);
    } else if (to.layout == Layout::Planar) {
        ConvertToPlanes(inSource, outDestination);
    } else if (from == to) {
        CopyPicture(inSource, outDestination);
    } else if (const ConvertRow convert = FastRowBetween(from, to)) {
        ConvertWith(convert, inSource, outDestination);
    } else {
        ConvertToPacked(inSource, outDestination);
    }
}

void ScalePicture(const Source& inSource, const Destination& outDestination,
                  std::int32_t inQuality) {
    const Axis down{{inSource.height},
                    {outDestination.height},
                    HeightScale(inSource, outDestination),
                    inQuality};
    if (ScaleWithoutFloats(inSource, outDestination, down)) return;
    if (ScalePlanes(inSource, outDestination, down)) return;
    Scratch scratch;
    const RowPlan plan = PlanBetween(inSource, outDestination, inQuality);
    const WorkRows work = MakeWorkRows(plan, scratch);
    const auto across = KeptWeights(down);
    RowScaler scaler(plan, *across, inSource, {}, work, scratch);
    RowWriter writer(outDestination, scratch);
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        writer.Write(FinishedRow(plan, scaler.Next(), work), row);
    }
}

void ScaleFields(const Source& inSource, const Destination& outDestination,
                 std::int32_t inQuality) {
    if (ScaleFieldsWithoutFloats(inSource, outDestination, inQuality)) return;
    Scratch scratch;
    const RowPlan plan = PlanBetween(inSource, outDestination, inQuality);
    const WorkRows work = MakeWorkRows(plan, scratch);
    // By the parity of their rows in the destination, not by field.
    std::array<std::shared_ptr<const WeightTable>, 2> across;
    std::array<std::optional<RowScaler>, 2> scalers;
    for (const std::int32_t field : {0, 1}) {
        const RowSteps source = StepsOfField(inSource.height, field);
        const RowSteps destination = StepsOfField(outDestination.height, field);
        const auto parity = static_cast<std::size_t>(destination.first);
        across[parity] = KeptWeights(FieldAxis(inSource, outDestination, field, inQuality));
        scalers[parity].emplace(plan, *across[parity], inSource, source, work, scratch);
    }
    RowWriter writer(outDestination, scratch);
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        RowScaler& scaler = *scalers[static_cast<std::size_t>(row % 2)];
        writer.Write(FinishedRow(plan, scaler.Next(), work), row);
    }
}

}  // namespace scanvo
