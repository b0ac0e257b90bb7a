// From Y'CbCr to pixels of four bytes: chroma spread as Chroma.h does it, then RGB or 4:4:4 codes.
// Compiled once for
// each instruction set that has vectors.
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
#if HWY_TARGET == HWY_AVX3
HWY_INLINE Bytes PackBlocks(SignedWords inLow, SignedWords inHigh) {
    return Bytes{_mm512_packus_epi16(inLow.raw, inHigh.raw)};
}
#elif HWY_TARGET == HWY_AVX2
HWY_INLINE Bytes PackBlocks(SignedWords inLow, SignedWords inHigh) {
    return Bytes{_mm256_packus_epi16(inLow.raw, inHigh.raw)};
}
#else
HWY_INLINE Bytes PackBlocks(SignedWords inLow, SignedWords inHigh) {
    const hn::Half<decltype(kBytes)> half;
    return hn::Combine(kBytes, hn::DemoteTo(half, inHigh), hn::DemoteTo(half, inLow));
}
#endif

/// PixelsAtATime() pixels, one byte in each lane, in split order: with the pixels in groups of
/// four, block k of 128 bits has group k and group k plus the number of blocks. That is the order
/// from which interleaving within blocks makes pixels in the order of the row.
struct SplitBytes {
    SignedWords red, green, blue, alpha;
};

