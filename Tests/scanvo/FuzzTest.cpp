// Random calls over pictures that fill their memory exactly, so that the address sanitizer sees
// every step outside.
#include <algorithm>
#include <limits>
#include <map>
#include <memory>

#include "Area.h"

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

    std::unique_ptr<std::byte[]> memory;
    std::byte* start;
    std::int64_t rowBytes;
    std::int32_t width, height;
    FormatCode format;
};

FormatCode AnyFormat(Random& ioRandom) {
    constexpr FormatCode kPlanar[] = {0x09000031, 0x0A000231};
    if (ioRandom.OneIn(12)) return kPlanar[ioRandom.Between(0, 1)];
    return kPackedFormats[ioRandom.Between(0, static_cast<int>(std::size(kPackedFormats)) - 1)];
}

// clang-format off
// One in forty has something wrong with it.
void Spoil(Random& ioRandom, Picture& ioPicture) {
    if (!ioRandom.OneIn(40)) return;
    constexpr FormatCode kNone[] = {kSV_PixelFormat_Custom, 0x003, 0x0B000031};
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
    const std::int64_t used = isPlanar ? 0 : inFormat.RowLength(inWidth);
    std::int64_t rowBytes = used + (ioRandom.OneIn(2) ? 0 : ioRandom.Between(1, 40));
    const std::int64_t extent = isPlanar ? SV_PixelFormatSize(inFormat, inWidth, inHeight)
                                         : rowBytes * (inHeight - 1) + used;
    auto memory = std::make_unique<std::byte[]>(static_cast<std::size_t>(extent));
    std::generate_n(memory.get(), extent, [&] { return static_cast<std::byte>(ioRandom.Bits()); });
    std::byte* start = memory.get();
    if (!isPlanar && ioRandom.OneIn(2)) {
        start += rowBytes * (inHeight - 1);
        rowBytes = -rowBytes;
    }
    Picture picture{std::move(memory), start, rowBytes, inWidth, inHeight, inFormat};
    Spoil(ioRandom, picture);
    return picture;
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
// All pictures have one size. Where the call names one format, a has that of out.
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
        const Picture a = AnyPicture(random, inputFormat, width, height);
        const Picture b = AnyPicture(random, AnyFormat(random), width, height);
        const Picture out = AnyPicture(random, format, width, height);
        ++results[call(random, a, b, out)];
    }
    // Both what can be done and what is wrong were among them.
    EXPECT_GT(results[0], 15000);
    for (const std::int32_t result : {kSV_NullPointer, kSV_UnsupportedFormat, kSV_BadSize})
        EXPECT_GT(results[result], 100);
    EXPECT_LE(results.size(), 6u);
}

}  // namespace
}  // namespace scanvo_test
