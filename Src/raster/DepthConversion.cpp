// Conversions between the depths that older code meets.
#include "VideoFrame/Raster.h"
#include "contracts/Scanvo.h"
#include "raster/BaseSuite.h"
#include "raster/PixelLoops.h"
#include "raster/VectorTables.h"

#if defined(VF_VECTORS_OF_32_BYTES)
#include <immintrin.h>
#endif

namespace {

using VF::AsBytes;
using VF::LoadWord;
using VF::StoreWord;

constexpr SV_PixelFormat kBgra = static_cast<SV_PixelFormat>(4);
constexpr SV_PixelFormat kArgb = static_cast<SV_PixelFormat>(4100);
constexpr std::int32_t kConvertMode = 4;
constexpr std::uint32_t kOpaque = 0xFF000000;

template <class Row>
void ConvertLines(const void* inSource, void* outDestination, std::int32_t inWidth,
                  std::int32_t inHeight, std::int32_t inSourceStride,
                  std::int32_t inDestinationStride, const Row& inRow) {
    if (inWidth <= 0) return;
    for (std::int64_t y = 0; y < inHeight; ++y) {
        inRow(AsBytes(inSource) + y * inSourceStride,
              AsBytes(outDestination) + y * inDestinationStride, static_cast<std::size_t>(inWidth));
    }
}

VF_PIXEL_LOOP void Row32To16(const std::uint8_t* __restrict inRow, std::uint8_t* __restrict outRow,
                             std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const auto pixel = LoadWord<std::uint32_t>(inRow + 4 * x);
        const std::uint32_t word =
            (pixel >> 9 & 0x7C00) | (pixel >> 6 & 0x03E0) | (pixel >> 3 & 0x001F);
        StoreWord(static_cast<std::uint16_t>(word), outRow + 2 * x);
    }
}

VF_PIXEL_LOOP void Row16To32(const std::uint8_t* __restrict inRow, std::uint8_t* __restrict outRow,
                             std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        const std::uint32_t word = LoadWord<std::uint16_t>(inRow + 2 * x);
        StoreWord(kOpaque | (word & 0x7C00) << 9 | (word & 0x03E0) << 6 | (word & 0x001F) << 3,
                  outRow + 4 * x);
    }
}

VF_PIXEL_LOOP void Row32To24(const std::uint8_t* __restrict inRow, std::uint8_t* __restrict outRow,
                             std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        outRow[3 * x] = inRow[4 * x];
        outRow[3 * x + 1] = inRow[4 * x + 1];
        outRow[3 * x + 2] = inRow[4 * x + 2];
    }
}

void Row24To32Plain(const std::uint8_t* inRow, std::uint8_t* outRow, std::size_t inWidth) {
    for (std::size_t x = 0; x < inWidth; ++x) {
        outRow[4 * x] = inRow[3 * x];
        outRow[4 * x + 1] = inRow[3 * x + 1];
        outRow[4 * x + 2] = inRow[3 * x + 2];
        outRow[4 * x + 3] = 255;
    }
}

#if defined(VF_VECTORS_OF_32_BYTES)

// Compilers do not find this by themselves: eight pixels from two loads of four and a bit.
VF_VECTORS_OF_32_BYTES void Row24To32Vectors(const std::uint8_t* inRow, std::uint8_t* outRow,
                                             std::size_t inWidth) {
    constexpr std::size_t kPixels = 8;
    constexpr std::size_t kBytesLoaded = 28;
    const __m256i opaque = _mm256_set1_epi32(static_cast<int>(kOpaque));
    const __m256i order = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0,
                                           1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const auto load = [](const std::uint8_t* place) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(place));
    };
    std::size_t x = 0;
    for (; 3 * x + kBytesLoaded <= 3 * inWidth; x += kPixels) {
        const __m256i codes = _mm256_set_m128i(load(inRow + 3 * x + 12), load(inRow + 3 * x));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(outRow + 4 * x),
                            _mm256_or_si256(_mm256_shuffle_epi8(codes, order), opaque));
    }
    Row24To32Plain(inRow + 3 * x, outRow + 4 * x, inWidth - x);
}

#endif

void Row24To32(const std::uint8_t* inRow, std::uint8_t* outRow, std::size_t inWidth) {
#if defined(VF_VECTORS_OF_32_BYTES)
    static const bool hasVectors = __builtin_cpu_supports("avx2") != 0;
    if (hasVectors) return Row24To32Vectors(inRow, outRow, inWidth);
#endif
    Row24To32Plain(inRow, outRow, inWidth);
}

void Row8To32Plain(const std::uint8_t* inRow, std::uint8_t* outRow, std::size_t inWidth,
                   const std::uint32_t* inTable) {
    for (std::size_t x = 0; x < inWidth; ++x)
        StoreWord(inTable[inRow[x]], outRow + 4 * x);
}

#if defined(VF_VECTORS_OF_64_BYTES)

