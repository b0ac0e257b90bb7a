// A picture in the middle of bytes that no operation may touch.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ExactColour.h"

namespace scanvo_test {

enum class RowOrder { Down, Up };

/// Bytes that the pixels of a row lie in, by the layouts.
inline std::int64_t RowLength(std::uint32_t inCode, std::int32_t inWidth) {
    constexpr std::int64_t kV210Words[] = {0, 1, 2, 3, 3, 4};
    if (IsV210(inCode)) return inWidth / 6 * 16 + kV210Words[inWidth % 6] * 4;
    if (Is422(inCode)) return (inWidth + 1) / 2 * 4;
    return std::int64_t{inWidth} * (IsFloat(inCode) ? 16 : (inCode & 0x80) != 0 ? 8 : 4);
}

class Area {
  public:
    Area(std::uint32_t inCode, std::int32_t inWidth, std::int32_t inHeight,
         RowOrder inOrder = RowOrder::Down)
        : code_(inCode),
          width_(inWidth),
          height_(inHeight),
          rowLength_(RowLength(inCode, inWidth)) {
        const std::int64_t distance = rowLength_ + kPadding;
        bytes_.assign(static_cast<std::size_t>(distance * inHeight + kPadding), kGuard);
        rowBytes_ = inOrder == RowOrder::Down ? distance : -distance;
        first_ = kPadding + (inOrder == RowOrder::Down ? 0 : distance * (inHeight - 1));
    }

    std::byte* Start() { return bytes_.data() + first_; }
    std::byte* Row(std::int32_t inRow) { return Start() + rowBytes_ * inRow; }
    std::int64_t RowBytes() const { return rowBytes_; }
    std::int64_t RowLengthBytes() const { return rowLength_; }
    SV_PixelFormat Format() const { return Code(code_); }
    std::uint32_t FormatBits() const { return code_; }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }

    Codes At(std::int32_t inX, std::int32_t inRow) {
        return StoredCodes(code_, Row(inRow), static_cast<std::size_t>(inX));
    }

    template <class Value>
    void Set(std::int32_t inRow, std::int32_t inIndex, Value inValue) {
        std::memcpy(Row(inRow) + std::int64_t{inIndex} * std::int64_t{sizeof(Value)}, &inValue,
                    sizeof(Value));
    }

    /// Bytes that look random and are the same in every run. Floats become 0 to 1.
    void Scatter(std::uint32_t inSeed = 12345) {
        std::uint32_t state = inSeed;
        const auto next = [&state] { return (state = state * 1664525 + 1013904223) >> 8; };
        for (std::int32_t row = 0; row < height_; ++row) {
            if (IsFloat(code_)) {
                for (std::int32_t i = 0; i < rowLength_ / 4; ++i) {
                    Set(row, i, static_cast<float>(next() & 0xFFFF) / 65535.0f);
                }
                continue;
            }
            for (std::int32_t i = 0; i < rowLength_; ++i) {
                Set(row, i, static_cast<std::uint8_t>(next() >> 8));
            }
        }
    }

    /// Fails the test when a byte outside the rows has changed.
    void ExpectGuardsIntact() const {
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(bytes_.size()); ++i) {
            if (i >= kPadding && (i - kPadding) % (rowLength_ + kPadding) < rowLength_) continue;
            ASSERT_EQ(bytes_[static_cast<std::size_t>(i)], kGuard)
                << std::hex << "format 0x" << code_ << std::dec << " width " << width_ << ": byte "
                << i;
        }
    }

  private:
    static constexpr std::byte kGuard{0xEE};
    // Odd, so that rows of every format also start at odd addresses.
    static constexpr std::int64_t kPadding = 37;

    std::uint32_t code_;
    std::int32_t width_;
    std::int32_t height_;
    std::int64_t rowLength_;
    std::int64_t rowBytes_ = 0;
    std::int64_t first_ = 0;
    std::vector<std::byte> bytes_;
};

inline std::int32_t Convert(Area& inSource, Area& outDestination) {
    return SV_Convert(inSource.Start(), inSource.RowBytes(), inSource.Format(),
                      outDestination.Start(), outDestination.RowBytes(), outDestination.Format(),
                      outDestination.Width(), outDestination.Height(), 4);
}

inline std::int32_t Scale(Area& inSource, Area& outDestination, std::int32_t inQuality,
                          std::uint32_t inFieldType = 0) {
    return SV_ScaleConvert(inSource.Start(), inSource.RowBytes(), inSource.Width(),
                           inSource.Height(), inSource.Format(), inFieldType,
                           outDestination.Start(), outDestination.RowBytes(),
                           outDestination.Width(), outDestination.Height(), outDestination.Format(),
                           inFieldType, inQuality);
}

/// An area of linear or non-linear colour from straight float ARGB, one pixel after the other.
inline Area AreaOf(const std::vector<Rgba>& inPixels) {
    Area area(0x1104, static_cast<std::int32_t>(inPixels.size()), 1);
    std::int32_t index = 0;
    for (const Rgba& pixel : inPixels) {
        for (const double value : {pixel.alpha, pixel.red, pixel.green, pixel.blue}) {
            area.Set(0, index++, static_cast<float>(value));
        }
    }
    return area;
}

}  // namespace scanvo_test
