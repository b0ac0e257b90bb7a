// Alpha set, and 8-bit rows darkened, without leaving their format.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace scanvo {

/// Bytes that repeat along a row.
using PixelPattern = std::array<std::uint8_t, 16>;

/// Writes (in & inKept) ^ inFlipped. The output may be the input.
using ReplaceBits = void (*)(const std::byte* inRow, std::byte* outRow, std::size_t inBytes,
                             const PixelPattern& inKept, const PixelPattern& inFlipped);
ReplaceBits FindReplaceBits();

/// What becomes of the 8-bit codes of a row: black + (code - black) * alpha * opacity.
struct Darkening {
    static constexpr int kNoAlpha = -1;

    /// The place of alpha in every four bytes.
    int alphaPlace = kNoAlpha;
    /// Between 0 and 1.
    float opacity = 1;
    PixelPattern black{};
    /// Bits set afterwards: those of an alpha that is to be opaque.
    PixelPattern opaque{};
};

/// The output may be the input. Rounded to nearest: exactly at full opacity, to 1/100 code else.
using DarkenRow = void (*)(const std::byte* inRow, std::byte* outRow, std::size_t inBytes,
                           const Darkening& inDarkening);
DarkenRow FindDarkenRow(const Darkening& inDarkening);

}  // namespace scanvo
