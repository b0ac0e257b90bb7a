// What a format code means: its bits as a value, and the sizes that follow from them.
#pragma once

#include <cstdint>
#include <optional>

#include "contracts/Scanvo.h"

namespace scanvo {

enum class Colour { Rgb, YCbCr, LinearRgb };
enum class Alpha { None, Straight, Premultiplied, Ignored };
/// The last two have no code of their own: they are what compressed pictures are decoded into.
enum class Layout { Packed4444, Packed422, Compressed, Planar420, Planar422, Planar411 };
enum class Component { Unsigned8, Unsigned10, Unsigned15, Float };
enum class Matrix { Bt601, Bt709 };

struct Format {
    Colour colour = Colour::Rgb;
    Alpha alpha = Alpha::None;
    Layout layout = Layout::Packed4444;
    Component component = Component::Unsigned8;
    Matrix matrix = Matrix::Bt601;
    /// ARGB instead of BGRA, Y' before chroma instead of after it.
    bool isReversed = false;
    /// The DV kind (1 to 8, kept in the format of the decoded picture) or 4:2:0 kind (9 field
    /// pictures, 10 frame picture), 0 for packed ones.
    int kind = 0;
    /// Pixels that share one unit of memory, and its bytes; 0 for formats without units.
    int unitPixels = 0;
    int unitBytes = 0;

    bool operator==(const Format&) const = default;
};

/// Nothing for every code that is not one of the renderer's formats.
std::optional<Format> DecodeFormat(SV_PixelFormat inCode);

/// Whether the rows of a picture lie at a row-byte count from one another.
bool HasAddressableRows(const Format& inFormat);

/// Whether pixels lie in a plane each for Y', Cb and Cr.
bool IsPlanar(const Format& inFormat);

/// Whether there is one chroma sample for two pixels of a row or fewer.
bool HasHalfChroma(const Format& inFormat);

/// Whether pixels carry an alpha that means something.
bool HasAlpha(const Format& inFormat);

/// Bytes from a row's start to the end of the last unit that holds any of inWidth pixels.
std::int64_t UsedRowBytes(const Format& inFormat, std::int32_t inWidth);

/// Bytes of the shortest row of a picture of that width; for v210 a multiple of 128 bytes.
std::int64_t TightRowBytes(const Format& inFormat, std::int32_t inWidth);

/// The only size that pictures of a DV kind have.
struct DvSize {
    std::int32_t width, height;
};
DvSize SizeOfDv(const Format& inFormat);

/// Bytes of a tight picture, 0 when the size is not positive or the count does not fit.
std::int64_t PictureBytes(const Format& inFormat, std::int32_t inWidth, std::int32_t inHeight);

/// Samples of one chroma row of a 4:2:2 or 4:2:0 picture.
constexpr std::int32_t HalfWidth(std::int32_t inWidth) {
    return inWidth / 2 + inWidth % 2;
}

/// 10-bit samples from a v210 row's start to the last one that inWidth pixels need. The samples of
/// a row are in the order Cb Y' Cr Y', three to a word.
constexpr std::int64_t V210Samples(std::int32_t inWidth) {
    return 2 * std::int64_t{inWidth} + inWidth % 2;
}

}  // namespace scanvo
