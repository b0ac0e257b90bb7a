// A picture in the caller's memory, as the operations see it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/FormatCode.h"

namespace scanvo {

/// The rows of a packed picture are its memory rows: row 0 starts at start, the next one rowBytes
/// further, which may be backwards. Planar pictures lie in memory top row first, their first plane
/// at start; so that rows mean the same in both, they are counted from the bottom all the same.
template <class Byte>
struct PictureOf {
    Byte* start = nullptr;
    std::int64_t rowBytes = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    Format format;
    /// The top rows of Cb and Cr of a planar picture.
    std::array<Byte*, 2> chroma{};
    std::int64_t chromaRowBytes = 0;
};

using Source = PictureOf<const std::byte>;
using Destination = PictureOf<std::byte>;

/// Of a packed picture.
template <class Byte>
Byte* RowAt(const PictureOf<Byte>& inPicture, std::int32_t inRow) {
    return inPicture.start + inPicture.rowBytes * inRow;
}

/// Of the planes of a planar 4:2:0 picture that is one block of bytes: Y', then Cr, then Cb, each
/// as tight as can be.
template <class Byte>
PictureOf<Byte> PlanarPicture(Byte* inStart, std::int32_t inWidth, std::int32_t inHeight,
                              const Format& inFormat) {
    const std::int64_t chromaBytes = std::int64_t{HalfWidth(inWidth)} * HalfWidth(inHeight);
    Byte* const cr = inStart + std::int64_t{inWidth} * inHeight;
    return {inStart,           inWidth, inWidth, inHeight, inFormat, {cr + chromaBytes, cr},
            HalfWidth(inWidth)};
}

}  // namespace scanvo
