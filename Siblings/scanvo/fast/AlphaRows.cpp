// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
// The fallback for all operations, rather than the one for single lanes.
#define HWY_BROKEN_EMU128 0
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/AlphaRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include <algorithm>

#include "fast/AlphaRows.h"
#include "fast/ByteVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

using Words16 = hn::Repartition<std::uint16_t, ByteTag>;

void ReplaceRowBits(const std::byte* inRow, std::byte* outRow, std::size_t inBytes,
                    const PixelPattern& inKept, const PixelPattern& inFlipped) {
    const auto kept = hn::LoadDup128(ByteTag(), inKept.data());
    const auto flipped = hn::LoadDup128(ByteTag(), inFlipped.data());
    TransformBytes(inRow, outRow, inBytes, [=](Bytes bytes, std::size_t) HWY_ATTR {
        return hn::Xor(hn::And(bytes, kept), flipped);
    });
}

// Moves the alpha of a pixel to each 16-bit half of it; indices from 0x80 on give 0.
PixelPattern AlphaIndices(int inPlace) {
    PixelPattern indices;
    indices.fill(0x80);
    if (inPlace == Darkening::kNoAlpha) return indices;
    for (std::size_t i = 0; i < indices.size(); i += 2)
        indices[i] = static_cast<std::uint8_t>(i / 4 * 4 + static_cast<std::size_t>(inPlace));
    return indices;
}

// Every other byte is a 16-bit lane: first those with even offsets, then the odd ones.
template <bool hasBlack, bool hasOpacity>
void DarkenBytes(const std::byte* inRow, std::byte* outRow, std::size_t inBytes,
                 const Darkening& inDarkening) {
    const ByteTag bytesTag;
    const Words16 tag;
    const PixelPattern indexPattern = AlphaIndices(inDarkening.alphaPlace);
    const auto indices = hn::LoadDup128(bytesTag, indexPattern.data());
    const auto opaque = hn::LoadDup128(bytesTag, inDarkening.opaque.data());
    const auto black = hn::BitCast(tag, hn::LoadDup128(bytesTag, inDarkening.black.data()));
    const bool hasAlpha = inDarkening.alphaPlace != Darkening::kNoAlpha;
    const auto constantAlpha = hn::Set(tag, static_cast<std::uint16_t>(hasAlpha ? 0 : 255));
    const int opacityWeight = static_cast<int>(inDarkening.opacity * 65536.0f + 0.5f);
    const auto opacity = hn::Set(tag, static_cast<std::uint16_t>(std::min(opacityWeight, 65535)));
    const auto low = hn::Set(tag, std::uint16_t{0xFF});
    const auto half = hn::Set(tag, std::uint16_t{128});

    using Lanes = hn::Vec<Words16>;
    const auto product = [=](Lanes codes, Lanes alpha) HWY_ATTR {
        const Lanes times = hn::Mul(codes, alpha);
        if constexpr (hasOpacity) {
            return hn::MulHigh(times, opacity);
        } else {
            return times;
        }
    };
    // The low byte of each lane is left over from the division by 255.
    const auto darken = [=](Lanes codes, Lanes alpha, Lanes blackCodes) HWY_ATTR {
        Lanes sum = product(codes, alpha);
        if constexpr (hasBlack) {
            const Lanes full = hn::Sub(hn::ShiftLeft<8>(blackCodes), blackCodes);
            sum = hn::Add(sum, hn::Sub(full, product(blackCodes, alpha)));
        }
        const Lanes rounded = hn::Add(sum, half);
        return hn::Add(rounded, hn::ShiftRight<8>(rounded));
    };
    TransformBytes(inRow, outRow, inBytes, [=](Bytes bytes, std::size_t) HWY_ATTR {
        const Lanes codes = hn::BitCast(tag, bytes);
        const auto alphaBytes = hn::TableLookupBytesOr0(bytes, indices);
        const Lanes alpha = hn::Or(hn::BitCast(tag, alphaBytes), constantAlpha);
        const Lanes even = darken(hn::And(codes, low), alpha, hn::And(black, low));
        const Lanes odd = darken(hn::ShiftRight<8>(codes), alpha, hn::ShiftRight<8>(black));
        const Lanes both = hn::Or(hn::ShiftRight<8>(even), hn::AndNot(low, odd));
        return hn::Or(hn::BitCast(bytesTag, both), opaque);
    });
}

ReplaceBits ReplaceBitsOf() {
    return ReplaceRowBits;
}

DarkenRow DarkenRowOf(bool inHasBlack, bool inHasOpacity) {
    if (inHasBlack) return inHasOpacity ? DarkenBytes<true, true> : DarkenBytes<true, false>;
    return inHasOpacity ? DarkenBytes<false, true> : DarkenBytes<false, false>;
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(ReplaceBitsOf);
HWY_EXPORT(DarkenRowOf);

}  // namespace

ReplaceBits FindReplaceBits() {
    return HWY_DYNAMIC_DISPATCH(ReplaceBitsOf)();
}

DarkenRow FindDarkenRow(const Darkening& inDarkening) {
    const bool hasBlack = inDarkening.black != PixelPattern{};
    return HWY_DYNAMIC_DISPATCH(DarkenRowOf)(hasBlack, inDarkening.opacity < 1);
}

}  // namespace scanvo

#endif
