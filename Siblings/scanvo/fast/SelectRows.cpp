// This file is compiled once for each instruction set; Highway includes it again for every one.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3)
// The fallback for all operations, rather than the one for single lanes.
#define HWY_BROKEN_EMU128 0
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fast/SelectRows.cpp"
#include <hwy/foreach_target.h>
// That must come before this.
#include <hwy/highway.h>

#include "fast/ByteVectors-inl.h"
#include "fast/SelectRows.h"

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

HWY_INLINE Bytes SelectBytes(Bytes inMask, Bytes inFirst, Bytes inSecond) {
    return hn::Or(hn::And(inMask, inFirst), hn::AndNot(inMask, inSecond));
}

void SelectWords(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                 std::size_t inBytes, const std::uint8_t* inMask) {
    const hn::Repartition<std::int32_t, ByteTag> wide;
    const hn::Rebind<std::int8_t, decltype(wide)> narrow;
    const auto* const mask = reinterpret_cast<const std::int8_t*>(inMask);
    CombineBytes(inFirst, inSecond, outRow, inBytes,
                 [=](Bytes first, Bytes second, std::size_t at) HWY_ATTR {
                     const auto selected = hn::PromoteTo(wide, hn::LoadU(narrow, mask + at / 4));
                     return SelectBytes(hn::BitCast(ByteTag(), selected), first, second);
                 });
}

void SelectBits(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                std::size_t inBytes, const std::uint8_t* inMask) {
    CombineBytes(inFirst, inSecond, outRow, inBytes,
                 [=](Bytes first, Bytes second, std::size_t at) HWY_ATTR {
                     return SelectBytes(hn::LoadU(ByteTag(), inMask + at), first, second);
                 });
}

SelectRow SelectWordsOf() {
    return SelectWords;
}

SelectRow SelectBitsOf() {
    return SelectBits;
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace scanvo {
namespace {

HWY_EXPORT(SelectWordsOf);
HWY_EXPORT(SelectBitsOf);

}  // namespace

SelectRow FindSelectWords() {
    return HWY_DYNAMIC_DISPATCH(SelectWordsOf)();
}

SelectRow FindSelectBits() {
    return HWY_DYNAMIC_DISPATCH(SelectBitsOf)();
}

}  // namespace scanvo

#endif
