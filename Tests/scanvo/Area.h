// Pictures to test with: formats by the bits of their codes, what the standards say a colour is in
// each, in double precision, what memory holds, and areas in the middle of bytes that no operation
// may touch. Written from the formulas and the layouts, apart from the renderer.
#pragma once

#include <hwy/targets.h>
#include <cmath>

#include "contracts/Scanvo.h"
#include "support/Testing.h"

namespace scanvo_test {

// ---- Formats and colours ------------------------------------------------------------------------

struct FormatCode {
    constexpr FormatCode(std::uint32_t inBits) : bits(inBits) {}
    constexpr operator SV_PixelFormat() const { return static_cast<SV_PixelFormat>(bits); }

    bool Is422() const { return (bits & 0x30) == 0x10; }
    bool IsV210() const { return (bits & 0x1C0) == 0x40; }
    bool Is15Bit() const { return (bits & 0x1C0) == 0x80; }
    bool IsFloat() const { return (bits & 0x100) != 0; }
    bool IsYCbCr() const { return (bits & 3) == 1; }
    bool IsLinear() const { return (bits & 3) == 2; }
    bool IsBt709() const { return (bits & 0x200) != 0; }
    bool IsReversed() const { return (bits & 0x1000) != 0; }
    bool IsPremultiplied() const { return (bits & 0xC) == 8; }
    bool HoldsAlpha() const { return (bits & 0xC) == 4 || IsPremultiplied(); }

    /// Bytes of the units that the pixels of a row lie in.
    std::int64_t RowLength(std::int32_t inWidth) const {
        if (IsV210()) return (inWidth + 5) / 6 * 16;
        if (Is422()) return (inWidth + 1) / 2 * 4;
        return std::int64_t{inWidth} * (IsFloat() ? 16 : Is15Bit() ? 8 : 4);
    }

    std::uint32_t bits;
};

/// Every format whose rows can be addressed.
constexpr FormatCode kPackedFormats[] = {
    0x004,  0x008,  0x00C, 0x1004, 0x1008, 0x100C, 0x084,  0x088, 0x08C, 0x1084, 0x1088,
    0x108C, 0x104,  0x108, 0x10C,  0x1104, 0x1108, 0x110C, 0x106, 0x10A, 0x10E,  0x1106,
    0x110A, 0x110E, 0x005, 0x009,  0x00D,  0x205,  0x209,  0x20D, 0x105, 0x109,  0x10D,
    0x305,  0x309,  0x30D, 0x011,  0x211,  0x1011, 0x1211, 0x051, 0x251};

/// R'G'B' and straight alpha, 0 to 1.
struct Rgba {
    double red, green, blue, alpha;
};

/// Red, green, blue or Y', Cb, Cr, then alpha, as codes of the format before rounding.
using Codes = std::array<double, 4>;

inline Codes ExactCodes(FormatCode inFormat, const Rgba& inColour) {
    auto [red, green, blue, alpha] = inColour;
    if (!inFormat.HoldsAlpha()) alpha = 1;
    Codes codes = {red, green, blue, alpha};
    const double kr = inFormat.IsBt709() ? 0.2126 : 0.299;
    const double kb = inFormat.IsBt709() ? 0.0722 : 0.114;
    if (inFormat.IsYCbCr()) {
        const double luma = kr * red + (1 - kr - kb) * green + kb * blue;
        codes = {luma, (blue - luma) / (2 * (1 - kb)), (red - luma) / (2 * (1 - kr)), alpha};
    }
    for (std::size_t i = 0; i < 3; ++i) {
        double& code = codes[i];
        if (inFormat.IsLinear()) {
            code = code <= 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4);
        }
        if (inFormat.IsPremultiplied()) code *= alpha;
    }
    if (inFormat.IsFloat()) return codes;
    if (inFormat.IsYCbCr()) {
        const double step = inFormat.IsV210() ? 4 : 1;
        return {step * (16 + 219 * codes[0]), step * (128 + 224 * codes[1]),
                step * (128 + 224 * codes[2]), 255 * alpha};
    }
    for (double& code : codes)
        code *= inFormat.Is15Bit() ? 32768 : 255;
    return codes;
}

// ---- Memory -------------------------------------------------------------------------------------

template <class Value>
double Load(const std::byte* inRow, std::size_t inIndex) {
    Value value;
    std::memcpy(&value, inRow + inIndex * sizeof(Value), sizeof(Value));
    return static_cast<double>(value);
}

inline double V210Sample(const std::byte* inRow, std::size_t inIndex) {
    std::uint32_t word;
    std::memcpy(&word, inRow + inIndex / 3 * 4, 4);
    return word >> inIndex % 3 * 10 & 0x3FF;
}

/// What memory holds for pixel inX of a row, in the order of Codes; alpha is 255 where a 4:2:2
/// format has none.
inline Codes StoredCodes(FormatCode inFormat, const std::byte* inRow, std::size_t inX) {
    if (inFormat.Is422()) {
        const auto sample = inFormat.IsV210() ? V210Sample : Load<std::uint8_t>;
        const std::size_t unit = inX / 2 * 4;
        const std::size_t luma = inFormat.IsReversed() ? 0 : 1;
        const std::size_t chroma = 1 - luma;
        return {sample(inRow, unit + inX % 2 * 2 + luma), sample(inRow, unit + chroma),
                sample(inRow, unit + chroma + 2), 255};
    }
    const auto component = inFormat.IsFloat()   ? Load<float>
                           : inFormat.Is15Bit() ? Load<std::uint16_t>
                                                : Load<std::uint8_t>;
    const auto at = [&](std::size_t inPlace) { return component(inRow, inX * 4 + inPlace); };
    if (inFormat.IsReversed()) return {at(1), at(2), at(3), at(0)};
    return {at(2), at(1), at(0), at(3)};
}

