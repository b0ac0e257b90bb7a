// Every exported call of the renderer over pictures that fill their memory exactly.
#include <hwy/targets.h>

#include <cstdlib>
#include <limits>
#include <tuple>

#include "contracts/Scanvo.h"
#include "fuzz/Input.h"

namespace fuzz {
namespace {

SV_PixelFormat AnyFormat(Input& ioInput) {
    if (ioInput.Between(0, 31) == 31) return SV_PixelFormat{ioInput.Take<std::uint32_t>()};
    return VF::BEPixelFormatToSVPixelFormat(ioInput.Format());
}

std::int64_t AnyRowBytes(Input& ioInput, std::int64_t inUsed) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    // Of the largest ones, the renderer can take some for a single row.
    const std::int64_t odd[] = {0, inUsed - 1, kMost, -kMost - 1, kMost / 2, -kMost / 2};
    if (ioInput.Between(0, 15) == 15) return ioInput.OneOf(odd);
    const std::int64_t rowBytes = inUsed + std::max(0, ioInput.Between(-40, 40));
    return ioInput.Flag() ? -rowBytes : rowBytes;
}

struct Picture {
    Picture(Input& ioInput, SV_PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight)
        : format(inFormat), width(inWidth), height(inHeight) {
        const bool isBlock = format >> 24 != 0;
        const bool isV210 = (format & 0x1C0) == 0x40;
        // Tight rows of v210 are longer than the units of their pixels.
        const std::int64_t used =
            isV210 ? (width + 5) / 6 * 16 : SV_PixelFormatSize(format, width, isBlock ? height : 1);
        rowBytes = AnyRowBytes(ioInput, used);
        const bool isOneRow = isBlock || rowBytes != static_cast<std::int32_t>(rowBytes);
        const std::int64_t rest = isOneRow ? 0 : std::abs(rowBytes) * std::max(height - 1, 0);
        memory = ioInput.Pattern(rest + used);
        start = ioInput.Between(0, 63) == 63 ? nullptr : memory.data() + (rowBytes < 0 ? rest : 0);
    }

    auto Rows() const { return std::tuple(start, rowBytes); }
    auto Memory() const { return std::tuple(start, rowBytes, format); }
    auto Size() const { return std::tuple(width, height); }
    auto Sized() const { return std::tuple(start, rowBytes, width, height, format); }

