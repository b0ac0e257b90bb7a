// A picture in the middle of bytes that no operation may touch.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "ExactColour.h"

namespace scanvo_test {

enum class RowOrder { Down, Up };

class Area {
  public:
    Area(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight,
         RowOrder inOrder = RowOrder::Down)
        : format_(inFormat),
          width_(inWidth),
          height_(inHeight),
          rowLength_(inFormat.RowLength(inWidth)) {
        const std::int64_t distance = rowLength_ + kPadding;
        bytes_.assign(static_cast<std::size_t>(distance * inHeight + kPadding), kGuard);
        rowBytes_ = inOrder == RowOrder::Down ? distance : -distance;
        first_ = kPadding + (inOrder == RowOrder::Down ? 0 : distance * (inHeight - 1));
    }

    FormatCode Format() const { return format_; }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }
    std::int64_t RowBytes() const { return rowBytes_; }
    std::byte* Start() { return bytes_.data() + first_; }

    Codes At(std::int32_t inX, std::int32_t inRow) const {
        return StoredCodes(format_, bytes_.data() + first_ + rowBytes_ * inRow,
                           static_cast<std::size_t>(inX));
    }

    /// The pixels of all rows, one row after the other.
    std::vector<Codes> Pixels() const {
        std::vector<Codes> pixels;
        for (std::int32_t i = 0; i < width_ * height_; ++i)
            pixels.push_back(At(i % width_, i / width_));
        return pixels;
    }

    template <class Value>
    void Set(std::int32_t inRow, std::int32_t inIndex, Value inValue) {
        std::memcpy(
            Start() + rowBytes_ * inRow + std::int64_t{inIndex} * std::int64_t{sizeof(Value)},
            &inValue, sizeof(Value));
    }

    /// Bits that look random and are the same in every run. Floats become 0 to 1.
    void Scatter(std::uint32_t inSeed = 12345) {
        std::mt19937 random(inSeed);
        for (std::int32_t row = 0; row < height_; ++row) {
            for (std::int32_t i = 0; i < rowLength_ / 4; ++i) {
                const auto bits = static_cast<std::uint32_t>(random());
                if (format_.IsFloat()) {
                    Set(row, i, static_cast<float>(bits & 0xFFFF) / 65535.0f);
                } else {
                    Set(row, i, bits);
                }
            }
        }
    }

    void ExpectFilled(const Codes& inCodes, double inTolerance) const {
        for (const Codes& codes : Pixels()) {
            for (std::size_t i = 0; i < 4; ++i) {
                ASSERT_NEAR(codes[i], inCodes[i], inTolerance)
                    << std::hex << "format 0x" << format_.bits << std::dec << " width " << width_
                    << " component " << i;
            }
        }
    }

    /// Fails the test when a byte outside the rows has changed.
    void ExpectGuardsIntact() const {
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(bytes_.size()); ++i) {
            if (i >= kPadding && (i - kPadding) % (rowLength_ + kPadding) < rowLength_) continue;
            ASSERT_EQ(bytes_[static_cast<std::size_t>(i)], kGuard)
                << std::hex << "format 0x" << format_.bits << std::dec << " width " << width_
                << ": byte " << i;
        }
    }

  private:
    static constexpr std::byte kGuard{0xEE};
    // Odd, so that rows of every format also start at odd addresses.
    static constexpr std::int64_t kPadding = 37;

    FormatCode format_;
    std::int32_t width_;
    std::int32_t height_;
    std::int64_t rowLength_;
    std::int64_t rowBytes_ = 0;
    std::int64_t first_ = 0;
    std::vector<std::byte> bytes_;
};

/// How far a code may lie from the exact value.
inline double Rounding(FormatCode inFormat) {
    return inFormat.IsFloat() ? 1e-5 : 0.501;
}

inline Area Converted(Area& inSource, FormatCode inFormat, RowOrder inOrder = RowOrder::Down) {
    Area result(inFormat, inSource.Width(), inSource.Height(), inOrder);
    EXPECT_EQ(SV_Convert(inSource.Start(), inSource.RowBytes(), inSource.Format(), result.Start(),
                         result.RowBytes(), inFormat, result.Width(), result.Height(), 4),
              0);
    result.ExpectGuardsIntact();
    return result;
}

/// One row of straight float colour.
inline Area AreaOf(const std::vector<Rgba>& inPixels) {
    Area area(0x1104, static_cast<std::int32_t>(inPixels.size()), 1);
    std::int32_t index = 0;
    for (const Rgba& pixel : inPixels) {
        for (const double value : {pixel.alpha, pixel.red, pixel.green, pixel.blue})
            area.Set(0, index++, static_cast<float>(value));
    }
    return area;
}

}  // namespace scanvo_test
