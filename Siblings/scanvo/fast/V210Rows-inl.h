// v210 by way of a chunk of samples: v210 to pixels and to 8-bit 4:2:2, and back. Compiled once for
// each instruction set that has vectors.
#if defined(SCANVO_FAST_V210_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_V210_ROWS_INL_H_
#undef SCANVO_FAST_V210_ROWS_INL_H_
#else
#define SCANVO_FAST_V210_ROWS_INL_H_
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "fast/ColourLanes-inl.h"
#include "fast/HalveRows-inl.h"
#include "fast/SpreadRows-inl.h"
#include "rows/RowLayouts.h"

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

constexpr std::size_t kGroupPixels = 6;
constexpr std::size_t kGroupBytes = 16;

/// Whole vectors and whole groups; small enough for its samples to stay in the nearest cache.
constexpr std::size_t kChunkPixels = 480;
static_assert(kChunkPixels % kMostPixels == 0 && kChunkPixels % kGroupPixels == 0);

constexpr Format kV210{.colour = Colour::YCbCr,
                       .layout = Layout::Packed422,
                       .component = Component::Unsigned10,
                       .chroma = {1, ChromaRows::Each},
                       .unitPixels = kGroupPixels,
                       .unitBytes = kGroupBytes};

// A group at a time.
constexpr hn::Full128<std::uint8_t> kGroupBytesTag;
constexpr hn::Full128<std::uint16_t> kGroupWordsTag;
constexpr hn::Full128<std::uint32_t> kGroupPairsTag;

using GroupWords = hn::Vec<decltype(kGroupWordsTag)>;
using GroupPairs = hn::Vec<decltype(kGroupPairsTag)>;

/// Part of a row, luma and chroma apart: 10-bit codes times 64. Chroma has the order of memory, so
/// that Cb of a pair stands beside its first luma and Cr beside its second.
struct PlanarChunk {
    // Beyond the pixels there is a pair for interpolation, and room to read and write vectors.
    static constexpr std::size_t kRoom = kChunkPixels + kGroupPixels + kMostPixels;

    std::uint16_t luma[kRoom];
    std::uint16_t chroma[kRoom];
};

// ---- Reading v210 -------------------------------------------------------------------------------

/// Takes six samples out of the 32-bit words that hold them three each. A sample begins 0, 10 or 20
/// bits into its word, that is 0, 2 or 4 bits into two of its bytes.
struct SampleChoice {
    HWY_ALIGN std::uint8_t bytes[16];
    HWY_ALIGN std::uint16_t factors[8];
};
constexpr SampleChoice kLumaChoice = {{1, 2, 4, 5, 6, 7, 9, 10, 12, 13, 14, 15, 15, 15, 15, 15},
                                      {16, 64, 4, 16, 64, 4, 0, 0}};
constexpr SampleChoice kChromaChoice = {{0, 1, 2, 3, 5, 6, 8, 9, 10, 11, 13, 14, 15, 15, 15, 15},
                                        {64, 4, 16, 64, 4, 16, 0, 0}};

HWY_INLINE GroupWords SamplesOf(hn::Vec<decltype(kGroupBytesTag)> inGroup,
                                const SampleChoice& inChoice) {
    const auto pairs = hn::BitCast(
        kGroupWordsTag, hn::TableLookupBytes(inGroup, hn::Load(kGroupBytesTag, inChoice.bytes)));
    return hn::And(hn::Mul(pairs, hn::Load(kGroupWordsTag, inChoice.factors)),
                   hn::Set(kGroupWordsTag, 0xFFC0));
}

// Writes two words too many in each array.
HWY_INLINE void UnpackGroup(const std::uint8_t* inGroup, std::uint16_t* outLuma,
                            std::uint16_t* outChroma) {
    const auto group = hn::LoadU(kGroupBytesTag, inGroup);
    hn::StoreU(SamplesOf(group, kLumaChoice), kGroupWordsTag, outLuma);
    hn::StoreU(SamplesOf(group, kChromaChoice), kGroupWordsTag, outChroma);
}

#if HWY_TARGET == HWY_AVX3_DL

// Four groups at a time: 16 words of three samples each. Samples are chosen from two vectors of 32
// numbers by an instruction that Highway does not have.
constexpr std::size_t kBlockPixels = 4 * kGroupPixels;
constexpr std::size_t kBlockBytes = 4 * kGroupBytes;

