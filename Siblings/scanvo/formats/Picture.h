// A picture in the caller's memory, as the operations see it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/FormatCode.h"

namespace scanvo {

/// Memory row 0 starts at start; the next row rowBytes further, which may be backwards.
template <class Byte>
struct PictureOf {
    Byte* start = nullptr;
    std::int64_t rowBytes = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    Format format;
};

using Source = PictureOf<const std::byte>;
using Destination = PictureOf<std::byte>;

template <class Byte>
Byte* RowAt(const PictureOf<Byte>& inPicture, std::int32_t inRow) {
    return inPicture.start + inPicture.rowBytes * inRow;
}

/// The rows of one field as a picture of their own: every other memory row from inFirstRow (0 or 1)
/// on. The picture must have such a row.
template <class Byte>
PictureOf<Byte> FieldOf(PictureOf<Byte> inPicture, std::int32_t inFirstRow) {
    inPicture.start += inPicture.rowBytes * inFirstRow;
    inPicture.rowBytes *= 2;
    inPicture.height = HalfWidth(inPicture.height - inFirstRow);
    return inPicture;
}

}  // namespace scanvo
