// Pictures to measure with, and the sizes that rows are measured at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <string>

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
        std::mt19937 random(1);
        for (std::size_t i = 0; i < inBytes; ++i)
            bytes_.get()[i] = static_cast<std::uint8_t>(random() >> 8);
    }

    std::uint8_t* Bytes() const { return bytes_.get(); }
    float* Floats() const { return reinterpret_cast<float*>(bytes_.get()); }

  private:
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
