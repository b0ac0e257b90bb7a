// What a format code means: its bits as a value, and the sizes that follow from them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "contracts/ScanvoFormats.h"

namespace scanvo {

enum class Colour { Rgb, YCbCr, LinearRgb };
enum class Alpha { None, Straight, Premultiplied, Ignored };
enum class Layout { Packed4444, Packed422, Compressed, Planar };
enum class Component { Unsigned8, Unsigned10, Unsigned15, Float };
enum class Matrix { Bt601, Bt709 };

/// Which rows of pixels a row of chroma belongs to.
enum class ChromaRows {
    Each,      ///< every row of pixels has one
    Between,   ///< one for two rows of the picture, half way between them (H.262, frame pictures)
    OfFields,  ///< one for two rows of a field, a quarter of the way from the first of them to the
               ///< second (H.262, field pictures)
    InTurns,   ///< one for two rows of a field, Cr on the first and Cb on the second (IEC 61834-2)
};

/// Where the chroma samples lie. Along a row, one lies on the first of the pixels that share it.
struct ChromaGrid {
    int columnShift = 0;  ///< one for 2^columnShift pixels
    ChromaRows rows = ChromaRows::Each;

    bool operator==(const ChromaGrid&) const = default;
};

/// Where the samples of a component lie in a planar picture: which plane, counted in memory, has
/// them, and in each of its rows the bytes to the first one and from one to the next.
struct PlanePlace {
    std::int8_t plane, first, step;

    bool operator==(const PlanePlace&) const = default;
};
using PlanePlaces = std::array<PlanePlace, 3>;

struct Format {
    Colour colour = Colour::Rgb;
    Alpha alpha = Alpha::None;
    Layout layout = Layout::Packed4444;
    Component component = Component::Unsigned8;
    Matrix matrix = Matrix::Bt601;
    /// ARGB instead of BGRA, Y' before chroma instead of after it.
    bool isReversed = false;
    ChromaGrid chroma;
    /// Of Y', Cb and Cr where the layout is planar. Y' has the first plane to itself.
    PlanePlaces planes{};
    /// 1 to 8 for what is compressed or was, else 0.
    int dvKind = 0;
    /// Pixels that share one unit of memory, and its bytes; 0 for formats without units.
    int unitPixels = 0;
    int unitBytes = 0;

    bool operator==(const Format&) const = default;
};

/// Nothing for every code that is not one of the renderer's formats.
std::optional<Format> DecodeFormat(SV_PixelFormat inCode);

/// Whether the rows of a picture lie at a row-byte count from one another.
bool HasAddressableRows(const Format& inFormat);

/// Whether there is one chroma sample for two pixels of a row or fewer.
bool HasHalfChroma(const Format& inFormat);

/// Whether pixels carry an alpha that means something.
bool HasAlpha(const Format& inFormat);

/// Packed 4:4:4:4 pixels of the same colour that have no alpha and hold all that this format does:
/// 8-bit or float ones.
Format SinglePixels(const Format& inFormat);

/// Bytes from a row's start to the end of the last unit that holds any of inWidth pixels.
std::int64_t UsedRowBytes(const Format& inFormat, std::int32_t inWidth);

/// Bytes of the shortest row of a picture of that width; for v210 a multiple of 128 bytes.
std::int64_t TightRowBytes(const Format& inFormat, std::int32_t inWidth);

/// Bytes of a tight picture, 0 when the size is not positive or the count does not fit.
std::int64_t PictureBytes(const Format& inFormat, std::int32_t inWidth, std::int32_t inHeight);

constexpr std::int32_t HalfOf(std::int32_t inCount) {
    return inCount / 2 + inCount % 2;
}

/// Samples of one chroma row of a 4:2:2 or 4:2:0 picture.
constexpr std::int32_t HalfWidth(std::int32_t inWidth) {
    return HalfOf(inWidth);
}

constexpr std::int32_t ChromaWidth(const Format& inFormat, std::int32_t inWidth) {
    for (int i = 0; i < inFormat.chroma.columnShift; ++i)
        inWidth = HalfOf(inWidth);
    return inWidth;
}

constexpr std::int32_t ChromaHeight(const Format& inFormat, std::int32_t inHeight) {
    return inFormat.chroma.rows == ChromaRows::Each ? inHeight : HalfOf(inHeight);
}

/// 10-bit samples from a v210 row's start to the last one that inWidth pixels need. The samples of
/// a row are in the order Cb Y' Cr Y', three to a word.
constexpr std::int64_t V210Samples(std::int32_t inWidth) {
    return 2 * std::int64_t{inWidth} + inWidth % 2;
}

}  // namespace scanvo
