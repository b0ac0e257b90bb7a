// Random calls over pictures that fill their memory exactly, so that the address sanitizer sees
// every step outside.
#include <malloc.h>

#include <algorithm>
#include <limits>
#include <map>

#include "Area.h"
#include "rows/Scratch.h"

namespace scanvo_test {
namespace {

struct Random {
    std::int32_t Between(std::int32_t inFirst, std::int32_t inLast) {
        return std::uniform_int_distribution<std::int32_t>(inFirst, inLast)(engine);
    }
    bool OneIn(std::int32_t inCount) { return Between(1, inCount) == 1; }
    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine()); }
    /// An amount, or any bits.
    float Float() {
        return OneIn(2) ? static_cast<float>(Between(-1, 5)) / 4 : std::bit_cast<float>(Bits());
    }

    std::mt19937 engine;
};

constexpr std::int32_t kMostRows = 12;

struct Picture {
    auto Rows() const { return std::tuple(start, rowBytes); }
    auto Memory() const { return std::tuple(start, rowBytes, format); }
    auto Size() const { return std::tuple(width, height); }
    auto Sized() const { return std::tuple(start, rowBytes, width, height, format); }

    std::vector<std::byte> memory;
    std::byte* start;
    std::int64_t rowBytes, used;
    std::int32_t width, height;
    FormatCode format;
};

constexpr FormatCode kPlanar[] = {0x09000031, 0x0A000231};

FormatCode AnyFormat(Random& ioRandom) {
    if (ioRandom.OneIn(12)) return kPlanar[ioRandom.Between(0, 1)];
    return kPackedFormats[ioRandom.Between(0, static_cast<int>(std::size(kPackedFormats)) - 1)];
}

// clang-format off
// One in forty has something wrong with it.
void Spoil(Random& ioRandom, Picture& ioPicture) {
    if (!ioRandom.OneIn(40)) return;
    // No format, a layout that is not told, compressed by no codec.
    constexpr FormatCode kNone[] = {kSV_PixelFormat_None, kSV_PixelFormat_Custom, 0x020};
    const bool isZero = ioRandom.OneIn(2);
    switch (ioRandom.Between(0, 3)) {
        case 0: ioPicture.start = nullptr; return;
        case 1: ioPicture.format = kNone[ioRandom.Between(0, 2)]; return;
        case 2: ioPicture.height = isZero ? 0 : std::numeric_limits<std::int32_t>::min(); return;
        default: ioPicture.rowBytes = isZero ? 0 : std::numeric_limits<std::int64_t>::min();
    }
}
// clang-format on

Picture AnyPicture(Random& ioRandom, FormatCode inFormat, std::int32_t inWidth,
                   std::int32_t inHeight) {
    const bool isPlanar = inFormat.bits > 0x01000000;
    const std::int64_t used =
        isPlanar ? SV_PixelFormatSize(inFormat, inWidth, inHeight) : inFormat.RowLength(inWidth);
    std::int64_t rowBytes = used + (ioRandom.OneIn(2) ? 0 : ioRandom.Between(1, 40));
    const std::int64_t otherRows = isPlanar ? 0 : rowBytes * (inHeight - 1);
    std::vector<std::byte> memory(static_cast<std::size_t>(otherRows + used));
    for (std::byte& byte : memory)
        byte = static_cast<std::byte>(ioRandom.Bits());
    std::byte* start = memory.data();
    if (ioRandom.OneIn(2)) {
        start += otherRows;
        rowBytes = -rowBytes;
    }
    return {std::move(memory), start, rowBytes, used, inWidth, inHeight, inFormat};
}

std::int32_t AnyMask(Random& random, const Picture& a, const Picture& b, const Picture& out) {
    const std::int32_t offset = random.Between(0, 7);
    const std::int32_t maskBytes = (offset + std::max(out.width, 1) + 7) / 8;
    const std::vector<std::byte> mask(static_cast<std::size_t>(maskBytes * kMostRows),
                                      static_cast<std::byte>(random.Bits()));
    return Call(SV_OneBitMaskComposite, a.Memory(), b.Memory(), mask.data(), maskBytes, offset,
                out.Memory(), out.Size(), 3);
}

std::int32_t AnyWarp(Random& random, const Picture& a, const Picture&, const Picture& out) {
    SV_Point corners[8];
    for (SV_Point& corner : corners)
        corner = {random.Between(-20, 180) / 2.0, random.Between(-10, 40) / 2.0};
    if (random.OneIn(10)) corners[random.Between(0, 7)].x = random.Float();
    const SV_Rect whole = {0, 0, a.width, a.height};
    return Call(SV_WarpAffineQuad, a.Size(), a.Rows(), &whole, corners, out.Rows(), &whole,
                corners + 4, random.Between(0, 4), random.Between(-1, 256), random.Between(0, 1),
                random.Between(0, 1), out.format, 0, 0, 1, 0);
}

