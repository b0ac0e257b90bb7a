#include "operations/MaskComposite.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "operations/Selection.h"

namespace scanvo {
namespace {

constexpr std::int32_t kByteBits = 8;

using EightBytes = std::array<std::uint8_t, kByteBits>;

// The bytes 0x00 or 0xFF of eight pixels by their bits.
constexpr auto kBytesOfBits = [] {
    std::array<EightBytes, 256> table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits) {
        for (std::size_t i = 0; i < kByteBits; ++i)
            table[bits][i] = (bits << i & 0x80) != 0 ? 0xFF : 0x00;
    }
    return table;
}();

// Writes a byte for every pixel and some more, up to a multiple of eight.
void SpreadBits(const std::byte* inBits, std::int32_t inFirstBit, std::int32_t inWidth,
                std::uint8_t* outBytes) {
    const std::int64_t lastByte = (std::int64_t{inFirstBit} + inWidth - 1) / kByteBits;
    const auto byteAt = [&](std::int64_t index) {
        return std::to_integer<unsigned>(inBits[std::min(index, lastByte)]);
    };
    for (std::int64_t i = 0; i * kByteBits < inWidth; ++i) {
        const unsigned both = byteAt(i) << kByteBits | byteAt(i + 1);
        const EightBytes& bytes = kBytesOfBits[both >> (kByteBits - inFirstBit) & 0xFF];
        std::memcpy(outBytes + i * kByteBits, bytes.data(), bytes.size());
    }
}

}  // namespace

void CompositeByMask(const Source& inFirst, const Source& inSecond, const BitMask& inMask,
                     const Destination& outDestination) {
    const auto maskOfRow = [&](std::int32_t row, std::uint8_t* outPixels) {
        SpreadBits(inMask.start + inMask.rowBytes * row, inMask.firstBit, outDestination.width,
                   outPixels);
    };
    SelectPixels(inFirst, inSecond, maskOfRow, outDestination);
}

}  // namespace scanvo
