// What loops over pixels have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Compiles a function for several generations of processors; the one at hand is chosen when the
/// library is loaded. The sanitizers do not go with that.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VF_PIXEL_LOOP __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VF_PIXEL_LOOP
#endif

/// Mark functions that are to be called only where the processor has such vectors and, of the
/// larger ones, instructions that permute any of their bytes.
#if defined(__GNUC__) && defined(__x86_64__)
#define VF_VECTORS_OF_32_BYTES __attribute__((target("avx2")))
#define VF_VECTORS_OF_64_BYTES __attribute__((target("avx512f,avx512bw,avx512vbmi")))
#endif

namespace VF {

/// Words of any alignment.
template <class Word>
inline Word LoadWord(const std::uint8_t* inPlace) {
    Word word;
    std::memcpy(&word, inPlace, sizeof word);
    return word;
}

template <class Word>
inline void StoreWord(Word inWord, std::uint8_t* outPlace) {
    std::memcpy(outPlace, &inWord, sizeof inWord);
}

inline const std::uint8_t* AsBytes(const void* inPlace) {
    return static_cast<const std::uint8_t*>(inPlace);
}

inline std::uint8_t* AsBytes(void* inPlace) {
    return static_cast<std::uint8_t*>(inPlace);
}

}  // namespace VF
