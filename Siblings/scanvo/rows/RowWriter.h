// Where finished rows go, whatever the layout of the picture.
#pragma once

#include <optional>

#include "rows/HalfRowLayouts.h"
#include "rows/PlanarLayouts.h"
#include "rows/RowLayouts.h"

namespace scanvo {

/// Takes every row of a picture once. Rows of planar pictures must come in ascending order.
class RowWriter {
  public:
    RowWriter(const Destination& inPicture, Scratch& ioScratch);

    /// A row as FinishedRow gives it.
    void Write(const PlanarRow& inRow, std::int32_t inRowNumber);

  private:
    Destination picture_;
    RowAccess access_;
    HalfRowFunctions functions_;
    std::optional<HalfRowWriter> half_;
    /// The plain form.
    std::optional<PlanarStore> planar_;
};

}  // namespace scanvo
