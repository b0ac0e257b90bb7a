// Scaling across rows: rows of the destination's width and number out of rows of the source.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <vector>

#include "formats/Picture.h"
#include "rows/Filters.h"
#include "rows/RowPlan.h"
#include "rows/Scratch.h"

namespace scanvo {

/// Which rows of a picture: first, first + step and so on.
struct RowSteps {
    std::int32_t first = 0;
    std::int32_t step = 1;

    std::int32_t At(std::int32_t inIndex) const { return first + step * inIndex; }
};

/// Gives the rows of the destination one after the other. Memory is a few rows, however many source
/// rows a destination row is made of.
class RowScaler {
  public:
    /// inPlan and inAcross must outlive the scaler. inAcross is between rows counted by inSteps and
    /// those of the destination.
    RowScaler(const RowPlan& inPlan, const WeightTable& inAcross, const Source& inSource,
              const RowSteps& inSteps, const WorkRows& inWork, Scratch& ioScratch);

    /// The next row, fetched and mixed, not finished. Call it no more than inAcross.Count() times.
    /// The row may be changed, and holds until the next call.
    const PlanarRow& Next();

  private:
    void Fetch(std::int32_t inIndex, const PlanarRow& outRow);
    const PlanarRow& MixKeptRows();
    const PlanarRow& MixIntoOpenRows();
    const PlanarRow& SlotOf(std::int32_t inRow) const;

    const RowPlan& plan_;
    const WeightTable& across_;
    Source source_;
    RowSteps steps_;
    WorkRows work_;
    bool keepsRows_;
    /// Kept source rows, or destination rows that are still being added to.
    std::pmr::vector<PlanarRow> ring_;
    PlanarRow extra_;
    std::int32_t nextSource_ = 0;
    std::int32_t nextDestination_ = 0;
    std::int32_t endOpen_ = 0;
};

}  // namespace scanvo
