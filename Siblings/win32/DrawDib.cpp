// Drawing of bitmaps, scaled by the image renderer.

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "Contexts.h"
#include "contracts/Scanvo.h"

namespace {

// Four bytes a pixel, each scaled for itself: straight colour would count by the fourth byte, which
// is mostly 0 here.
constexpr auto kFormat = static_cast<SV_PixelFormat>(8);
constexpr std::int32_t kQuality = 2;
constexpr int kPixelBytes = 4;

// Beyond that, a picture most of which is not seen is no longer scaled as a whole.
constexpr std::int64_t kMostHiddenPixels = std::int64_t{1} << 26;

struct Drawing : win32::Object {};

/// Lines of a picture, the top one first.
template <class Byte>
struct LinesOf {
    Byte* top;
    std::int64_t step;
    std::int32_t width;
    std::int32_t height;
};
using Source = LinesOf<const std::uint8_t>;
using Target = LinesOf<std::uint8_t>;

// A picture's place in another, of which it may hang out. In 64 bits no sum overflows.
struct Place {
    std::int64_t left, top, width, height;
};

template <class Byte>
LinesOf<Byte> Part(const LinesOf<Byte>& inLines, const Place& inPlace) {
    return {inLines.top + inPlace.top * inLines.step + inPlace.left * kPixelBytes, inLines.step,
            static_cast<std::int32_t>(inPlace.width), static_cast<std::int32_t>(inPlace.height)};
}

template <class Byte>
bool IsInside(const LinesOf<Byte>& inLines, const Place& inPlace) {
    return inPlace.left >= 0 && inPlace.top >= 0 && inPlace.width > 0 && inPlace.height > 0 &&
           inPlace.left + inPlace.width <= inLines.width &&
           inPlace.top + inPlace.height <= inLines.height;
}

// Nothing when no part of the place is seen.
std::optional<Place> Visible(const Target& inTarget, const Place& inPlace) {
    const std::int64_t left = std::max<std::int64_t>(inPlace.left, 0);
    const std::int64_t top = std::max<std::int64_t>(inPlace.top, 0);
    const std::int64_t right = std::min<std::int64_t>(inPlace.left + inPlace.width, inTarget.width);
    const std::int64_t bottom =
        std::min<std::int64_t>(inPlace.top + inPlace.height, inTarget.height);
    if (left >= right || top >= bottom) return std::nullopt;
    return Place{left, top, right - left, bottom - top};
}

bool Scale(const Source& inSource, const Target& inTarget) {
    return SV_ScaleConvert(inSource.top, inSource.step, inSource.width, inSource.height, kFormat, 0,
                           inTarget.top, inTarget.step, inTarget.width, inTarget.height, kFormat, 0,
                           kQuality) == kSV_Success;
}

// Scales to the whole place and keeps what is seen, which is therefore as if nothing were cut.
bool ScaleHidden(const Source& inSource, const Place& inPlace, const Place& inSeen,
                 const Target& inTarget) {
    const std::int64_t step = inPlace.width * kPixelBytes;
    const auto scratch = std::make_unique_for_overwrite<std::uint8_t[]>(
        static_cast<std::size_t>(step * inPlace.height));
    const Target whole{scratch.get(), step, static_cast<std::int32_t>(inPlace.width),
                       static_cast<std::int32_t>(inPlace.height)};
    if (!Scale(inSource, whole)) return false;
    const Target seen = Part(whole, inSeen);
    return Scale({seen.top, seen.step, seen.width, seen.height}, inTarget);
}

// Takes the nearest pixel for each that is seen.
bool Sample(const Source& inSource, const Place& inPlace, const Place& inSeen,
            const Target& inTarget) {
    const auto nearest = [](std::int64_t inAt, std::int64_t inOf, std::int64_t inSourceSize) {
        return static_cast<std::int64_t>((static_cast<double>(inAt) + 0.5) *
                                         static_cast<double>(inSourceSize) /
                                         static_cast<double>(inOf));
    };
    for (std::int64_t y = 0; y < inSeen.height; ++y) {
        const std::int64_t line = nearest(inSeen.top + y, inPlace.height, inSource.height);
        for (std::int64_t x = 0; x < inSeen.width; ++x) {
            const std::int64_t column = nearest(inSeen.left + x, inPlace.width, inSource.width);
            std::memcpy(inTarget.top + y * inTarget.step + x * kPixelBytes,
                        inSource.top + line * inSource.step + column * kPixelBytes, kPixelBytes);
        }
    }
    return true;
}

bool Draw(const Source& inSource, const Target& inTarget, const Place& inPlace) {
    const std::optional<Place> visible = Visible(inTarget, inPlace);
    if (!visible) return true;
    const Target target = Part(inTarget, *visible);
    const Place seen{visible->left - inPlace.left, visible->top - inPlace.top, visible->width,
                     visible->height};
    const bool isSameSize = inSource.width == inPlace.width && inSource.height == inPlace.height;
    if (isSameSize) return Scale(Part(inSource, seen), target);
    const bool isWhole = seen.width == inPlace.width && seen.height == inPlace.height;
    if (isWhole) return Scale(inSource, target);
    const bool isHuge = inPlace.width > kMostHiddenPixels / inPlace.height;
    return (isHuge ? Sample : ScaleHidden)(inSource, inPlace, seen, target);
}

// Nothing for a bitmap of another kind.
std::optional<Source> SourceLines(const BITMAPINFOHEADER* inHeader, const void* inBits) {
    if (!win32::IsPlain(inHeader) || !inBits) return std::nullopt;
    const LONG lines = inHeader->biHeight;
    const auto* const bytes = static_cast<const std::uint8_t*>(inBits);
    const std::int64_t step = std::int64_t{inHeader->biWidth} * kPixelBytes;
    if (lines < 0) return Source{bytes, step, inHeader->biWidth, -lines};
    return Source{bytes + (lines - 1) * step, -step, inHeader->biWidth, lines};
}

}  // namespace

using namespace win32;

HDRAWDIB DrawDibOpen() {
    return Make<Drawing>();
}

BOOL DrawDibClose(HDRAWDIB inDraw) {
    return LockedObjects()->Remove<Drawing>(inDraw);
}

BOOL DrawDibDraw(HDRAWDIB inDraw, HDC inContext, int inX, int inY, int inWidth, int inHeight,
                 BITMAPINFOHEADER* inHeader, LPVOID inBits, int inSourceX, int inSourceY,
                 int inSourceWidth, int inSourceHeight, UINT inFlags) try {
    const auto bitmap = BitmapOf(inContext);
    const bool hasTarget = bitmap && bitmap->bitsPerPixel == 32;
    const std::optional<Source> picture = SourceLines(inHeader, inBits);
    if (!LockedObjects()->Find<Drawing>(inDraw) || !hasTarget || !picture || inFlags != 0)
        return false;
    const Place part{inSourceX, inSourceY, inSourceWidth == -1 ? picture->width : inSourceWidth,
                     inSourceHeight == -1 ? picture->height : inSourceHeight};
    const Place place{inX, inY, inWidth == -1 ? part.width : inWidth,
                      inHeight == -1 ? part.height : inHeight};
    if (!IsInside(*picture, part) || place.width <= 0 || place.height <= 0) return false;
    const Target target{bitmap->Line(0), bitmap->Step(), bitmap->width, bitmap->height};
    return Draw(Part(*picture, part), target, place);
} catch (const std::bad_alloc&) {
    return false;
}