// ---- Areas --------------------------------------------------------------------------------------

enum class RowOrder { Down, Up };

/// A picture in the middle of bytes that no operation may touch.
class Area {
  public:
    Area(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight,
         RowOrder inOrder = RowOrder::Down)
        : format_(inFormat), width_(inWidth), height_(inHeight) {
        rowLength_ = inFormat.RowLength(inWidth);
        const std::int64_t distance = rowLength_ + kPadding;
        bytes_.assign(static_cast<std::size_t>(distance * inHeight + kPadding), kGuard);
        rowBytes_ = inOrder == RowOrder::Down ? distance : -distance;
        first_ = kPadding + (inOrder == RowOrder::Down ? 0 : distance * (inHeight - 1));
    }

    FormatCode Format() const { return format_; }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }
    std::int64_t RowBytes() const { return rowBytes_; }
    std::int64_t RowLength() const { return rowLength_; }
    std::byte* Start() { return bytes_.data() + first_; }

    // As the calls want them.
    auto Rows() { return std::tuple(Start(), rowBytes_); }
    auto Memory() { return std::tuple(Start(), rowBytes_, format_); }
    auto Size() const { return std::tuple(width_, height_); }
    auto Sized() { return std::tuple(Start(), rowBytes_, width_, height_, format_); }

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

    /// Bits that look random and are the same in every run.
    void Scatter(std::uint32_t inSeed = 12345) {
        std::mt19937 random(inSeed);
        for (std::int32_t row = 0; row < height_; ++row) {
            for (std::int32_t i = 0; i < rowLength_ / 4; ++i)
                Set(row, i, static_cast<std::uint32_t>(random()));
        }
    }

    /// Nothing outside the rows has changed, and inExpected finds the codes of a pixel by its
    /// index.
    template <class Expected>
    void ExpectPixels(double inTolerance, const Expected& inExpected) const {
        ExpectGuardsIntact();
        const std::vector<Codes> pixels = Pixels();
        for (std::size_t i = 0; i < 4 * pixels.size(); ++i) {
            ASSERT_NEAR(pixels[i / 4][i % 4], inExpected(i / 4)[i % 4], inTolerance)
                << std::hex << "format 0x" << format_.bits << std::dec << " width " << width_
                << " pixel " << i / 4 << " component " << i % 4;
        }
    }

    void ExpectLike(const std::vector<Codes>& inPixels, double inTolerance) const {
        ExpectPixels(inTolerance, [&](std::size_t pixel) { return inPixels[pixel]; });
    }

    void ExpectFilled(const Codes& inCodes, double inTolerance) const {
        ExpectPixels(inTolerance, [&](std::size_t) { return inCodes; });
    }

    void ExpectGuardsIntact() const {
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(bytes_.size()); ++i) {
            if (i >= kPadding && (i - kPadding) % (rowLength_ + kPadding) < rowLength_) continue;
            ASSERT_EQ(bytes_[static_cast<std::size_t>(i)], kGuard)
                << std::hex << "format 0x" << format_.bits << ", width " << width_ << ": byte "
                << i;
        }
    }

  private:
    static constexpr std::byte kGuard{0xEE};
    // Odd, so that rows of every format also start at odd addresses.
    static constexpr std::int64_t kPadding = 37;

    FormatCode format_;
    std::int32_t width_, height_;
    std::int64_t rowLength_, rowBytes_, first_;
    std::vector<std::byte> bytes_;
};

/// How far a code may lie from the exact value.
inline double Rounding(FormatCode inFormat) {
    return inFormat.IsFloat() ? 1e-5 : 0.501;
}

/// Calls with the elements of tuples as arguments of their own.
template <class... Parameters, class... Parts>
std::int32_t Call(std::int32_t (*inFunction)(Parameters...), const Parts&... inParts) {
    const auto elements = [](const auto& part) {
        if constexpr (requires { std::tuple_size<std::decay_t<decltype(part)>>::value; })
            return part;
        else
            return std::tuple(part);
    };
    return std::apply(inFunction, std::tuple_cat(elements(inParts)...));
}

inline Area Converted(Area& inSource, FormatCode inFormat, RowOrder inOrder = RowOrder::Down) {
    Area result(inFormat, inSource.Width(), inSource.Height(), inOrder);
    EXPECT_EQ(Call(SV_Convert, inSource.Memory(), result.Memory(), result.Size(), 4), 0);
    result.ExpectGuardsIntact();
    return result;
}

/// What looks random in codes of 8 bits, in a format.
inline Area RandomArea(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight,
                       std::uint32_t inSeed) {
    Area codes(0x004, inWidth, inHeight);
    codes.Scatter(inSeed);
    return Converted(codes, inFormat, RowOrder::Up);
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

/// Runs the work once for every instruction set that this machine has, and for the fallback.
template <class Work>
void ForEachTarget(const Work& inWork) {
    const std::int64_t all = hwy::SupportedTargets();
    for (std::int64_t left = all; left != 0; left &= left - 1) {
        const std::int64_t target = left & -left;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::GetChosenTarget().Update(target);
        inWork();
    }
    hwy::GetChosenTarget().Update(all);
}

}  // namespace scanvo_test
