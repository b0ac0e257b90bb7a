// The general road of every pixel. A row is fetched: loaded, filtered along the row where the width
// changes, its chroma spread where every pixel needs its own. Then it is finished: given its
// colour, its chroma halved where the destination has half, stored. Between the two, rows may be
// mixed with one another.
//
// What depends on formats and widths is decided once, in a plan, and then run over rows.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "formats/Picture.h"
#include "rows/Colour.h"
#include "rows/Filters.h"
#include "rows/PlanarRow.h"
#include "rows/RowLayouts.h"
#include "rows/Scratch.h"

namespace scanvo {

/// What fetching does to one plane of a loaded row.
enum class PlaneMove { None, SpreadChroma, Filter };

struct RowPlan {
    RowAccess from;
    RowAccess to;
    /// Run on loaded rows: makes colour premultiplied where pixels are to be mixed.
    ColourSteps before;
    /// Run on fetched rows.
    ColourSteps after;
    std::int32_t sourceWidth = 0;
    std::int32_t width = 0;
    std::array<PlaneMove, kPlaneCount> moves{};
    /// Used where planes move by filter.
    std::shared_ptr<const WeightTable> weights;
    std::shared_ptr<const WeightTable> chromaWeights;
    RowShape fetchedShape{};
    bool halvesChroma = false;
};

/// Between pictures of one width.
RowPlan PlanConversion(const Format& inSource, const Format& inDestination, std::int32_t inWidth);

/// Between pictures of any widths, whose rows may be mixed after fetching. Qualities are those of
/// MakeWeights.
RowPlan PlanScaling(const Format& inSource, std::int32_t inSourceWidth, const Format& inDestination,
                    std::int32_t inWidth, std::int32_t inQuality);

/// Rows that fetching and finishing need on their way.
struct WorkRows {
    PlanarRow loaded;
    PlanarRow halved;
};

WorkRows MakeWorkRows(const RowPlan& inPlan, Scratch& ioScratch);

/// outFetched has room for inPlan.width samples in every plane.
void FetchRow(const RowPlan& inPlan, const Source& inSource, std::int32_t inRow,
              const WorkRows& ioWork, const PlanarRow& outFetched);

/// The fetched row in the shape and colour of the destination. It may lie in the fetched row itself
/// or in the work rows, and uses up what they hold.
PlanarRow FinishedRow(const RowPlan& inPlan, const PlanarRow& ioFetched, const WorkRows& ioWork);

/// Stores the finished row in a packed picture.
void FinishRow(const RowPlan& inPlan, const PlanarRow& ioFetched, const WorkRows& ioWork,
               const Destination& outDestination, std::int32_t inRow);

}  // namespace scanvo