using WordOrder = std::array<std::uint16_t, 32>;

HWY_INLINE Words Chosen(Words inFirst, Words inSecond, const WordOrder& inOrder) {
    const Words indices = hn::LoadU(kWords, inOrder.data());
    return Words{_mm512_permutex2var_epi16(inFirst.raw, indices.raw, inSecond.raw)};
}

/// From the first and second samples of all words, and the third ones: every other sample.
constexpr WordOrder EveryOtherSample(std::size_t inFirst) {
    WordOrder order{};
    for (std::size_t i = 0; i < kBlockPixels; ++i) {
        const std::size_t sample = 2 * i + inFirst, word = sample / 3, place = sample % 3;
        order[i] = static_cast<std::uint16_t>(2 * word + (place < 2 ? place : 32));
    }
    return order;
}

// Writes eight numbers too many in each array.
HWY_INLINE void UnpackBlock(const std::uint8_t* inBlock, std::uint16_t* outLuma,
                            std::uint16_t* outChroma) {
    static constexpr WordOrder kLuma = EveryOtherSample(1), kChroma = EveryOtherSample(0);
    const Pixels words = hn::BitCast(kPixels, hn::LoadU(kBytes, inBlock));
    const Pixels firsts = hn::And(hn::ShiftLeft<6>(words), hn::Set(kPixels, 0xFFC0));
    const Pixels seconds = hn::And(hn::ShiftLeft<12>(words), hn::Set(kPixels, 0xFFC00000));
    const Pixels thirds = hn::And(hn::ShiftRight<14>(words), hn::Set(kPixels, 0xFFC0));
    const Words low = hn::BitCast(kWords, hn::Or(firsts, seconds));
    const Words high = hn::BitCast(kWords, thirds);
    hn::StoreU(Chosen(low, high, kLuma), kWords, outLuma);
    hn::StoreU(Chosen(low, high, kChroma), kWords, outChroma);
}

#endif

/// Unpacks groups until inCount pixels are done. Writes less than a vector too much in each array.
HWY_INLINE void UnpackGroups(const std::uint8_t* inRow, std::size_t inCount, std::uint16_t* outLuma,
                             std::uint16_t* outChroma) {
    std::size_t x = 0;
#if HWY_TARGET == HWY_AVX3_DL
    for (; x + kBlockPixels <= inCount; x += kBlockPixels)
        UnpackBlock(inRow + x / kBlockPixels * kBlockBytes, outLuma + x, outChroma + x);
#endif
    for (; x < inCount; x += kGroupPixels)
        UnpackGroup(inRow + x / kGroupPixels * kGroupBytes, outLuma + x, outChroma + x);
}

/// Unpacks from inRow on, where the row has inLeft more pixels, as many as a chunk takes and the
/// pair that follows; at the end of the row its last sample goes on.
inline void UnpackChunk(const std::uint8_t* inRow, std::size_t inLeft, PlanarChunk& outChunk) {
    const std::size_t count = std::min(inLeft, kChunkPixels + kGroupPixels);
    UnpackGroups(inRow, count, outChunk.luma, outChunk.chroma);
    if (count < inLeft) return;
    const std::size_t end = count + count % 2;
    outChunk.luma[end - 1] = outChunk.luma[count - 1];
    outChunk.chroma[end] = outChunk.chroma[end - 2];
    outChunk.chroma[end + 1] = outChunk.chroma[end - 1];
}

/// Reads the arrays of a chunk, or such of a whole row.
class SampleLoader {
  public:
    SampleLoader(const std::uint16_t* inLuma, const std::uint16_t* inChroma)
        : luma_(inLuma), chroma_(inChroma) {}

    HWY_INLINE CodeLanes At(std::size_t inX) const {
        return WithSpreadChroma(hn::LoadU(kWords, luma_ + inX), hn::LoadU(kWords, chroma_ + inX),
                                hn::LoadU(kWords, chroma_ + inX + 2));
    }

  private:
    const std::uint16_t* luma_;
    const std::uint16_t* chroma_;
};

template <class Colour, PixelForm kForm>
void V210RowToPixels(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    PlanarChunk chunk{};
    for (std::size_t x = 0; x < width; x += kChunkPixels) {
        UnpackChunk(in + x / kGroupPixels * kGroupBytes, width - x, chunk);
        SpreadPart<Colour, kForm>(SampleLoader(chunk.luma, chunk.chroma),
                                  std::min(kChunkPixels, width - x), out + 4 * x);
    }
}

