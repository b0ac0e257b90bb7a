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

/// Bytes that the pixels of a row lie in; tight rows of v210 are longer.
std::int64_t UsedRowBytes(SV_PixelFormat inFormat, std::int32_t inWidth) {
    constexpr std::int64_t kV210Words[] = {0, 1, 2, 3, 3, 4};
    const bool isV210 = (inFormat & 0x1C0) == 0x40;
    return isV210 ? (inWidth / 6 * 4 + kV210Words[inWidth % 6]) * 4
                  : SV_PixelFormatSize(inFormat, inWidth, 1);
}

std::int64_t AnyRowBytes(Input& ioInput, std::int64_t inUsed) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    // Of these, the renderer can take some for a single row.
    constexpr std::int64_t kExtremes[] = {kMost, -kMost - 1, kMost / 2, -kMost / 2};
    const std::int32_t kind = ioInput.Between(0, 15);
    if (kind == 0) return 0;
    if (kind == 1) return ioInput.OneOf(kExtremes);
    const std::int64_t rowBytes = inUsed + ioInput.Between(kind == 2 ? -8 : 0, kind < 8 ? 0 : 40);
    return kind % 2 == 0 ? rowBytes : -rowBytes;
}

struct Picture {
    Picture(Input& ioInput, SV_PixelFormat inFormat, std::int32_t inWidth, std::int32_t inHeight)
        : format(inFormat), width(inWidth), height(inHeight) {
        const bool isBlock = format >> 24 != 0;
        const std::int64_t used =
            isBlock ? SV_PixelFormatSize(format, width, height) : UsedRowBytes(format, width);
        rowBytes = AnyRowBytes(ioInput, used);
        const bool isExtreme = rowBytes != static_cast<std::int32_t>(rowBytes);
        const std::int64_t step = isBlock || isExtreme ? 0 : std::abs(rowBytes);
        const std::int64_t rest = step * (std::max(height, 1) - 1);
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

/// Calls with the elements of tuples as arguments of their own.
template <class Function, class... Parts>
void Call(const Function& inFunction, const Parts&... inParts) {
    const auto elements = [](const auto& part) {
        if constexpr (requires { part.swap(part); })
            return part;
        else
            return std::tuple(part);
    };
    std::apply(inFunction, std::tuple_cat(elements(inParts)...));
}

void Scale(Input& ioInput, const Picture& a, const Picture&, const Picture& out) {
    // One of the two is smaller than its memory.
    std::tuple from = a.Size();
    std::tuple to = out.Size();
    auto& [width, height] = ioInput.Flag() ? from : to;
    width = ioInput.Between(0, width);
    height = ioInput.Between(0, height);
    Call(SV_ScaleConvert, a.Rows(), from, a.format, ioInput.Between(0, 3), out.Rows(), to,
         out.format, ioInput.Between(0, 3), ioInput.Between(-1, 6));
}

void Select(Input& ioInput, const Picture& a, const Picture& b, const Picture& out) {
    const std::int32_t bit = ioInput.Between(0, 7);
    const std::int32_t rowBytes = (bit + out.width + 7) / 8;
    const Bytes mask = ioInput.Pattern(rowBytes * out.height);
    const bool isUpward = ioInput.Flag();
    Call(SV_OneBitMaskComposite, a.Memory(), b.Memory(),
         mask.data() + (isUpward ? rowBytes * std::max(out.height - 1, 0) : 0),
         isUpward ? -rowBytes : rowBytes, bit, out.Memory(), out.Size(), 4);
}

void Warp(Input& ioInput, const Picture& a, const Picture&, const Picture& out) {
    SV_Rect rects[] = {{0, 0, a.width, a.height}, {0, 0, a.width, a.height}};
    if (ioInput.Flag()) rects[ioInput.Between(0, 1)] = ioInput.Rect<SV_Rect>();
    SV_Point corners[8];
    for (SV_Point& corner : corners)
        corner = {ioInput.Between(-50, 200) / 2.0, ioInput.Between(-20, 40) / 2.0};
    if (ioInput.Flag()) corners[ioInput.Between(0, 7)].x = ioInput.Take<double>();
    Call(SV_WarpAffineQuad, a.Size(), a.Rows(), rects, corners, out.Rows(), rects + 1, corners + 4,
         ioInput.Between(0, 3), ioInput.Between(-1, 256), ioInput.Between(0, 1),
         ioInput.Between(0, 1), out.format, 0, 0, 1, 0);
}

void FillWithColour(Input& ioInput, const Picture&, const Picture&, const Picture& out) {
    const SV_PixelFormat format = AnyFormat(ioInput);
    // Room for a unit of v210, which is the longest.
    const Bytes pixel = ioInput.Pattern(16);
    Call(SV_FillWithColor, out.Sized(), pixel.data(), format);
}

void Clip(Input& ioInput, const Picture& a, const Picture&, const Picture&) {
    void* pixel = nullptr;
    Call(SV_ClipBufferToRect, a.Sized(), ioInput.Take<std::int32_t>(), ioInput.Take<std::int16_t>(),
         &pixel);
    SV_IsOriginBottomLeft(a.format);
}

constexpr decltype(&SV_FillWithOpaqueBlack) kFills[] = {
    SV_FillWithOpaqueBlack, SV_FillWithOpaqueWhite, SV_FillWithTransparentBlack,
    SV_FillWithTransparentWhite};

// clang-format off
/// All pictures have one size. Where the call names one format, a has that of out.
constexpr struct {
    bool hasOneFormat;
    bool mayOverlap;
    void (*make)(Input&, const Picture& a, const Picture& b, const Picture& out);
} kCalls[] = {
    {false, false, Scale},
    {false, true, Select},
    {true, false, Warp},
    {false, false, FillWithColour},
    {false, false, Clip},
    {false, true, [](auto&, auto& a, auto&, auto& out) {
        Call(SV_Convert, a.Memory(), out.Memory(), out.Size(), 4); }},
    {false, false, [](auto& input, auto&, auto&, auto& out) {
        Call(input.OneOf(kFills), out.Sized()); }},
    {false, true, [](auto& input, auto& a, auto& b, auto& out) {
        Call(SV_CrossDissolve, a.Memory(), b.Memory(), out.Memory(), out.Size(),
             input.template Take<float>(), 4); }},
    {true, true, [](auto&, auto& a, auto&, auto& out) {
        Call(SV_InvertAlpha, a.Rows(), out.Memory(), out.Size()); }},
    {true, true, [](auto& input, auto& a, auto&, auto& out) {
        Call(SV_CopyAndSetAlpha, a.Rows(), out.Memory(), out.Size(), input.template Take<float>()); }},
    {false, true, [](auto& input, auto& a, auto&, auto& out) {
        Call(SV_CompositeToBlack, a.Memory(), out.Memory(), out.Size(), input.template Take<float>(), 4); }},
    {false, false, [](auto&, auto& a, auto&, auto&) {
        Bytes copy(a.memory.size());
        SV_CopyMemory(copy.data(), a.memory.data(), copy.size()); }},
};
// clang-format on

void Render(Input inInput) {
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

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    fuzz::Render({inData, inSize});
    return 0;
}
