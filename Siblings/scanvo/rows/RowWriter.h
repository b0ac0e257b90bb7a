// Where finished rows go, whatever the layout of the picture.
#pragma once

#include <optional>

#include "rows/PlanarLayouts.h"
#include "rows/RowLayouts.h"

namespace scanvo {

/// Takes every row of a picture once. Rows of planar pictures must come in ascending order.
class RowWriter {
  public:
    RowWriter(const Destination& inPicture, Scratch& ioScratch)
        : picture_(inPicture), access_(AccessTo(inPicture.format)) {
        if (inPicture.format.layout == Layout::Planar)
            planar_.emplace(inPicture, access_.ranges, ioScratch);
    }

    /// A row as FinishedRow gives it.
    void Write(const PlanarRow& inRow, std::int32_t inRowNumber) {
        if (planar_) {
            planar_->Store(inRow, inRowNumber);
        } else {
            access_.Store(inRow, picture_, inRowNumber);
        }
    }

  private:
    Destination picture_;
    RowAccess access_;
    std::optional<PlanarStore> planar_;
};

}  // namespace scanvo
