#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "contracts/Scanvo.h"

// Around the size from which copies take another road, at every alignment of both ends.
TEST(CopyMemory, CopiesExactlyTheBytesAsked) {
    constexpr std::size_t kLarge = 2 << 20, kGuard = 300;
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{1000}, kLarge - 1, kLarge, kLarge + 777}) {
        for (const std::size_t shift : {0U, 1U, 63U, 64U, 255U}) {
            std::vector<std::uint32_t> source(count / 4 + 65);
            std::iota(source.begin(), source.end(), 0x30201u);
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(source.data()) + shift;
            std::vector<std::uint8_t> copy(count + 2 * kGuard, 0xEE), expected = copy;
            std::copy_n(bytes, count, expected.data() + kGuard - shift);
            SV_CopyMemory(copy.data() + kGuard - shift, bytes, count);
            ASSERT_TRUE(copy == expected) << count << " bytes, shift " << shift;
        }
    }
    SV_CopyMemory(nullptr, nullptr, 0);
}
