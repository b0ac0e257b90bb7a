#include "raster/MaskedCopy.h"

#include <algorithm>

#include "VideoFrame/Raster.h"
#include "raster/PixelLoops.h"

namespace VF {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::int32_t kPixelsOfByte = 8;

// ---------------------------------------------------------------------------------------------
// Masks of one bit

/// For every byte of a mask, eight words that are all ones where its bit is set.
using SpreadBits = std::array<std::array<std::uint32_t, kPixelsOfByte>, 256>;

constexpr SpreadBits MakeSpreadBits() {
    SpreadBits spread{};
    for (std::size_t byte = 0; byte < spread.size(); ++byte) {
        for (std::size_t bit = 0; bit < kPixelsOfByte; ++bit)
            spread[byte][bit] = (byte >> (7 - bit) & 1) != 0 ? 0xFFFFFFFF : 0;
    }
    return spread;
}

alignas(64) constexpr SpreadBits kSpreadBits = MakeSpreadBits();

/// Eight mask bits of a line, from pixel inX on; bits beyond the line's end are clear. No byte
/// without a bit of the line is read.
class MaskLine {
  public:
    MaskLine(const std::uint8_t* inPlace, std::int32_t inBit, std::int32_t inWidth)
        : place_(inPlace), bit_(inBit), width_(inWidth) {}

    std::uint32_t EightFrom(std::int32_t inX) const {
        const std::int32_t left = width_ - inX;
        const std::uint8_t* const byte = place_ + (inX + bit_) / kPixelsOfByte;
        std::uint32_t bits = std::uint32_t{byte[0]} << bit_;
        if (bit_ != 0 && left > kPixelsOfByte - bit_)
            bits |= std::uint32_t{byte[1]} >> (kPixelsOfByte - bit_);
        bits &= 0xFF;
        return left < kPixelsOfByte ? bits & (0xFF00U >> left) : bits;
    }

  private:
    const std::uint8_t* place_;
    std::int32_t bit_;
    std::int32_t width_;
};

/// Calls inEight(first pixel, its bits) for every eight pixels of every line that have bits set.
template <class Eight>
inline void ForEveryEight(std::int32_t inWidth, std::int32_t inHeight, const MaskBits& inMask,
                          const Eight& inEight) {
    for (std::int32_t y = 0; y < inHeight; ++y) {
        const MaskLine line(inMask.place + y * inMask.lineBytes, inMask.bit, inWidth);
        for (std::int32_t x = 0; x < inWidth; x += kPixelsOfByte) {
            if (const std::uint32_t bits = line.EightFrom(x)) inEight(y, x, bits);
        }
    }
}

/// All eight pixels must be there.
inline void SelectEight(const std::uint8_t* inSource, std::uint8_t* ioDestination,
                        std::uint32_t inBits) {
    const auto& masks = kSpreadBits[inBits];
    std::uint32_t source[kPixelsOfByte];
    std::uint32_t destination[kPixelsOfByte];
    std::memcpy(source, inSource, sizeof source);
    std::memcpy(destination, ioDestination, sizeof destination);
    for (std::size_t i = 0; i < kPixelsOfByte; ++i)
        destination[i] = (source[i] & masks[i]) | (destination[i] & ~masks[i]);
    std::memcpy(ioDestination, destination, sizeof destination);
}

template <class Work>
inline void ForEverySetBit(std::uint32_t inBits, const Work& inWork) {
    for (std::size_t i = 0; i < kPixelsOfByte; ++i) {
        if ((inBits >> (7 - i) & 1) != 0) inWork(i);
    }
}

}  // namespace

BlendTable::BlendTable(std::uint32_t inOpacity, std::uint32_t inRounding) {
    for (std::uint32_t value = 0; value < 256; ++value) {
        ofSource_[value] = static_cast<std::uint8_t>((inOpacity * value + inRounding) / 255);
        ofDestination_[value] =
            static_cast<std::uint8_t>((value * (255 - inOpacity) + inRounding) / 255);
    }
}

