// Bytes that nobody set must not come into pictures, which others may see.
#include <malloc.h>

#include "Area.h"
#include "rows/Scratch.h"

namespace scanvo_test {
namespace {

constexpr std::int32_t kHeight = 4;

/// Rows of anything, each with some bytes behind it that belong to no pixel.
struct Picture {
    Picture(FormatCode inFormat, std::int32_t inWidth) : width(inWidth), format(inFormat) {
        const bool isPlanar = format.bits > 0x01000000;
        used = isPlanar ? SV_PixelFormatSize(format, width, kHeight) : format.RowLength(width);
        rowBytes = used + width % 2 * 5;
        bytes.resize(static_cast<std::size_t>(rowBytes * (isPlanar ? 1 : kHeight)));
        std::mt19937 random(format.bits);
        for (std::byte& byte : bytes)
            byte = static_cast<std::byte>(random());
    }
    auto Rows() { return std::tuple(bytes.data(), rowBytes); }
    auto Memory() { return std::tuple(bytes.data(), rowBytes, format); }
    auto Size() const { return std::tuple(width, kHeight); }
    auto Sized(std::int32_t inWidth, std::int32_t inHeight) {
        return std::tuple(bytes.data(), rowBytes, inWidth, inHeight, format);
    }

    std::vector<std::byte> bytes;
    std::int64_t used, rowBytes;
    std::int32_t width;
    FormatCode format;
};

// clang-format off
// Warps are left out, since they leave pixels as they were.
constexpr struct {
    bool hasOneFormat;
    std::int32_t (*call)(Picture& a, Picture& out);
} kCalls[] = {
    {false, [](auto& a, auto& out) { return Call(SV_Convert, a.Memory(), out.Memory(), out.Size(), 4); }},
    {false, [](auto& a, auto& out) {
        return Call(SV_ScaleConvert, a.Sized((a.width + 1) / 2, kHeight), 0, out.Sized(a.width, kHeight), 0, a.width % 6); }},
    {false, [](auto& a, auto& out) {
        return Call(SV_ScaleConvert, a.Sized(a.width, 3), 1, out.Sized(a.width, kHeight), 1, a.width % 6); }},
    {false, [](auto& a, auto& out) {
        return Call(SV_FillWithColor, out.Sized(out.width, kHeight), a.bytes.data(), a.format); }},
    {true, [](auto&, auto& out) { return Call(SV_FillWithOpaqueBlack, out.Sized(out.width, kHeight)); }},
    {false, [](auto& a, auto& out) {
        return Call(SV_CrossDissolve, a.Memory(), a.Memory(), out.Memory(), out.Size(), 0.3f, 4); }},
    {true, [](auto& a, auto& out) { return Call(SV_InvertAlpha, a.Rows(), out.Memory(), out.Size()); }},
    {true, [](auto& a, auto& out) { return Call(SV_CopyAndSetAlpha, a.Rows(), out.Memory(), out.Size(), 0.3f); }},
    {false, [](auto& a, auto& out) { return Call(SV_CompositeToBlack, a.Memory(), out.Memory(), out.Size(), 0.3f, 4); }},
    {false, [](auto& a, auto& out) {
        return Call(SV_OneBitMaskComposite, a.Memory(), a.Memory(), "\x5A\xC3\x17\xE8", 1, 1, out.Memory(), out.Size(), 4); }},
};
// clang-format on

// Leaves what is easily told in memory that a call may take: scratch, heap and stack.
[[gnu::noinline]] void Soil(std::byte inDirt) {
    constexpr std::int32_t kCount = 1 << 14;
    const int value = std::to_integer<int>(inDirt);
    mallopt(M_PERTURB, value);
    std::uint8_t stack[kCount];
    std::memset(stack, value, sizeof(stack));
    asm volatile("" : : "r"(stack) : "memory");
    scanvo::Scratch scratch;
    std::memset(scratch.Floats(kCount), value, sizeof(float) * kCount);
}

// Whatever lay about, the units of all rows come out the same, and nothing else is touched. False
// when the call refuses.
template <class MakeCall>
bool ExpectNoDirt(FormatCode inInput, FormatCode inOutput, std::int32_t inWidth,
                  const MakeCall& inCall) {
    std::vector<std::byte> first;
    for (const std::byte dirt : {std::byte{0x5A}, std::byte{0xA5}}) {
        Picture a(inInput, inWidth), out(inOutput, inWidth);
        std::ranges::fill(out.bytes, dirt);
        Soil(dirt);
        if (inCall(a, out) != 0) return false;
        if (first.empty()) first = out.bytes;
        for (std::size_t i = 0; i < first.size(); ++i) {
            const bool isUsed = static_cast<std::int64_t>(i) % out.rowBytes < out.used;
            if (out.bytes[i] == (isUsed ? first[i] : dirt)) continue;
            ADD_FAILURE() << "width " << inWidth << ", byte " << i;
            break;
        }
    }
    return true;
}

TEST(Calls, LeaveNoByteThatNobodySet) {
    std::vector<FormatCode> formats(std::begin(kPackedFormats), std::end(kPackedFormats));
    formats.insert(formats.end(), {0x09000031, 0x0A000231});
    int done = 0;
    for (const auto& each : kCalls) {
        for (const FormatCode out : formats) {
            for (const FormatCode input : formats) {
                if (each.hasOneFormat && input != out) continue;
                SCOPED_TRACE(testing::Message() << "call " << &each - kCalls << std::hex << ", "
                                                << input.bits << " to " << out.bits);
                for (std::int32_t width = 1; width <= 13 && !HasFailure(); ++width)
                    done += ExpectNoDirt(input, out, width, each.call);
            }
        }
    }
    mallopt(M_PERTURB, 0);
    EXPECT_GT(done, 100000);
}

}  // namespace
}  // namespace scanvo_test
