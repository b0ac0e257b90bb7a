// Tables of 256 bytes that are looked up in registers.
#pragma once

#include "raster/PixelLoops.h"

#if defined(VF_VECTORS_OF_64_BYTES)

#include <immintrin.h>

namespace VF {

/// Whether functions for vectors of 64 bytes can be called.
inline bool CanPermuteBytes() {
    static const bool can = __builtin_cpu_supports("avx512vbmi") != 0;
    return can;
}

struct VectorTable {
    __m512i quarters[4];
};

VF_VECTORS_OF_64_BYTES inline VectorTable LoadTable(const std::uint8_t* inBytes) {
    return {{_mm512_loadu_si512(inBytes), _mm512_loadu_si512(inBytes + 64),
             _mm512_loadu_si512(inBytes + 128), _mm512_loadu_si512(inBytes + 192)}};
}

/// The bytes that the codes name; inUpperHalf has a bit for each code from 128 on.
VF_VECTORS_OF_64_BYTES inline __m512i LookUp(const VectorTable& inTable, __m512i inCodes,
                                             __mmask64 inUpperHalf) {
    const __m512i lower =
        _mm512_permutex2var_epi8(inTable.quarters[0], inCodes, inTable.quarters[1]);
    const __m512i upper =
        _mm512_permutex2var_epi8(inTable.quarters[2], inCodes, inTable.quarters[3]);
    return _mm512_mask_blend_epi8(inUpperHalf, lower, upper);
}

}  // namespace VF

#endif
