// A picture in the caller's memory, as the operations see it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/FormatCode.h"

namespace scanvo {

/// The samples of one component in rows.
template <class Byte>
struct PlaneOf {
    Byte* start = nullptr;
    std::int64_t rowBytes = 0;
    int step = 1;  ///< bytes from one sample to the next
};

/// The rows of a packed picture are its memory rows: row 0 starts at start, the next one rowBytes
/// further, which may be backwards. Planar pictures lie in memory top row first, their Y' at start;
/// so that rows mean the same in both, they are counted from the bottom all the same.
template <class Byte>
struct PictureOf {
    Byte* start = nullptr;
    std::int64_t rowBytes = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    Format format;
    /// Cb and Cr of a planar picture, from their top rows.
    std::array<PlaneOf<Byte>, 2> chroma{};
};

using Source = PictureOf<const std::byte>;
using Destination = PictureOf<std::byte>;

/// Of a packed picture.
template <class Byte>
Byte* RowAt(const PictureOf<Byte>& inPicture, std::int32_t inRow) {
    return inPicture.start + inPicture.rowBytes * inRow;
}

/// A planar picture that is one block of bytes, its planes one after the other and each as tight as
/// can be.
template <class Byte>
PictureOf<Byte> PlanarPicture(Byte* inStart, std::int32_t inWidth, std::int32_t inHeight,
                              const Format& inFormat) {
    PictureOf<Byte> picture{inStart, inWidth, inWidth, inHeight, inFormat};
    const std::int64_t chromaRows = ChromaHeight(inFormat, inHeight);
    Byte* plane = inStart + std::int64_t{inWidth} * inHeight;
    for (int number = 1; number <= 2; ++number) {
        std::int64_t rowBytes = 0;
        for (const std::size_t component : {0u, 1u}) {
            const PlanePlace& place = inFormat.planes[component + 1];
            if (place.plane != number) continue;
            rowBytes = std::int64_t{ChromaWidth(inFormat, inWidth)} * place.step;
            picture.chroma[component] = {plane + place.first, rowBytes, place.step};
        }
        plane += rowBytes * chromaRows;
    }
    return picture;
}

/// One plane of a planar picture as it lies in memory, top row first: Y', or samples of one or both
/// components of chroma.
template <class Byte>
struct MemoryPlane {
    Byte* start = nullptr;
    std::int64_t rowBytes = 0;   ///< from one row to the next
    std::int64_t usedBytes = 0;  ///< of a row's samples
    std::int32_t rows = 0;
    int step = 1;         ///< bytes of the samples of one place
    int columnShift = 0;  ///< one place for 2^columnShift pixels
};

template <class Byte>
Byte* RowAt(const MemoryPlane<Byte>& inPlane, std::int32_t inRow) {
    return inPlane.start + inPlane.rowBytes * inRow;
}

template <class Byte>
struct MemoryPlanes {
    std::array<MemoryPlane<Byte>, 3> planes{};
    std::size_t count = 1;
};

/// Y' first.
template <class Byte>
MemoryPlanes<Byte> PlanesOf(const PictureOf<Byte>& inPicture) {
    const Format& format = inPicture.format;
    MemoryPlanes<Byte> all;
    all.planes[0] = {inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height, 1, 0};
    const std::int64_t width = ChromaWidth(format, inPicture.width);
    const std::int32_t height = ChromaHeight(format, inPicture.height);
    for (const std::size_t component : {0u, 1u}) {
        const PlaneOf<Byte>& chroma = inPicture.chroma[component];
        const PlanePlace& place = format.planes[component + 1];
        const auto number = static_cast<std::size_t>(place.plane);
        all.planes[number] = {
            chroma.start - place.first, chroma.rowBytes, width * chroma.step, height, chroma.step,
            format.chroma.columnShift};
        all.count = std::max(all.count, number + 1);
    }
    return all;
}

}  // namespace scanvo