template <bool isLumaFirst>
HWY_INLINE void NarrowSamples(const std::uint16_t* inLuma, const std::uint16_t* inChroma,
                              std::size_t inCount, std::uint8_t* outUnits) {
    const std::size_t step = PixelsAtATime();
    for (std::size_t x = 0; x < inCount; x += step) {
        const Words luma = RoundedByte(hn::LoadU(kWords, inLuma + x));
        const Words chroma = RoundedByte(hn::LoadU(kWords, inChroma + x));
        const Words units = isLumaFirst ? hn::Or(luma, hn::ShiftLeft<8>(chroma))
                                        : hn::Or(chroma, hn::ShiftLeft<8>(luma));
        if (x + step <= inCount) {
            hn::StoreU(hn::BitCast(kBytes, units), kBytes, outUnits + 2 * x);
        } else {
            HWY_ALIGN std::uint8_t bytes[HWY_MAX_BYTES];
            hn::Store(hn::BitCast(kBytes, units), kBytes, bytes);
            const std::size_t rest = inCount - x;
            std::memcpy(outUnits + 2 * x, bytes, 2 * (rest + rest % 2));
        }
    }
}

template <bool isLumaFirst>
void V210RowToUnits(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    PlanarChunk chunk{};
    for (std::size_t x = 0; x < width; x += kChunkPixels) {
        UnpackChunk(in + x / kGroupPixels * kGroupBytes, width - x, chunk);
        NarrowSamples<isLumaFirst>(chunk.luma, chunk.chroma, std::min(kChunkPixels, width - x),
                                   out + 2 * x);
    }
}

// ---- Writing v210 -------------------------------------------------------------------------------

/// Part of a row: 10-bit codes in the order of v210, with room to write vectors and to read groups.
struct SampleChunk {
    static constexpr std::size_t kRoom = 2 * (kChunkPixels + kMostPixels + kGroupPixels);

    HWY_ALIGN std::uint16_t samples[kRoom];

    std::uint8_t* Bytes() { return reinterpret_cast<std::uint8_t*>(samples); }
};

/// Twelve samples into four words, three each. A vector holds eight: what is in the first words
/// comes from the first eight, what is in the last from the last eight.
HWY_INLINE void PackGroup(const std::uint16_t* inSamples, std::uint8_t* outGroup) {
    constexpr std::uint8_t kNo = 0x80;
    HWY_ALIGN static constexpr std::uint8_t kLowPairs[16] = {0,  1,  2,  3,  6,   7,   8,   9,
                                                             12, 13, 14, 15, kNo, kNo, kNo, kNo};
    HWY_ALIGN static constexpr std::uint8_t kHighPairs[16] = {
        kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, 10, 11, 12, 13};
    HWY_ALIGN static constexpr std::uint8_t kLowThirds[16] = {
        kNo, kNo, 4, 5, kNo, kNo, 10, 11, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo};
    HWY_ALIGN static constexpr std::uint8_t kHighThirds[16] = {
        kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, 8, 9, kNo, kNo, 14, 15};
    const auto low = hn::BitCast(kGroupBytesTag, hn::LoadU(kGroupWordsTag, inSamples));
    const auto high = hn::BitCast(kGroupBytesTag, hn::LoadU(kGroupWordsTag, inSamples + 4));
    const auto chosen = [&](const std::uint8_t* ofLow, const std::uint8_t* ofHigh) HWY_ATTR {
        return hn::BitCast(kGroupPairsTag,
                           hn::Or(hn::TableLookupBytesOr0(low, hn::Load(kGroupBytesTag, ofLow)),
                                  hn::TableLookupBytesOr0(high, hn::Load(kGroupBytesTag, ofHigh))));
    };
    const GroupPairs pairs = chosen(kLowPairs, kHighPairs);
    const GroupPairs thirds = chosen(kLowThirds, kHighThirds);
    const GroupPairs seconds = hn::ShiftLeft<10>(hn::ShiftRight<16>(pairs));
    const GroupPairs firsts = hn::And(pairs, hn::Set(kGroupPairsTag, 0xFFFF));
    const GroupPairs words = hn::Or(hn::Or(firsts, seconds), hn::ShiftLeft<4>(thirds));
    hn::StoreU(hn::BitCast(kGroupBytesTag, words), kGroupBytesTag, outGroup);
}

