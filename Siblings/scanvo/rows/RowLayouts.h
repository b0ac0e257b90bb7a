// Rows in and out of memory: from the codes of a format to planes of floats and back.
//
// 4:2:2 rows load into, and store from, half as many chroma samples as pixels. An alpha plane is
// loaded from whatever lies in the alpha's place, also where it is to be ignored. 15-bit codes
// above white load as they are. Integer codes are rounded to nearest and clamped to what the
// component can hold, 15-bit ones to white; NaN becomes the lowest code.
//
// Units are written whole, so that no bits that nobody set stay in them. An odd width stores the
// last pixel's Y' into both halves of its UYVY or YUYV unit. The samples of a v210 unit that belong
// to no pixel become 0, like the two spare bits of each word.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>

#include "formats/Picture.h"
#include "rows/PlanarRow.h"

namespace scanvo {

/// A sample x is the code offset + x * scale.
struct CodeRanges {
    std::array<float, kPlaneCount> offset;
    std::array<float, kPlaneCount> scale;
    float maximum;
};

/// The code of a sample, halves rounded to even ones. The comparisons are written so that NaN takes
/// the lower bound.
inline std::int32_t Quantise(float inSample, float inOffset, float inScale, float inMaximum) {
    float code = inSample * inScale + inOffset;
    code = code > 0.0f ? code : 0.0f;
    code = code < inMaximum ? code : inMaximum;
    return static_cast<std::int32_t>(std::lrintf(code));
}

using LoadRow = void (*)(const Source& inPicture, std::int32_t inRow, const CodeRanges& inRanges,
                         const PlanarRow& outRow);
using StoreRow = void (*)(const PlanarRow& inRow, const CodeRanges& inRanges,
                          const Destination& outPicture, std::int32_t inRowNumber);

/// How rows of one format are read and written.
struct RowAccess {
    LoadRow load = nullptr;
    StoreRow store = nullptr;
    CodeRanges ranges{};

    void Load(const Source& inPicture, std::int32_t inRow, const PlanarRow& outRow) const {
        load(inPicture, inRow, ranges, outRow);
    }
    void Store(const PlanarRow& inRow, const Destination& outPicture,
               std::int32_t inRowNumber) const {
        store(inRow, ranges, outPicture, inRowNumber);
    }
};

/// The functions are null for a layout that has no rows to load. Planar layouts have no function to
/// store: see PlanarStore.
RowAccess AccessTo(const Format& inFormat);

/// The same without vectors, for the ends of rows and to hold vectors against.
RowAccess PlainAccessTo(const Format& inFormat);

/// The shape of a row as it is loaded; no alpha plane when alpha means nothing.
RowShape LoadedShape(const Format& inFormat, std::int32_t inWidth);

/// Copies the units of one row of inWidth pixels. The rows may overlap.
void CopyRow(const Format& inFormat, std::int32_t inWidth, const std::byte* inRow,
             std::byte* outRow);

/// Clears the samples of a v210 row's last unit that belong to none of inWidth pixels. Rows of
/// other formats have none.
void ClearUnused(const Format& inFormat, std::int32_t inWidth, std::byte* ioRow);

}  // namespace scanvo
