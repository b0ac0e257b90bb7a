// The rows of any picture in a packed format, by the shortest road there is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "formats/Picture.h"
#include "operations/HalfRowConversion.h"
#include "operations/RowRoad.h"
#include "rows/RowPlan.h"
#include "rows/Scratch.h"

namespace scanvo {

class RowConverter {
  public:
    /// The scratch memory is to live as long as the converter does.
    RowConverter(const Source& inPicture, const Format& inFormat, Scratch& ioScratch);

    /// Writes whole units, as many as the picture is wide. Rows are counted from the bottom.
    void Convert(std::int32_t inRow, std::byte* outRow) const;

  private:
    Source picture_;
    Format format_;
    /// One of the three is there.
    std::optional<RowRoad> rowRoad_;
    std::optional<HalfRowRoad> halfRowRoad_;
    std::optional<RowPlan> plan_;
    WorkRows work_{};
    PlanarRow fetched_{};
};

}  // namespace scanvo
