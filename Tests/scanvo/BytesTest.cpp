#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "contracts/Scanvo.h"

// Around the size from which copies take another road, at every alignment of both ends.
TEST(CopyMemory, CopiesExactlyTheBytesAsked) {
    constexpr std::size_t kGuard = 300;
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{1000}, (std::size_t{2} << 20) - 1,
          std::size_t{2} << 20, (std::size_t{2} << 20) + 777}) {
        for (const std::size_t shift : {0, 1, 63, 64, 255}) {
            std::vector<std::uint8_t> source(count + shift + 1);
            for (std::size_t i = 0; i < source.size(); ++i)
                source[i] = static_cast<std::uint8_t>(i * 31 + i / 255);
            std::vector<std::uint8_t> copy(count + 2 * kGuard, 0xEE);
            const std::size_t start = kGuard - shift;
            SV_CopyMemory(copy.data() + start, source.data() + shift, count);
            std::vector<std::uint8_t> expected(copy.size(), 0xEE);
            std::copy_n(source.data() + shift, count, expected.data() + start);
            ASSERT_TRUE(copy == expected) << count << " bytes, shift " << shift;
        }
    }
    SV_CopyMemory(nullptr, nullptr, 0);
}
