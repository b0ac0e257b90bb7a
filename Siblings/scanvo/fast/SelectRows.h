// Two rows of one format brought together under a mask.
#pragma once

#include <cstddef>
#include <cstdint>

namespace scanvo {

/// Takes from the first row what inMask selects and from the second what it does not. The output
/// may be an input.
using SelectRow = void (*)(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                           std::size_t inBytes, const std::uint8_t* inMask);

/// The mask is 0x00 or 0xFF for every 4 bytes of the row, and readable for 64 bytes more.
SelectRow FindSelectWords();

/// The mask has the bits to be taken, as many as the row, and is readable for 64 bytes more.
SelectRow FindSelectBits();

constexpr std::size_t kSelectMaskPadding = 64;

}  // namespace scanvo
