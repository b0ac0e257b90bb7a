// From Y'CbCr to pixels of four bytes: chroma spread as Chroma.h does it, then RGB or 4:4:4 codes.
// Compiled once for each instruction set that has vectors.
#if defined(SCANVO_FAST_SPREAD_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SCANVO_FAST_SPREAD_ROWS_INL_H_
#undef SCANVO_FAST_SPREAD_ROWS_INL_H_
#else
#define SCANVO_FAST_SPREAD_ROWS_INL_H_
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "fast/ColourLanes-inl.h"
#include "fast/ColourNumbers.h"

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace scanvo::HWY_NAMESPACE {

// ---- Packing ------------------------------------------------------------------------------------

// Every block of 128 bits becomes the bytes of its lanes in inLow, then of those in inHigh.
HWY_INLINE Bytes PackBlocks(SignedWords inLow, SignedWords inHigh) {
#if HWY_TARGET == HWY_AVX3_DL
    return Bytes{_mm512_packus_epi16(inLow.raw, inHigh.raw)};
#elif HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(inLow.raw, inHigh.raw)};
#else
    const hn::Half<decltype(kBytes)> half;
    return hn::Combine(kBytes, hn::DemoteTo(half, inHigh), hn::DemoteTo(half, inLow));
#endif
}

/// PixelsAtATime() pixels, one byte in each lane.
///
/// Lanes have the order of the row where there are instructions that choose from two vectors at
/// will. Elsewhere they have split order: with the pixels in groups of four, block k of 128 bits
/// has group k and group k plus the number of blocks. From that, interleaving within blocks makes
/// pixels in the order of the row.
struct PixelLanes {
    SignedWords red, green, blue, alpha;
};

#if HWY_TARGET == HWY_AVX3_DL

HWY_INLINE Words ToLaneOrder(Words inWords) {
    return inWords;
}

/// Indices for choosing from two vectors: the second begins at the number of lanes in the first.
template <class Index>
struct Choice {
    alignas(64) Index indices[64 / sizeof(Index)];
};

HWY_INLINE Words Chosen(Words inFirst, Words inSecond, const Choice<std::uint16_t>& inChoice) {
    return Words{_mm512_permutex2var_epi16(inFirst.raw, hn::Load(kWords, inChoice.indices).raw,
                                           inSecond.raw)};
}

HWY_INLINE Bytes Chosen(Bytes inFirst, Bytes inSecond, const Choice<std::uint8_t>& inChoice) {
    return Bytes{_mm512_permutex2var_epi8(inFirst.raw, hn::Load(kBytes, inChoice.indices).raw,
                                          inSecond.raw)};
}

// Pixels from inFirst on out of two packed vectors, the first with bytes 0 and 1 of each.
constexpr Choice<std::uint8_t> PixelChoice(std::size_t inFirst) {
    Choice<std::uint8_t> choice{};
    for (std::size_t i = 0; i < 64; ++i) {
        const std::size_t pixel = inFirst + i / 4;
        const std::size_t place = pixel / 8 * 16 + pixel % 8 + i % 2 * 8 + i % 4 / 2 * 64;
        choice.indices[i] = static_cast<std::uint8_t>(place);
    }
    return choice;
}
// Of two vectors with chroma in turns, Cb or Cr for every pixel: from the first vector where the
// pair begins, from the second between it and the next.
constexpr Choice<std::uint16_t> ChromaChoice(std::size_t inPlace) {
    Choice<std::uint16_t> choice{};
    for (std::size_t i = 0; i < 32; ++i)
        choice.indices[i] = static_cast<std::uint16_t>(i / 2 * 2 + inPlace + i % 2 * 32);
    return choice;
}

constexpr Choice<std::uint16_t> kCbChoice = ChromaChoice(0);
constexpr Choice<std::uint16_t> kCrChoice = ChromaChoice(1);
constexpr Choice<std::uint8_t> kFirstPixels = PixelChoice(0);
constexpr Choice<std::uint8_t> kSecondPixels = PixelChoice(16);

/// Stores the bytes of each pixel one after the other.
HWY_INLINE void StoreLanes(SignedWords inByte0, SignedWords inByte1, SignedWords inByte2,
                           SignedWords inByte3, std::uint8_t* outPixels) {
    const Bytes first = PackBlocks(inByte0, inByte1);
    const Bytes second = PackBlocks(inByte2, inByte3);
    hn::StoreU(Chosen(first, second, kFirstPixels), kBytes, outPixels);
    hn::StoreU(Chosen(first, second, kSecondPixels), kBytes, outPixels + hn::Lanes(kBytes));
}

#else

HWY_INLINE Words ToLaneOrder(Words inWords) {
#if HWY_MAX_BYTES == 16
    return inWords;
#else
    constexpr hn::Repartition<std::uint64_t, decltype(kWords)> kGroups;
    constexpr std::uint64_t kBlocks = hn::MaxLanes(kGroups) / 2;
    HWY_ALIGN static constexpr std::uint64_t kOrder[] = {0, kBlocks,     1, kBlocks + 1,
                                                         2, kBlocks + 2, 3, kBlocks + 3};
    return hn::BitCast(kWords, hn::TableLookupLanes(hn::BitCast(kGroups, inWords),
                                                    hn::SetTableIndices(kGroups, kOrder)));
#endif
}

/// Stores the bytes of each pixel one after the other.
HWY_INLINE void StoreLanes(SignedWords inByte0, SignedWords inByte1, SignedWords inByte2,
                           SignedWords inByte3, std::uint8_t* outPixels) {
    const Bytes even = PackBlocks(inByte0, inByte2);
    const Bytes odd = PackBlocks(inByte1, inByte3);
    const Words low = hn::BitCast(kWords, hn::InterleaveLower(kBytes, even, odd));
    const Words high = hn::BitCast(kWords, hn::InterleaveUpper(kBytes, even, odd));
    hn::StoreU(hn::BitCast(kBytes, hn::InterleaveLower(kWords, low, high)), kBytes, outPixels);
    hn::StoreU(hn::BitCast(kBytes, hn::InterleaveUpper(kWords, low, high)), kBytes,
               outPixels + hn::Lanes(kBytes));
}

#endif

/// Stores blue, green, red, alpha, which are also the places of V, U, Y', A; or alpha, red, green,
/// blue.
template <bool isAlphaFirst>
HWY_INLINE void StorePixels(const PixelLanes& inLanes, std::uint8_t* outPixels) {
    if (isAlphaFirst) {
        StoreLanes(inLanes.alpha, inLanes.red, inLanes.green, inLanes.blue, outPixels);
    } else {
        StoreLanes(inLanes.blue, inLanes.green, inLanes.red, inLanes.alpha, outPixels);
    }
}

// ---- Loading ------------------------------------------------------------------------------------

/// PixelsAtATime() pixels in the order of PixelLanes: 8-bit codes times 256, whose lower bits may
/// be in use; chroma as it is in memory. Alpha is a byte.
struct CodeLanes {
    Words luma, cb, cr, alpha;
};

/// From words in the order of the row: chroma has Cb in the first pixel of a pair and Cr in the
/// second; next chroma is that of the pair one further.
HWY_INLINE CodeLanes WithSpreadChroma(Words inLuma, Words inChroma, Words inNextChroma) {
    const Words alpha = hn::Set(kWords, 0xFF);
#if HWY_TARGET == HWY_AVX3_DL
    const Words between = hn::AverageRound(inChroma, inNextChroma);
    return {inLuma, Chosen(inChroma, between, kCbChoice), Chosen(inChroma, between, kCrChoice),
            alpha};
#else
    const Words chroma = ToLaneOrder(inChroma);
    const Words between = hn::AverageRound(chroma, ToLaneOrder(inNextChroma));
    const Words first = hn::BitCast(kWords, hn::ShiftLeft<16>(hn::BitCast(kPixels, between)));
    const Words second = hn::BitCast(kWords, hn::ShiftRight<16>(hn::BitCast(kPixels, chroma)));
    return {ToLaneOrder(inLuma), hn::OddEven(first, chroma), hn::OddEven(between, second), alpha};
#endif
}

/// Reads UYVY or YUYV, and one unit more than it gives pixels of.
template <bool isLumaFirst>
class UnitLoader {
  public:
    static constexpr std::size_t kUnitBytes = 4;
    static constexpr std::size_t kUnitPixels = 2;
    static constexpr std::size_t kUnitsBeyond = 1;

    explicit UnitLoader(const std::uint8_t* inRow) : row_(inRow) {}

    HWY_INLINE CodeLanes At(std::size_t inX) const {
        const Words here = WordsAt(row_ + 2 * inX);
        const Words next = WordsAt(row_ + 2 * inX + kUnitBytes);
        return WithSpreadChroma(isLumaFirst ? LowBytes(here) : HighBytes(here), Chroma(here),
                                Chroma(next));
    }

  private:
    static HWY_INLINE Words WordsAt(const std::uint8_t* inBytes) {
        return hn::BitCast(kWords, hn::LoadU(kBytes, inBytes));
    }
    // Codes times 256.
    static HWY_INLINE Words HighBytes(Words inWords) {
        return hn::And(inWords, hn::Set(kWords, 0xFF00));
    }
    static HWY_INLINE Words LowBytes(Words inWords) { return hn::ShiftLeft<8>(inWords); }
    static HWY_INLINE Words Chroma(Words inWords) {
        return isLumaFirst ? HighBytes(inWords) : LowBytes(inWords);
    }

    const std::uint8_t* row_;
};

/// Reads two rows of UYVY or YUYV, and gives the means of two by two pixels, one for each unit.
/// Reads one unit more than that. Chroma is spread first: half of what a unit's second pixel has is
/// that of the next unit.
template <bool isLumaFirst>
class HalvingLoader {
  public:
    static constexpr std::size_t kUnitBytes = 4;
    static constexpr std::size_t kUnitPixels = 1;
    static constexpr std::size_t kUnitsBeyond = 1;

    HalvingLoader(const std::uint8_t* inFirst, const std::uint8_t* inSecond)
        : first_(inFirst), second_(inSecond) {}

    HWY_INLINE CodeLanes At(std::size_t inX) const {
        const Sum low = SumAt(4 * inX);
        const Sum high = SumAt(4 * inX + hn::Lanes(kBytes));
        const Words cb = hn::ConcatEven(kWords, high.chroma, low.chroma);
        const Words cr = hn::ConcatOdd(kWords, high.chroma, low.chroma);
        const Words luma = hn::Add(hn::ConcatEven(kWords, high.luma, low.luma),
                                   hn::ConcatOdd(kWords, high.luma, low.luma));
        return {ToLaneOrder(hn::ShiftLeft<6>(luma)), ToLaneOrder(hn::ShiftLeft<5>(cb)),
                ToLaneOrder(hn::ShiftLeft<5>(cr)), hn::Set(kWords, 0xFF)};
    }

  private:
    /// Of both rows: luma pixel by pixel, and eight times the mean chroma of each unit.
    struct Sum {
        Words luma, chroma;
    };

    HWY_INLINE Sum SumAt(std::size_t inByte) const {
        const Words first = WordsAt(first_ + inByte);
        const Words second = WordsAt(second_ + inByte);
        const Words nextFirst = WordsAt(first_ + inByte + kUnitBytes);
        const Words nextSecond = WordsAt(second_ + inByte + kUnitBytes);
        const Words chroma = hn::Add(Chroma(first), Chroma(second));
        const Words nextChroma = hn::Add(Chroma(nextFirst), Chroma(nextSecond));
        return {hn::Add(Luma(first), Luma(second)),
                hn::Add(hn::Add(chroma, nextChroma), hn::Add(chroma, chroma))};
    }

    static HWY_INLINE Words WordsAt(const std::uint8_t* inBytes) {
        return hn::BitCast(kWords, hn::LoadU(kBytes, inBytes));
    }
    static HWY_INLINE Words LowBytes(Words inWords) {
        return hn::And(inWords, hn::Set(kWords, 0x00FF));
    }
    static HWY_INLINE Words Luma(Words inWords) {
        return isLumaFirst ? LowBytes(inWords) : hn::ShiftRight<8>(inWords);
    }
    static HWY_INLINE Words Chroma(Words inWords) {
        return isLumaFirst ? hn::ShiftRight<8>(inWords) : LowBytes(inWords);
    }

    const std::uint8_t* first_;
    const std::uint8_t* second_;
};

/// Reads V, U, Y', A pixels.
class VuyaLoader {
  public:
    static constexpr std::size_t kUnitBytes = 4;
    static constexpr std::size_t kUnitPixels = 1;
    static constexpr std::size_t kUnitsBeyond = 0;

    explicit VuyaLoader(const std::uint8_t* inRow) : row_(inRow) {}

    HWY_INLINE CodeLanes At(std::size_t inX) const {
        const Bytes first = hn::LoadU(kBytes, row_ + 4 * inX);
        const Bytes second = hn::LoadU(kBytes, row_ + 4 * inX + hn::Lanes(kBytes));
#if HWY_TARGET == HWY_AVX3_DL
        const Words chroma =
            hn::ConcatEven(kWords, hn::BitCast(kWords, second), hn::BitCast(kWords, first));
        const Words others =
            hn::ConcatOdd(kWords, hn::BitCast(kWords, second), hn::BitCast(kWords, first));
#else
        constexpr hn::Repartition<std::uint64_t, decltype(kBytes)> kGroups;
        const auto firstHalves = hn::BitCast(kGroups, WithHalvesApart(first));
        const auto secondHalves = hn::BitCast(kGroups, WithHalvesApart(second));
        const Words chroma =
            hn::BitCast(kWords, hn::InterleaveLower(kGroups, firstHalves, secondHalves));
        const Words others =
            hn::BitCast(kWords, hn::InterleaveUpper(kGroups, firstHalves, secondHalves));
#endif
        return {hn::ShiftLeft<8>(others), hn::And(chroma, hn::Set(kWords, 0xFF00)),
                hn::ShiftLeft<8>(chroma), hn::ShiftRight<8>(others)};
    }

  private:
    // Of four pixels first the halves with chroma, then the others.
    static HWY_INLINE Bytes WithHalvesApart(Bytes inPixels) {
        HWY_ALIGN static constexpr std::uint8_t kOrder[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                              2, 3, 6, 7, 10, 11, 14, 15};
        return hn::TableLookupBytes(inPixels, hn::LoadDup128(kBytes, kOrder));
    }

    const std::uint8_t* row_;
};

// ---- Colour -------------------------------------------------------------------------------------

HWY_INLINE SignedWords Centred(Words inChroma) {
    return hn::BitCast(kSignedWords, hn::Xor(inChroma, hn::Set(kWords, 0x8000)));
}

HWY_INLINE SignedWords Multiplied(SignedWords inChroma, int inNumber) {
    return hn::MulFixedPoint15(inChroma,
                               hn::Set(kSignedWords, static_cast<std::int16_t>(inNumber)));
}

HWY_INLINE SignedWords ColourOf(SignedWords inLuma, SignedWords inChroma) {
    return hn::ShiftRight<RgbNumbers::kFractionBits>(hn::SaturatedAdd(inLuma, inChroma));
}

template <const RgbNumbers& kNumbers>
struct ToRgb {
    static HWY_INLINE PixelLanes Convert(const CodeLanes& inCodes) {
        const Words product =
            hn::MulHigh(inCodes.luma, hn::Set(kWords, static_cast<std::uint16_t>(kNumbers.luma)));
        const SignedWords luma =
            hn::Add(hn::BitCast(kSignedWords, product),
                    hn::Set(kSignedWords, static_cast<std::int16_t>(kNumbers.lumaOffset)));
        const SignedWords cb = Centred(inCodes.cb);
        const SignedWords cr = Centred(inCodes.cr);
        const SignedWords green =
            hn::Add(Multiplied(cb, kNumbers.greenOfCb), Multiplied(cr, kNumbers.greenOfCr));
        return {ColourOf(luma, Multiplied(cr, kNumbers.redOfCr)), ColourOf(luma, green),
                ColourOf(luma, Multiplied(cb, kNumbers.blueOfCb)),
                hn::BitCast(kSignedWords, inCodes.alpha)};
    }
};

HWY_INLINE Words RoundedByte(Words inCode) {
    return hn::ShiftRight<8>(hn::SaturatedAdd(inCode, hn::Set(kWords, 0x80)));
}

/// Y' in place of red, Cb of green, Cr of blue.
struct ToCodes {
    static HWY_INLINE PixelLanes Convert(const CodeLanes& inCodes) {
        return {hn::BitCast(kSignedWords, RoundedByte(inCodes.luma)),
                hn::BitCast(kSignedWords, RoundedByte(inCodes.cb)),
                hn::BitCast(kSignedWords, RoundedByte(inCodes.cr)),
                hn::BitCast(kSignedWords, inCodes.alpha)};
    }
};

// ---- Rows ---------------------------------------------------------------------------------------

/// How pixels are stored.
enum class PixelForm { Alpha, Opaque, AlphaFirst, OpaqueFirst };

template <class Colour, PixelForm kForm>
HWY_INLINE void SpreadVector(CodeLanes inCodes, std::uint8_t* outPixels) {
    constexpr bool kIsAlphaFirst =
        kForm == PixelForm::AlphaFirst || kForm == PixelForm::OpaqueFirst;
    if (kForm == PixelForm::Opaque || kForm == PixelForm::OpaqueFirst) {
        inCodes.alpha = hn::Set(kWords, 0xFF);
    }
    StorePixels<kIsAlphaFirst>(Colour::Convert(inCodes), outPixels);
}

/// The loader may read whole vectors, and what it reads beyond them, past the last pixel.
template <class Colour, PixelForm kForm, class Loader>
HWY_INLINE void SpreadPart(const Loader& inLoader, std::size_t inCount, std::uint8_t* outPixels) {
    const std::size_t step = PixelsAtATime();
    std::size_t x = 0;
    for (; x + step <= inCount; x += step) {
        SpreadVector<Colour, kForm>(inLoader.At(x), outPixels + 4 * x);
    }
    if (x == inCount) return;
    HWY_ALIGN std::uint8_t pixels[4 * kMostPixels];
    SpreadVector<Colour, kForm>(inLoader.At(x), pixels);
    std::memcpy(outPixels + 4 * x, pixels, 4 * (inCount - x));
}

/// The end of a row, from pixel inFirst on, going on with its last unit.
template <class Loader>
class RowEnd {
  public:
    RowEnd(const std::byte* inRow, std::size_t inFirst, std::size_t inWidth) {
        constexpr std::size_t kUnitBytes = Loader::kUnitBytes;
        constexpr std::size_t kUnitPixels = Loader::kUnitPixels;
        const std::size_t bytes = (inWidth - inFirst + kUnitPixels - 1) / kUnitPixels * kUnitBytes;
        std::memcpy(units_, inRow + inFirst / kUnitPixels * kUnitBytes, bytes);
        std::memcpy(units_ + bytes, units_ + bytes - kUnitBytes, kUnitBytes);
    }

    const std::uint8_t* Units() const { return units_; }

  private:
    std::uint8_t units_[(kMostPixels / Loader::kUnitPixels + 1) * Loader::kUnitBytes] = {};
};

/// Pixels that can be read from the row itself: it has units for all that is read with them.
template <class Loader>
HWY_INLINE std::size_t DirectPixels(std::size_t inWidth) {
    return (inWidth - Loader::kUnitsBeyond) / PixelsAtATime() * PixelsAtATime();
}

template <class Loader, class Colour, PixelForm kForm>
void RowToPixels(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    auto* const out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t direct = DirectPixels<Loader>(width);
    SpreadPart<Colour, kForm>(Loader(reinterpret_cast<const std::uint8_t*>(inRow)), direct, out);
    if (direct == width) return;
    const RowEnd<Loader> end(inRow, direct, width);
    SpreadPart<Colour, kForm>(Loader(end.Units()), width - direct, out + 4 * direct);
}

template <class Loader, class Colour, PixelForm kForm>
void RowsToHalfPixels(const std::byte* inFirst, const std::byte* inSecond, std::byte* outRow,
                      std::int32_t inWidth) {
    auto* const out = reinterpret_cast<std::uint8_t*>(outRow);
    const auto width = static_cast<std::size_t>(inWidth);
    const std::size_t direct = DirectPixels<Loader>(width);
    SpreadPart<Colour, kForm>(Loader(reinterpret_cast<const std::uint8_t*>(inFirst),
                                     reinterpret_cast<const std::uint8_t*>(inSecond)),
                              direct, out);
    if (direct == width) return;
    const RowEnd<Loader> first(inFirst, direct, width);
    const RowEnd<Loader> second(inSecond, direct, width);
    SpreadPart<Colour, kForm>(Loader(first.Units(), second.Units()), width - direct,
                              out + 4 * direct);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