// The table is looked up in registers, a byte of the word at a time.
VF_VECTORS_OF_64_BYTES void Row8To32Vectors(const std::uint8_t* inRow, std::uint8_t* outRow,
                                            std::size_t inWidth, const std::uint32_t* inTable) {
    constexpr std::size_t kPixels = 64;
    if (inWidth < kPixels) return Row8To32Plain(inRow, outRow, inWidth, inTable);
    VF::VectorTable planes[4];
    for (int plane = 0; plane < 4; ++plane) {
        std::uint8_t bytes[256];
        for (std::size_t i = 0; i < 256; ++i)
            bytes[i] = static_cast<std::uint8_t>(inTable[i] >> (8 * plane));
        planes[plane] = VF::LoadTable(bytes);
    }
    // Interleaving works on blocks of 16 bytes; in this order it gives pixels one after the other.
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    std::size_t x = 0;
    for (; x + kPixels <= inWidth; x += kPixels) {
        const __m512i codes =
            _mm512_maskz_permutexvar_epi32(0xFFFF, order, _mm512_loadu_si512(inRow + x));
        const __mmask64 upper = _mm512_movepi8_mask(codes);
        const __m512i blue = VF::LookUp(planes[0], codes, upper);
        const __m512i green = VF::LookUp(planes[1], codes, upper);
        const __m512i red = VF::LookUp(planes[2], codes, upper);
        const __m512i alpha = VF::LookUp(planes[3], codes, upper);
        const __m512i lowPairs[] = {_mm512_unpacklo_epi8(blue, green),
                                    _mm512_unpacklo_epi8(red, alpha)};
        const __m512i highPairs[] = {_mm512_unpackhi_epi8(blue, green),
                                     _mm512_unpackhi_epi8(red, alpha)};
        std::uint8_t* const out = outRow + 4 * x;
        _mm512_storeu_si512(out, _mm512_unpacklo_epi16(lowPairs[0], lowPairs[1]));
        _mm512_storeu_si512(out + 64, _mm512_unpackhi_epi16(lowPairs[0], lowPairs[1]));
        _mm512_storeu_si512(out + 128, _mm512_unpacklo_epi16(highPairs[0], highPairs[1]));
        _mm512_storeu_si512(out + 192, _mm512_unpackhi_epi16(highPairs[0], highPairs[1]));
    }
    Row8To32Plain(inRow + x, outRow + 4 * x, inWidth - x, inTable);
}

#endif

void Row8To32(const std::uint8_t* inRow, std::uint8_t* outRow, std::size_t inWidth,
              const std::uint32_t* inTable) {
#if defined(VF_VECTORS_OF_64_BYTES)
    if (VF::CanPermuteBytes()) return Row8To32Vectors(inRow, outRow, inWidth, inTable);
#endif
    Row8To32Plain(inRow, outRow, inWidth, inTable);
}

}  // namespace

void DepthCon32To16(const void* inSource, void* outDestination, std::int32_t inWidth,
                    std::int32_t inHeight, std::int32_t inSourceStride,
                    std::int32_t inDestinationStride) {
    ConvertLines(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                 Row32To16);
}

void DepthCon16To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                    std::int32_t inHeight, std::int32_t inSourceStride,
                    std::int32_t inDestinationStride) {
    ConvertLines(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                 Row16To32);
}

void DepthCon8To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                   std::int32_t inHeight, std::int32_t inSourceStride,
                   std::int32_t inDestinationStride, const std::uint32_t* inTable) {
    ConvertLines(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                 [inTable](const std::uint8_t* row, std::uint8_t* result, std::size_t width) {
                     Row8To32(row, result, width, inTable);
                 });
}

int _TvDepthCon32To24(const void* inSource, void* outDestination, std::int32_t inWidth,
                      std::int32_t inHeight, std::int32_t inSourceStride,
                      std::int32_t inDestinationStride) {
    ConvertLines(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                 Row32To24);
    return 0;
}

int _TvDepthCon24To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                      std::int32_t inHeight, std::int32_t inSourceStride,
                      std::int32_t inDestinationStride) {
    ConvertLines(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride,
                 Row24To32);
    return 0;
}

int DepthCon32To24(const void* inSource, void* outDestination, std::int32_t inWidth,
                   std::int32_t inHeight, std::int32_t inSourceStride,
                   std::int32_t inDestinationStride) {
    return VF::CurrentFunction(VF::BaseSuite::kDepthCon32To24)(
        inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride);
}

int DepthCon24To32(const void* inSource, void* outDestination, std::int32_t inWidth,
                   std::int32_t inHeight, std::int32_t inSourceStride,
                   std::int32_t inDestinationStride) {
    return VF::CurrentFunction(VF::BaseSuite::kDepthCon24To32)(
        inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride);
}

// ---------------------------------------------------------------------------------------------
// Through the renderer

int Copy32(const void* inSource, void* outDestination, std::int32_t inWidth, std::int32_t inHeight,
           std::int32_t inSourceStride, std::int32_t inDestinationStride) {
    constexpr std::uint32_t kFieldType = 0;
    constexpr std::int32_t kQuality = 2;
    return SV_ScaleConvert(inSource, inSourceStride, inWidth, inHeight, kBgra, kFieldType,
                           outDestination, inDestinationStride, inWidth, inHeight, kBgra,
                           kFieldType, kQuality);
}

int _TvCopy32(const void* inSource, void* outDestination, std::int32_t inWidth,
              std::int32_t inHeight, std::int32_t inSourceStride,
              std::int32_t inDestinationStride) {
    Copy32(inSource, outDestination, inWidth, inHeight, inSourceStride, inDestinationStride);
    return 0;
}

int Con32ToQ32(const void* inSource, void* outDestination, std::int32_t inSourceStride,
               std::int32_t inDestinationStride, std::int32_t inWidth, std::int32_t inHeight) {
    return SV_Convert(inSource, inSourceStride, kBgra, outDestination,
                      -std::int64_t{inDestinationStride}, kArgb, inWidth, inHeight, kConvertMode);
}
