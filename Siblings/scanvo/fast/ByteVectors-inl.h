// Rows taken as vectors of bytes. Included once for each instruction set, inside a file that
// Highway includes again for every one.
#if defined(SCANVO_BYTE_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_BYTE_VECTORS_INL_H_
#undef SCANVO_BYTE_VECTORS_INL_H_
#else
#define SCANVO_BYTE_VECTORS_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using ByteTag = hn::ScalableTag<std::uint8_t>;
using Bytes = hn::Vec<ByteTag>;

HWY_INLINE const std::uint8_t* AsBytes(const std::byte* inRow) {
    return reinterpret_cast<const std::uint8_t*>(inRow);
}

HWY_INLINE std::uint8_t* AsBytes(std::byte* inRow) {
    return reinterpret_cast<std::uint8_t*>(inRow);
}

/// Writes inWork(bytes, their offset) for every vector of a row. The output may be the input.
template <class Work>
HWY_INLINE void TransformBytes(const std::byte* inRow, std::byte* outRow, std::size_t inCount,
                               const Work& inWork) {
    const ByteTag tag;
    const std::uint8_t* const in = AsBytes(inRow);
    std::uint8_t* const out = AsBytes(outRow);
    const std::size_t lanes = hn::Lanes(tag);
    std::size_t i = 0;
    for (; i + lanes <= inCount; i += lanes)
        hn::StoreU(inWork(hn::LoadU(tag, in + i), i), tag, out + i);
    if (i == inCount) return;
    HWY_ALIGN std::uint8_t tail[HWY_MAX_BYTES] = {};
    std::memcpy(tail, in + i, inCount - i);
    hn::Store(inWork(hn::Load(tag, tail), i), tag, tail);
    std::memcpy(out + i, tail, inCount - i);
}

/// Writes inWork(first bytes, second bytes, their offset). The output may be an input.
template <class Work>
HWY_INLINE void CombineBytes(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                             std::size_t inCount, const Work& inWork) {
    const ByteTag tag;
    const std::uint8_t* const first = AsBytes(inFirst);
    const std::uint8_t* const second = AsBytes(inSecond);
    std::uint8_t* const out = AsBytes(outRow);
    const std::size_t lanes = hn::Lanes(tag);
    std::size_t i = 0;
    for (; i + lanes <= inCount; i += lanes)
        hn::StoreU(inWork(hn::LoadU(tag, first + i), hn::LoadU(tag, second + i), i), tag, out + i);
    if (i == inCount) return;
    HWY_ALIGN std::uint8_t tails[2][HWY_MAX_BYTES] = {};
    std::memcpy(tails[0], first + i, inCount - i);
    std::memcpy(tails[1], second + i, inCount - i);
    hn::Store(inWork(hn::Load(tag, tails[0]), hn::Load(tag, tails[1]), i), tag, tails[0]);
    std::memcpy(out + i, tails[0], inCount - i);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
