// The layouts of half chroma by way of half rows: the vector form of their loads, and their store.
#pragma once

#include <array>
#include <optional>

#include "fast/HalfRows.h"
#include "rows/RowLayouts.h"
#include "rows/Scratch.h"

namespace scanvo {

/// Null without vectors and for other layouts. Planar pictures have no function to store.
LoadRow HalfRowLoadOf(const Format& inFormat);
StoreRow HalfRowStoreOf(const Format& inFormat);

/// Memory for a half row; what lies behind its pixels is 0.
HalfRow MakeHalfRow(std::int32_t inWidth, Scratch& ioScratch);

/// Loads inCount pixels from inFirst on, which begins a unit, with inFunctions of the picture's
/// format.
void LoadHalfRow(const HalfRowFunctions& inFunctions, const Source& inPicture, std::int32_t inRow,
                 std::int32_t inFirst, std::int32_t inCount, const HalfRow& outRow);

/// A chroma row of a planar picture, counted from the top, as it is.
void LoadHalfChroma(const HalfRowFunctions& inFunctions, const Source& inPicture,
                    std::int32_t inChromaRow, std::uint16_t* outChroma);
void StoreHalfChroma(const HalfRowFunctions& inFunctions, const Destination& outPicture,
                     std::int32_t inChromaRow, const std::uint16_t* inChroma);

enum class RowOrder { BottomFirst, TopFirst };

/// Writes a planar picture from all of its rows, which come one after the other. Keeps their chroma
/// until all that is part of a chroma row has come.
class HalfRowWriter {
  public:
    HalfRowWriter(const HalfRowFunctions& inFunctions, const Destination& inPicture,
                  RowOrder inOrder, Scratch& ioScratch);

    /// Where to put a row before it is written.
    HalfRow PlaceFor(std::int32_t inRow) const;
    void Write(std::int32_t inRow);

  private:
    // Of the rows of a field, four are mixed to one: from one above a pair to one below it.
    static constexpr std::size_t kKept = 8;

    std::int32_t CountOf(std::int32_t inField) const;
    std::int32_t RowOf(std::int32_t inField, std::int32_t inRow) const;
    std::uint16_t* KeptChroma(std::int32_t inRowFromTop) const;
    bool HasCome(std::int32_t inField, std::int32_t inChromaRow, std::int32_t inRowFromTop) const;
    void StoreChroma(std::int32_t inField, std::int32_t inChromaRow) const;

    HalfRowFunctions functions_;
    Destination picture_;
    RowOrder order_;
    std::int32_t fields_;
    std::uint16_t* luma_;
    std::array<std::uint16_t*, kKept> kept_;
    std::array<std::int32_t, 2> done_{};
};

}  // namespace scanvo
