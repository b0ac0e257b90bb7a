// Rows of several pictures brought together in one format, for operations that combine them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "formats/Picture.h"
#include "operations/RowRoad.h"
#include "rows/RowPlan.h"
#include "rows/Scratch.h"

namespace scanvo {

/// Bytes that are not initialised and live as long as the scratch memory does.
std::byte* ScratchBytes(std::int64_t inCount, Scratch& ioScratch);

/// The rows of a picture in a format of choice.
class InputRows {
  public:
    InputRows(const Source& inPicture, const Format& inFormat, Scratch& ioScratch);

    /// The picture's own row, or one that lasts until the next call.
    const std::byte* At(std::int32_t inRow) const;

  private:
    Source picture_;
    Destination converted_;
    std::optional<RowRoad> road_;
    std::optional<RowPlan> plan_;
    WorkRows work_{};
    PlanarRow fetched_{};
};

/// The rows of a picture to be written in whole units.
class OutputRows {
  public:
    explicit OutputRows(const Destination& inPicture);

    /// Bytes of a row from its first to its last unit.
    std::size_t ByteCount() const { return byteCount_; }

    /// Calls inWrite with the place to write a row's bytes to.
    template <class Write>
    void Put(std::int32_t inRow, const Write& inWrite) const {
        std::byte* const row = RowAt(picture_, inRow);
        inWrite(row);
        ClearUnused(picture_.format, picture_.width, row);
    }

  private:
    Destination picture_;
    std::size_t byteCount_;
};

}  // namespace scanvo
