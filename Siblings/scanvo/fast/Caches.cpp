#include "fast/Caches.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace scanvo {
namespace {

constexpr std::int64_t kUsualBytes = std::int64_t{32} << 20;

// A size as in "32768K"; 0 where there is no such cache.
std::int64_t CacheBytes(int inIndex) {
    std::array<char, 64> path;
    std::snprintf(path.data(), path.size(), "/sys/devices/system/cpu/cpu0/cache/index%d/size",
                  inIndex);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(path.data(), "r"), [](std::FILE* opened) { return std::fclose(opened); });
    std::array<char, 32> text{};
    if (!file || std::fgets(text.data(), text.size(), file.get()) == nullptr) return 0;
    char* unit = nullptr;
    const std::int64_t number = std::strtol(text.data(), &unit, 10);
    return *unit == 'K' ? number << 10 : *unit == 'M' ? number << 20 : number;
}

// The C library's answer counts the caches of other groups of processors, too.
std::int64_t AskedBytes() {
    constexpr int kMostCaches = 8;
    std::int64_t largest = 0;
    for (int index = 0; index < kMostCaches; ++index)
        largest = std::max(largest, CacheBytes(index));
    return largest > 0 ? largest : kUsualBytes;
}

std::atomic<std::int64_t>& KeptBytes() {
    static std::atomic<std::int64_t> bytes = AskedBytes();
    return bytes;
}

}  // namespace

std::int64_t LastLevelCacheBytes() {
    return KeptBytes().load(std::memory_order_relaxed);
}

void AssumeLastLevelCache(std::int64_t inBytes) {
    KeptBytes() = inBytes;
}

}  // namespace scanvo
