// Conversions by way of rows of 16-bit numbers with half chroma.
#pragma once

#include <cstddef>
#include <optional>

#include "fast/HalfRows.h"
#include "formats/Picture.h"
#include "operations/RowRoad.h"
#include "rows/Scratch.h"

namespace scanvo {

/// Between 8- and 10-bit formats of which at least one has half chroma.
class HalfRowRoad {
  public:
    /// Nothing for other formats and where there are no vectors.
    static std::optional<HalfRowRoad> Find(const Source& inSource, const Format& inDestination,
                                           Scratch& ioScratch);

    /// Writes a row of a packed destination, counted from the bottom.
    void ConvertRow(std::int32_t inRow, std::byte* outRow) const;

    /// Writes a planar destination.
    void ConvertToPlanes(const Destination& outDestination, Scratch& ioScratch) const;

  private:
    HalfRowRoad() = default;
    void Load(std::int32_t inRow, const HalfRow& outRow) const;
    void ChangeMatrix(const HalfRow& ioRow) const;
    void KeepChromaRows(const Destination& outDestination) const;

    Source source_;
    /// Takes packed rows to what is loaded, where they are something else.
    std::optional<RowRoad> toPixels_;
    std::byte* pixels_ = nullptr;
    HalfRowFunctions from_, to_;
    std::optional<HalfRowMatrix> matrix_;
    HalfRow row_;
};

}  // namespace scanvo