/// To split order from the order of the row.
HWY_INLINE Words Split(Words inWords) {
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

/// Stores bytes blue, green, red, alpha, which are also the places of V, U, Y', A; or alpha, red,
/// green, blue.
template <bool isAlphaFirst>
HWY_INLINE void StorePixels(const SplitBytes& inBytes, std::uint8_t* outPixels) {
    const Bytes first = isAlphaFirst ? PackBlocks(inBytes.alpha, inBytes.green)
                                     : PackBlocks(inBytes.blue, inBytes.red);
    const Bytes second = isAlphaFirst ? PackBlocks(inBytes.red, inBytes.blue)
                                      : PackBlocks(inBytes.green, inBytes.alpha);
    const Words low = hn::BitCast(kWords, hn::InterleaveLower(kBytes, first, second));
    const Words high = hn::BitCast(kWords, hn::InterleaveUpper(kBytes, first, second));
    hn::StoreU(hn::BitCast(kBytes, hn::InterleaveLower(kWords, low, high)), kBytes, outPixels);
    hn::StoreU(hn::BitCast(kBytes, hn::InterleaveUpper(kWords, low, high)), kBytes,
               outPixels + hn::Lanes(kBytes));
}

// ---- Loading ------------------------------------------------------------------------------------

/// PixelsAtATime() pixels in split order: 8-bit codes times 256, whose lower bits may be in use;
/// chroma as it is in memory. Alpha is a byte.
struct SplitCodes {
    Words luma, cb, cr, alpha;
};

/// From words of chroma in turns, Cb in the first pixel of a pair and Cr in the second, and the
/// same for the pairs one further.
HWY_INLINE SplitCodes WithSpreadChroma(Words inLuma, Words inChroma, Words inNextChroma) {
    const Pixels between = hn::BitCast(kPixels, hn::AverageRound(inChroma, inNextChroma));
    const Pixels here = hn::BitCast(kPixels, inChroma);
    return {
        inLuma, hn::OddEven(hn::BitCast(kWords, hn::ShiftLeft<16>(between)), inChroma),
        hn::OddEven(hn::BitCast(kWords, between), hn::BitCast(kWords, hn::ShiftRight<16>(here))),
        hn::Set(kWords, 0xFF)};
}

/// Reads UYVY or YUYV, and one unit more than it gives pixels of.
template <bool isLumaFirst>
class UnitLoader {
  public:
    static constexpr std::size_t kUnitBytes = 4;
    static constexpr std::size_t kUnitPixels = 2;
    static constexpr std::size_t kUnitsBeyond = 1;

    explicit UnitLoader(const std::uint8_t* inRow) : row_(inRow) {}

    HWY_INLINE SplitCodes At(std::size_t inX) const {
        const Words here = WordsAt(row_ + 2 * inX);
        const Words next = WordsAt(row_ + 2 * inX + kUnitBytes);
        return WithSpreadChroma(isLumaFirst ? LowBytes(here) : HighBytes(here), Chroma(here),
                                Chroma(next));
    }

  private:
    static HWY_INLINE Words WordsAt(const std::uint8_t* inBytes) {
        return Split(hn::BitCast(kWords, hn::LoadU(kBytes, inBytes)));
    }
    static HWY_INLINE Words HighBytes(Words inWords) {
        return hn::And(inWords, hn::Set(kWords, 0xFF00));
    }
    static HWY_INLINE Words LowBytes(Words inWords) { return hn::ShiftLeft<8>(inWords); }
    static HWY_INLINE Words Chroma(Words inWords) {
        return isLumaFirst ? HighBytes(inWords) : LowBytes(inWords);
    }

    const std::uint8_t* row_;
};

/// Reads V, U, Y', A pixels.
class VuyaLoader {
  public:
    static constexpr std::size_t kUnitBytes = 4;
    static constexpr std::size_t kUnitPixels = 1;
    static constexpr std::size_t kUnitsBeyond = 0;

    explicit VuyaLoader(const std::uint8_t* inRow) : row_(inRow) {}

    HWY_INLINE SplitCodes At(std::size_t inX) const {
        const auto first = SortedAt(row_ + 4 * inX);
        const auto second = SortedAt(row_ + 4 * inX + hn::Lanes(kBytes));
        const Words chroma = hn::BitCast(kWords, hn::InterleaveLower(kGroups, first, second));
        const Words others = hn::BitCast(kWords, hn::InterleaveUpper(kGroups, first, second));
        return {hn::ShiftLeft<8>(others), hn::And(chroma, hn::Set(kWords, 0xFF00)),
                hn::ShiftLeft<8>(chroma), hn::ShiftRight<8>(others)};
    }

  private:
    static constexpr hn::Repartition<std::uint64_t, decltype(kBytes)> kGroups{};

    // Of four pixels first the halves with chroma, then the others.
    static HWY_INLINE hn::Vec<decltype(kGroups)> SortedAt(const std::uint8_t* inPixels) {
        HWY_ALIGN static constexpr std::uint8_t kOrder[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                              2, 3, 6, 7, 10, 11, 14, 15};
        const Bytes order = hn::LoadDup128(kBytes, kOrder);
        return hn::BitCast(kGroups, hn::TableLookupBytes(hn::LoadU(kBytes, inPixels), order));
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
    static HWY_INLINE SplitBytes Convert(const SplitCodes& inCodes) {
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
    static HWY_INLINE SplitBytes Convert(const SplitCodes& inCodes) {
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
HWY_INLINE void SpreadVector(SplitCodes inCodes, std::uint8_t* outPixels) {
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
    std::uint8_t pixels[4 * kMostPixels];
    SpreadVector<Colour, kForm>(inLoader.At(x), pixels);
    std::memcpy(outPixels + 4 * x, pixels, 4 * (inCount - x));
}

template <class Loader, class Colour, PixelForm kForm>
void RowToPixels(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) {
    constexpr std::size_t kUnitBytes = Loader::kUnitBytes;
    const auto* in = reinterpret_cast<const std::uint8_t*>(inRow);
    auto* out = reinterpret_cast<std::uint8_t*>(outRow);
    const std::size_t step = PixelsAtATime();
    const auto width = static_cast<std::size_t>(inWidth);
    // All that the row has units for, then the rest from a copy that goes on with its last unit.
    const std::size_t direct = (width - Loader::kUnitsBeyond) / step * step;
    SpreadPart<Colour, kForm>(Loader(in), direct, out);
    if (direct == width) return;
    std::uint8_t units[(kMostPixels / Loader::kUnitPixels + 1) * kUnitBytes] = {};
    const std::size_t unitCount = (width - direct + Loader::kUnitPixels - 1) / Loader::kUnitPixels;
    const std::size_t bytes = unitCount * kUnitBytes;
    std::memcpy(units, in + direct / Loader::kUnitPixels * kUnitBytes, bytes);
    std::memcpy(units + bytes, units + bytes - kUnitBytes, kUnitBytes);
    SpreadPart<Colour, kForm>(Loader(units), width - direct, out + 4 * direct);
}

}  // namespace scanvo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif

#endif
