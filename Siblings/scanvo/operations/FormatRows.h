// Several pictures brought together in one format, for operations that combine them: packed ones
// row by row, planar ones, whose rows share chroma, whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "formats/Picture.h"
#include "operations/RowConverter.h"
#include "rows/Scratch.h"

namespace scanvo {

/// The rows of any picture in a packed format of choice.
class InputRows {
  public:
    InputRows(const Source& inPicture, const Format& inFormat, Scratch& ioScratch);

    /// The picture's own row, or one that lasts until the next call.
    const std::byte* At(std::int32_t inRow) const;

  private:
    Source picture_;
    std::optional<RowConverter> converter_;
    std::byte* converted_ = nullptr;
};

/// The rows of a packed picture to be written in whole units.
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

/// Any picture in a planar format of choice, one block of bytes.
class InputPlanes {
  public:
    InputPlanes(const Source& inPicture, const Format& inFormat);

    /// The picture itself, or a converted one.
    const Source& Picture() const { return picture_; }

  private:
    Source picture_;
    std::unique_ptr<std::byte[]> converted_;
};

}  // namespace scanvo