    SV_PixelFormat format;
    std::int32_t width, height;
    std::int64_t rowBytes;
    Bytes memory;
    std::uint8_t* start;
};

template <class Function, class... Tuples>
void Call(const Function& inFunction, const Tuples&... inArguments) {
    std::apply(inFunction, std::tuple_cat(inArguments...));
}

void Scale(Input& ioInput, const Picture& a, const Picture&, const Picture& out) {
    // One of the two is smaller than its memory.
    std::tuple from = a.Size(), to = out.Size();
    auto& [width, height] = ioInput.Flag() ? from : to;
    width = ioInput.Between(0, width);
    height = ioInput.Between(0, height);
    Call(SV_ScaleConvert, a.Rows(), from, std::tuple(a.format, ioInput.Between(0, 3)), out.Rows(),
         to, std::tuple(out.format, ioInput.Between(0, 3), ioInput.Between(-1, 6)));
}

void Select(Input& ioInput, const Picture& a, const Picture& b, const Picture& out) {
    const std::int32_t bit = ioInput.Between(0, 7);
    const std::int32_t rowBytes = (bit + out.width + 7) / 8;
    const Bytes mask = ioInput.Pattern(rowBytes * out.height);
    const std::tuple downward(mask.data() + rowBytes * std::max(out.height - 1, 0), -rowBytes, bit);
    Call(SV_OneBitMaskComposite, a.Memory(), b.Memory(),
         ioInput.Flag() ? downward : std::tuple(mask.data(), rowBytes, bit), out.Memory(),
         out.Size(), std::tuple(4));
}

void Warp(Input& ioInput, const Picture& a, const Picture&, const Picture& out) {
    SV_Rect rects[] = {{0, 0, a.width, a.height}, {0, 0, a.width, a.height}};
    if (ioInput.Flag()) rects[ioInput.Between(0, 1)] = ioInput.Rect<SV_Rect>();
    // The call cannot know where the destination ends.
    rects[1].right = std::min(rects[1].right, out.width);
    rects[1].bottom = std::min(rects[1].bottom, out.height);
    SV_Point corners[8];
    for (SV_Point& corner : corners)
        corner = {ioInput.Between(-50, 200) / 2.0, ioInput.Between(-20, 40) / 2.0};
    if (ioInput.Flag()) corners[ioInput.Between(0, 7)].x = ioInput.Take<double>();
    const std::int32_t quality = ioInput.Between(0, 3);
    const std::int32_t edges = ioInput.Between(0, 3);
    Call(SV_WarpAffineQuad, a.Size(), a.Rows(), std::tuple(rects, corners), out.Rows(),
         std::tuple(rects + 1, corners + 4, quality, ioInput.Between(-1, 256), edges / 2, edges % 2,
                    out.format, 0, 0, 1, 0));
}

constexpr decltype(&SV_FillWithOpaqueBlack) kFills[] = {
    SV_FillWithOpaqueBlack, SV_FillWithOpaqueWhite, SV_FillWithTransparentBlack,
    SV_FillWithTransparentWhite};

// clang-format off
/// All pictures have one size. Where the call names one format, a has that of out.
constexpr struct {
    bool hasOneFormat, mayOverlap;
    void (*make)(Input&, const Picture& a, const Picture& b, const Picture& out);
} kCalls[] = {
    {false, false, Scale}, {false, true, Select}, {true, false, Warp},
    {false, false, [](Input& input, auto&, auto&, auto& out) {  // a unit of v210 is the longest
        Call(SV_FillWithColor, out.Sized(), std::tuple(input.Pattern(16).data(), AnyFormat(input))); }},
    {false, false, [](Input& input, auto& a, auto&, auto&) {
        void* pixel = nullptr;
        const SV_Rect place = input.Rect<SV_Rect>();
        Call(SV_ClipBufferToRect, a.Sized(), std::tuple(place.left, place.top, &pixel));
        SV_IsOriginBottomLeft(a.format); }},
    {false, true, [](Input&, auto& a, auto&, auto& out) {
        Call(SV_Convert, a.Memory(), out.Memory(), out.Size(), std::tuple(4)); }},
    {false, false, [](Input& input, auto&, auto&, auto& out) { Call(input.OneOf(kFills), out.Sized()); }},
    {false, true, [](Input& input, auto& a, auto& b, auto& out) {
        Call(SV_CrossDissolve, a.Memory(), b.Memory(), out.Memory(), out.Size(), std::tuple(input.Take<float>(), 4)); }},
    {true, true, [](Input&, auto& a, auto&, auto& out) {
        Call(SV_InvertAlpha, a.Rows(), out.Memory(), out.Size()); }},
    {true, true, [](Input& input, auto& a, auto&, auto& out) {
        Call(SV_CopyAndSetAlpha, a.Rows(), out.Memory(), out.Size(), std::tuple(input.Take<float>())); }},
    {false, true, [](Input& input, auto& a, auto&, auto& out) {
        Call(SV_CompositeToBlack, a.Memory(), out.Memory(), out.Size(), std::tuple(input.Take<float>(), 4)); }},
    {false, false, [](Input&, auto& a, auto&, auto&) {
        SV_CopyMemory(Bytes(a.memory.size()).data(), a.memory.data(), a.memory.size()); }},
};
// clang-format on

}  // namespace

void Run(Input inInput) {
    // One of the instruction sets that this machine has, or the fallback.
    static const std::int64_t all = hwy::SupportedTargets();
    std::int64_t targets = all;
    for (std::int32_t i = inInput.Between(0, 7); i > 0 && (targets & (targets - 1)) != 0; --i)
        targets &= targets - 1;
    hwy::GetChosenTarget().Update(targets & -targets);

    const auto& call = inInput.OneOf(kCalls);
    const std::int32_t width = inInput.Between(0, 90);
    const std::int32_t height = inInput.Between(0, 12);
    const SV_PixelFormat format = AnyFormat(inInput);
    const SV_PixelFormat other = call.hasOneFormat ? format : AnyFormat(inInput);
    const Picture a(inInput, other, width, height);
    const Picture b(inInput, AnyFormat(inInput), width, height);
    const Picture out(inInput, format, width, height);
    call.make(inInput, call.mayOverlap && inInput.Flag() ? out : a, b, out);
}

}  // namespace fuzz