#if HWY_TARGET == HWY_AVX3_DL

/// Of three samples for each word, the first and second ones, or the third one and anything.
constexpr WordOrder SamplesOfWords(std::size_t inFirst) {
    WordOrder order{};
    for (std::size_t i = 0; i < 32; ++i)
        order[i] = static_cast<std::uint16_t>((i / 2 * 3 + inFirst + i % 2) % 48);
    return order;
}

HWY_INLINE void PackBlock(const std::uint16_t* inSamples, std::uint8_t* outBlock) {
    static constexpr WordOrder kPairs = SamplesOfWords(0), kThirds = SamplesOfWords(2);
    const Words low = hn::LoadU(kWords, inSamples);
    const Words high = hn::LoadU(kWords, inSamples + 32);
    const auto pairs = hn::BitCast(kPixels, Chosen(low, high, kPairs));
    const auto thirds = hn::BitCast(kPixels, Chosen(low, high, kThirds));
    const Pixels firsts = hn::And(pairs, hn::Set(kPixels, 0xFFFF));
    const Pixels seconds = hn::ShiftLeft<10>(hn::ShiftRight<16>(pairs));
    hn::StoreU(hn::BitCast(kBytes, hn::Or3(firsts, seconds, hn::ShiftLeft<20>(thirds))), kBytes,
               outBlock);
}

#endif

inline void PackChunk(const SampleChunk& inChunk, std::size_t inCount, std::uint8_t* outRow) {
    std::size_t x = 0;
#if HWY_TARGET == HWY_AVX3_DL
    for (; x + kBlockPixels <= inCount; x += kBlockPixels)
        PackBlock(inChunk.samples + 2 * x, outRow + x / kBlockPixels * kBlockBytes);
#endif
    for (; x < inCount; x += kGroupPixels)
        PackGroup(inChunk.samples + 2 * x, outRow + x / kGroupPixels * kGroupBytes);
    ClearUnused(kV210, static_cast<std::int32_t>(inCount), reinterpret_cast<std::byte*>(outRow));
}

template <const PixelWeights& kWeights>
void RowToV210(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    SampleChunk chunk{};
    for (std::size_t x = 0; x < width; x += kChunkPixels) {
        const std::size_t count = std::min(kChunkPixels, width - x);
        HalvePart<kWeights, SampleStorer>(in + 4 * x, x == 0, count, chunk.Bytes());
        PackChunk(chunk, count, out + x / kGroupPixels * kGroupBytes);
    }
}

template <bool isLumaFirst>
HWY_INLINE void WidenVector(const std::uint8_t* inUnits, std::uint16_t* outSamples) {
    const hn::Half<decltype(kBytes)> half;
    const Words units = hn::PromoteTo(kWords, hn::LoadU(half, inUnits));
    const Pixels pairs = hn::BitCast(kPixels, units);
    const Words samples = isLumaFirst ? hn::BitCast(kWords, hn::RotateRight<16>(pairs)) : units;
    hn::StoreU(hn::ShiftLeft<2>(samples), kWords, outSamples);
}

template <bool isLumaFirst>
HWY_INLINE void WidenPart(const std::uint8_t* inUnits, std::size_t inBytes,
                          std::uint16_t* outSamples) {
    const std::size_t step = hn::Lanes(kWords);
    std::size_t i = 0;
    for (; i + step <= inBytes; i += step) {
        WidenVector<isLumaFirst>(inUnits + i, outSamples + i);
    }
    if (i == inBytes) return;
    std::uint8_t rest[kMostPixels] = {};
    std::memcpy(rest, inUnits + i, inBytes - i);
    WidenVector<isLumaFirst>(rest, outSamples + i);
}

template <bool isLumaFirst>
void UnitRowToV210(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    SampleChunk chunk{};
    for (std::size_t x = 0; x < width; x += kChunkPixels) {
        const std::size_t count = std::min(kChunkPixels, width - x);
        WidenPart<isLumaFirst>(in + 2 * x, 2 * (count + count % 2), chunk.samples);
        PackChunk(chunk, count, out + x / kGroupPixels * kGroupBytes);
    }
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
