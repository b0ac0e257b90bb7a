// Pictures to measure with, and the sizes that rows are measured at.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace bench {

struct Size {
    std::int32_t width, height;
    const char* name;
};

constexpr Size kSizes[] = {{1920, 1080, "1080p"}, {3840, 2160, "2160p"}};

/// Bytes on a page boundary, every page touched.
class Buffer {
  public:
    explicit Buffer(std::size_t inBytes)
        : bytes_(static_cast<std::uint8_t*>(operator new(inBytes, kPage))) {
        const std::vector<std::uint8_t>& noise = Noise();
        for (std::size_t i = 0; i < inBytes; i += noise.size())
            std::copy_n(noise.begin(), std::min(noise.size(), inBytes - i), bytes_.get() + i);
    }

    std::uint8_t* Bytes() const { return bytes_.get(); }
    float* Floats() const { return reinterpret_cast<float*>(bytes_.get()); }

  private:
    // Made once: every repetition of every row needs buffers.
    static const std::vector<std::uint8_t>& Noise() {
        static const std::vector<std::uint8_t> noise = [] {
            std::vector<std::uint8_t> bytes((std::size_t{1} << 20) - 3);
            std::mt19937 random(1);
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random() >> 8);
            return bytes;
        }();
        return noise;
    }

    static constexpr std::align_val_t kPage{4096};
    struct Free {
        void operator()(std::uint8_t* inBytes) const { operator delete(inBytes, kPage); }
    };
    std::unique_ptr<std::uint8_t, Free> bytes_;
};

/// Bytes of inBytesPerPixel for every pixel of that size.
inline Buffer PictureOf(const Size& inSize, std::size_t inBytesPerPixel) {
    return Buffer(static_cast<std::size_t>(inSize.width) * static_cast<std::size_t>(inSize.height) *
                  inBytesPerPixel);
}

}  // namespace bench
