#include "Area.h"
#include "fast/Caches.h"

namespace scanvo_test {
namespace {

// Those are written past the caches: by a copy, a fast road, the general road and a fill.
TEST(LargePictures, AreDoneAsTheirRowsAre) {
    constexpr std::int32_t kSize = 301;
    const std::int64_t cache = scanvo::LastLevelCacheBytes();
    scanvo::AssumeLastLevelCache(kSize * kSize);
    Area source(0x004, kSize, kSize);
    source.Scatter();
    for (const FormatCode format : {0x004u, 0x1004u, 0x109u}) {
        Area whole(format, kSize, kSize, RowOrder::Up), row(format, kSize, 1);
        const auto bytes = static_cast<std::size_t>(row.RowLength());
        for (const bool isFill : {false, true}) {
            const auto make = [&](const std::byte* from, Area& area) {
                if (isFill)
                    return Call(SV_FillWithColor, area.Sized(), source.Start(), source.Format());
                return Call(SV_Convert, from, source.RowBytes(), source.Format(), area.Memory(),
                            area.Size(), 4);
            };
            ASSERT_EQ(make(source.Start(), whole), 0);
            whole.ExpectGuardsIntact();
            for (std::int32_t i = 0; i < kSize; ++i) {
                ASSERT_EQ(make(source.Start() + source.RowBytes() * i, row), 0);
                ASSERT_EQ(std::memcmp(whole.Start() + whole.RowBytes() * i, row.Start(), bytes), 0)
                    << i;
            }
        }
    }
    scanvo::AssumeLastLevelCache(cache);
}

}  // namespace
}  // namespace scanvo_test