VF_PIXEL_LOOP void CopyThroughBits(const PixelLines& inSource, const PixelLines& ioDestination,
                                   std::int32_t inWidth, std::int32_t inHeight,
                                   const MaskBits& inMask) {
    ForEveryEight(
        inWidth, inHeight, inMask, [&](std::int32_t y, std::int32_t x, std::uint32_t bits) {
            const std::int64_t offset = std::int64_t{kPixelBytes} * x;
            const std::uint8_t* const source = inSource.start + y * inSource.stride + offset;
            std::uint8_t* const destination =
                ioDestination.start + y * ioDestination.stride + offset;
            if (x + kPixelsOfByte > inWidth) {
                ForEverySetBit(bits, [&](std::size_t i) {
                    std::memcpy(destination + kPixelBytes * i, source + kPixelBytes * i,
                                kPixelBytes);
                });
            } else if (bits == 0xFF) {
                std::memcpy(destination, source, kPixelBytes * kPixelsOfByte);
            } else {
                SelectEight(source, destination, bits);
            }
        });
}

void BlendThroughBits(const PixelLines& inSource, const PixelLines& ioDestination,
                      std::int32_t inWidth, std::int32_t inHeight, const MaskBits& inMask,
                      const BlendTable& inTable) {
    ForEveryEight(
        inWidth, inHeight, inMask, [&](std::int32_t y, std::int32_t x, std::uint32_t bits) {
            const std::int64_t offset = std::int64_t{kPixelBytes} * x;
            const std::uint8_t* const source = inSource.start + y * inSource.stride + offset;
            std::uint8_t* const destination =
                ioDestination.start + y * ioDestination.stride + offset;
            ForEverySetBit(bits, [&](std::size_t i) {
                for (std::size_t byte = kPixelBytes * i; byte < kPixelBytes * (i + 1); ++byte)
                    destination[byte] = inTable.Mixed(source[byte], destination[byte]);
            });
        });
}

// ---------------------------------------------------------------------------------------------
// Masks of eight bits

namespace {

/// One colour byte: s + floor((d - s) * k / 256), for k = 255 - m.
inline std::uint32_t MixedColour(std::uint32_t inSource, std::uint32_t inDestination,
                                 std::uint32_t inKept) {
    return (inSource * (256 - inKept) + inDestination * inKept) >> 8;
}

inline std::uint32_t MixedPixel(std::uint32_t inSource, std::uint32_t inDestination,
                                std::uint32_t inMask) {
    const std::uint32_t kept = 255 - inMask;
    std::uint32_t mixed = 0;
    for (const int shift : {0, 8, 16}) {
        mixed |= MixedColour(inSource >> shift & 255, inDestination >> shift & 255, kept) << shift;
    }
    const std::uint32_t alpha = inDestination >> 24;
    mixed |= (alpha + (((255 - alpha) * (inSource >> 24) * kept) >> 16)) << 24;
    return inMask == 0 ? inDestination : inMask == 255 ? inSource : mixed;
}

VF_PIXEL_LOOP void CopyRowThroughBytes(const std::uint8_t* inSource,
                                       std::uint8_t* __restrict ioDestination,
                                       const std::uint8_t* inMask, std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto source = LoadWord<std::uint32_t>(inSource + kPixelBytes * x);
        const auto destination = LoadWord<std::uint32_t>(ioDestination + kPixelBytes * x);
        StoreWord(MixedPixel(source, destination, inMask[x]), ioDestination + kPixelBytes * x);
    }
}

}  // namespace
}  // namespace VF

void CopyMask8(const void* inSource, void* ioDestination, std::int32_t inWidth,
               std::int32_t inHeight, std::int32_t inSourceStride, std::int32_t inDestinationStride,
               std::int32_t inMaskStride, const std::uint8_t* inMaskLine) {
    if (inWidth <= 0) return;
    for (std::int64_t y = 0; y < inHeight; ++y) {
        VF::CopyRowThroughBytes(VF::AsBytes(inSource) + y * inSourceStride,
                                VF::AsBytes(ioDestination) + y * inDestinationStride,
                                inMaskLine - y * inMaskStride, static_cast<std::size_t>(inWidth));
    }
}
