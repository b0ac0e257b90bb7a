// The bytes of a fuzzer's input as numbers, choices and contents of memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <vector>

#include "VideoFrame/PixelFormatUtilities.h"

namespace fuzz {

/// Memory that ends where its size says, so that the address sanitizer sees every step beyond.
using Bytes = std::vector<std::uint8_t>;

inline constexpr tulomediatypes::PixelFormat kCustom{tulomediatypes::FourCC("_cus"), 0};

/// Hands out the input from its first byte on, and zeros behind its last one: short inputs stand
/// for whole calls.
class Input {
  public:
    Input(const std::uint8_t* inData, std::size_t inSize) : left_(inData, inSize) {}

    bool IsEmpty() const { return left_.empty(); }

    template <class Value>
    Value Take() {
        Value value{};
        const std::size_t count = std::min(sizeof value, left_.size());
        if (count != 0) std::memcpy(&value, left_.data(), count);
        left_ = left_.subspan(count);
        return value;
    }

    bool Flag() { return Take<std::uint8_t>() % 2 != 0; }

    /// A number from inFirst to inLast, which are less than 65,536 apart.
    template <class Number = std::int32_t>
    Number Between(std::int32_t inFirst, std::int32_t inLast) {
        const std::int32_t count = inLast - inFirst + 1;
        const std::int32_t drawn = count <= 256 ? Take<std::uint8_t>() : Take<std::uint16_t>();
        return static_cast<Number>(inFirst + drawn % count);
    }

    template <class Choices>
    const auto& OneOf(const Choices& inChoices) {
        const auto last = static_cast<std::int32_t>(std::size(inChoices)) - 1;
        return *std::next(std::begin(inChoices), Between(0, last));
    }

    /// About the size of the pictures; its sides are anything now and then.
    template <class AnyRect>
    AnyRect Rect() {
        AnyRect rect{};
        for (std::int32_t* const side : {&rect.left, &rect.top, &rect.right, &rect.bottom})
            *side = Between(0, 7) == 7 ? Take<std::int32_t>() : Between(-4, 70);
        return rect;
    }

    /// A named format; a custom one in the place of those of DV, whose frames are large.
    tulomediatypes::PixelFormat Format() {
        const tulomediatypes::PixelFormat format =
            OneOf(tulomediatypes::NamedPixelFormats()).format;
        return tulomediatypes::PixelFormatSize(format, 1, 1) > 1000 ? kCustom : format;
    }

    Bytes Rest() { return {left_.begin(), left_.end()}; }

    /// So many bytes: a few of the input, over and over.
    Bytes Pattern(std::int64_t inCount) {
        const std::size_t period = Between<std::size_t>(1, 32);
        Bytes bytes(static_cast<std::size_t>(inCount));
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = i < period ? Take<std::uint8_t>() : bytes[i - period];
        return bytes;
    }

  private:
    std::span<const std::uint8_t> left_;
};

/// What a target does with an input. Broken contracts and the exceptions of the library may leave
/// it.
void Run(Input inInput);

}  // namespace fuzz
