// The vectors of the roads that change colour. Compiled once for each instruction set that has
// vectors.
#if defined(SCANVO_FAST_COLOUR_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_COLOUR_LANES_INL_H_
#undef SCANVO_FAST_COLOUR_LANES_INL_H_
#else
#define SCANVO_FAST_COLOUR_LANES_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<std::uint8_t> kBytes;
constexpr hn::ScalableTag<std::uint16_t> kWords;
constexpr hn::ScalableTag<std::int16_t> kSignedWords;
constexpr hn::ScalableTag<std::uint32_t> kPixels;
constexpr hn::ScalableTag<std::int32_t> kSums;

using Bytes = hn::Vec<decltype(kBytes)>;
using Words = hn::Vec<decltype(kWords)>;
using SignedWords = hn::Vec<decltype(kSignedWords)>;
using Pixels = hn::Vec<decltype(kPixels)>;
using Sums = hn::Vec<decltype(kSums)>;

/// Bounds for stack buffers.
constexpr std::size_t kMostPixels = HWY_MAX_BYTES / sizeof(std::uint16_t);

/// Pixels that the functions below convert at a time.
HWY_INLINE std::size_t PixelsAtATime() {
    return hn::Lanes(kWords);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