// clang-format off
// Pictures have one size. Where the call names one format, a has that of out.
constexpr struct {
    bool hasOneFormat;
    std::int32_t (*call)(Random&, const Picture& a, const Picture& b, const Picture& out);
} kCalls[] = {
    {false, [](auto&, auto& a, auto&, auto& out) {
         return Call(SV_Convert, a.Memory(), out.Memory(), out.Size(), 4); }},
    {false, [](auto& random, auto& a, auto&, auto& out) {
         return Call(SV_ScaleConvert, a.Rows(), std::min(a.width, random.Between(1, 70)), a.height,
                     a.format, random.Bits() % 4, out.Sized(), random.Bits() % 4, random.Between(-1, 6)); }},
    {false, [](auto& random, auto& a, auto&, auto& out) {
         return Call(SV_ScaleConvert, a.Rows(), a.width, random.Between(1, std::max(a.height, 1)),
                     a.format, 2, out.Sized(), 1, random.Between(-1, 6)); }},
    {false, [](auto&, auto& a, auto&, auto& out) {
         return Call(SV_FillWithColor, out.Sized(), a.start, a.format); }},
    {true, [](auto&, auto&, auto&, auto& out) { return Call(SV_FillWithOpaqueBlack, out.Sized()); }},
    {true, [](auto&, auto&, auto&, auto& out) { return Call(SV_FillWithTransparentWhite, out.Sized()); }},
    {false, [](auto& random, auto& a, auto& b, auto& out) {
         return Call(SV_CrossDissolve, a.Memory(), b.Memory(), out.Memory(), out.Size(), random.Float(), 4); }},
    {true, [](auto&, auto& a, auto&, auto& out) {
         return Call(SV_InvertAlpha, a.Rows(), out.Memory(), out.Size()); }},
    {true, [](auto& random, auto& a, auto&, auto& out) {
         return Call(SV_CopyAndSetAlpha, a.Rows(), out.Memory(), out.Size(), random.Float()); }},
    {false, [](auto& random, auto& a, auto&, auto& out) {
         return Call(SV_CompositeToBlack, a.Memory(), out.Memory(), out.Size(), random.Float(), 4); }},
    {false, AnyMask},
    {true, AnyWarp},
};
// clang-format on

TEST(Fuzz, KeepsEveryCallInsideItsPictures) {
    Random random{std::mt19937(20261123)};
    std::map<std::int32_t, int> results;
    for (int i = 0; i < 30000; ++i) {
        const std::int32_t width = random.Between(1, 90);
        const std::int32_t height = random.Between(1, kMostRows);
        const auto& [hasOneFormat, call] =
            kCalls[static_cast<std::size_t>(random.Bits()) % std::size(kCalls)];
        const FormatCode format = AnyFormat(random);
        const FormatCode inputFormat = hasOneFormat ? format : AnyFormat(random);
        Picture a = AnyPicture(random, inputFormat, width, height);
        Picture b = AnyPicture(random, AnyFormat(random), width, height);
        Picture out = AnyPicture(random, format, width, height);
        for (Picture* const picture : {&a, &b, &out})
            Spoil(random, *picture);
        ++results[call(random, a, b, out)];
    }
    // Both what can be done and what is wrong were among them.
    EXPECT_GT(results[0], 15000);
    for (const std::int32_t result : {kSV_NullPointer, kSV_UnsupportedFormat, kSV_BadSize})
        EXPECT_GT(results[result], 100);
    EXPECT_LE(results.size(), 6u);
}

// Leaves what is easily told in memory that a call may take: scratch, heap and stack.
[[gnu::noinline]] void Soil(std::uint8_t inDirt) {
    constexpr std::int32_t kCount = 1 << 14;
    mallopt(M_PERTURB, inDirt);
    std::uint8_t stack[kCount];
    std::memset(stack, inDirt, sizeof(stack));
    asm volatile("" : : "r"(stack) : "memory");
    scanvo::Scratch scratch;
    std::memset(scratch.Floats(kCount), inDirt, sizeof(float) * kCount);
}

// Whatever lay about, the units of all rows come out the same, and nothing else is touched. False
// when the call refuses.
bool ExpectNoDirt(const Random& inRandom, std::size_t inCall, FormatCode inInput, FormatCode inOut,
                  std::int32_t inWidth) {
    std::vector<std::byte> first;
    for (const std::uint8_t dirt : {0x5A, 0xA5}) {
        Random random = inRandom;
        const Picture a = AnyPicture(random, inInput, inWidth, 4);
        const Picture b = AnyPicture(random, inInput, inWidth, 4);
        Picture out = AnyPicture(random, inOut, inWidth, 4);
        std::fill(out.memory.begin(), out.memory.end(), std::byte{dirt});
        Soil(dirt);
        if (kCalls[inCall].call(random, a, b, out) != 0) return false;
        if (first.empty()) first = out.memory;
        for (std::size_t i = 0; i < first.size(); ++i) {
            const auto place = static_cast<std::int64_t>(i) % std::abs(out.rowBytes);
            const std::byte expected = place < out.used ? first[i] : std::byte{dirt};
            if (out.memory[i] == expected) continue;
            ADD_FAILURE() << std::hex << inInput.bits << " to " << inOut.bits << std::dec
                          << ", call " << inCall << ", width " << inWidth << ", byte " << i;
            break;
        }
    }
    return true;
}

// A warp is left out, since it leaves pixels as they were.
TEST(Fuzz, LeavesNoByteThatNobodySet) {
    std::vector<FormatCode> formats(std::begin(kPackedFormats), std::end(kPackedFormats));
    formats.insert(formats.end(), std::begin(kPlanar), std::end(kPlanar));
    Random random{std::mt19937(20261124)};
    int done = 0;
    for (std::size_t call = 0; call + 1 < std::size(kCalls); ++call) {
        for (const FormatCode out : formats) {
            for (const FormatCode input : formats) {
                if (kCalls[call].hasOneFormat && input != out) continue;
                for (std::int32_t width = 1; width <= 13 && !HasFailure(); ++width) {
                    random.Bits();
                    done += ExpectNoDirt(random, call, input, out, width);
                }
            }
        }
    }
    mallopt(M_PERTURB, 0);
    EXPECT_GT(done, 100000);
}

}  // namespace
}  // namespace scanvo_test
