// Roads of a few fast rows, one after the other, for pairs of packed formats that none of them
// joins.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>

#include "fast/FastRows.h"
#include "rows/Scratch.h"

namespace scanvo {

class RowRoad {
  public:
    /// Steps as many as the pair takes, none of which loses more than rounding does, so that the
    /// result stays within one step of the exact one. Nothing when there is no such road.
    static std::optional<RowRoad> Find(const Format& inSource, const Format& inDestination);

    /// Takes memory for what lies between the steps. Before Convert.
    void Prepare(std::int32_t inWidth, Scratch& ioScratch);

    /// Rows as ConvertRow has them.
    void Convert(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) const;

  private:
    struct Step {
        ConvertRow convert = nullptr;
        Format to;
        std::byte* row = nullptr;  ///< where it writes, unless it is the last one
    };

    /// Nothing when one of the steps is missing.
    static std::optional<RowRoad> Through(std::initializer_list<Format> inFormats,
                                          const Format& inSource);
    bool Add(const Format& inSource, const Format& inTo);

    std::array<Step, 3> steps_{};
    std::size_t count_ = 0;
};

/// Whether pixels may be rounded to 8 bits on their way. R'G'B' is within a step of what it was
/// when it has become Y'CbCr, and Y'CbCr is as long as it keeps its matrix. Floats may lie beyond
/// what codes hold.
bool BearsEightBits(const Format& inSource, const Format& inDestination);

/// The same pixels of 8 bits.
Format InEightBits(Format inFormat);

}  // namespace scanvo
