// Regions: shapes as spans of pixels, which pixman combines.

#include <pixman.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <compare>
#include <limits>
#include <vector>

#include "Contexts.h"

namespace {

// Higher shapes, and polygons with more edges across their lines, take more memory than there is.
constexpr std::int64_t kMostSpans = std::int64_t{1} << 24;

using Spans = std::vector<pixman_box32_t>;

struct Region : win32::GraphicsObject {
    Region() { pixman_region32_init(&shape); }
    explicit Region(const Spans& inSpans) {
        if (!pixman_region32_init_rects(&shape, inSpans.data(), static_cast<int>(inSpans.size())))
            throw std::bad_alloc();
    }
    Region(const Region&) = delete;
    Region& operator=(const Region&) = delete;
    ~Region() override { pixman_region32_fini(&shape); }

    pixman_region32_t shape;
};

HRGN NewRegion(const Spans& inSpans) {
    return static_cast<HRGN>(win32::Make<Region>(inSpans));
}

// The rectangle with its sides the right way round.
pixman_box32_t Ordered(int inLeft, int inTop, int inRight, int inBottom) {
    return {std::min(inLeft, inRight), std::min(inTop, inBottom), std::max(inLeft, inRight),
            std::max(inTop, inBottom)};
}

// ---------------------------------------------------------------------------------------------
// Ellipses

// Pixels of a line that are in an ellipse lie within this distance of its middle, everything in
// half pixels. No centre lies on the ellipse itself: that would take a Pythagorean triple of three
// odd or two even numbers without a common factor.
double Reach(double inWidth, double inHeight, double inFromMiddle) {
    const double square = (inHeight - inFromMiddle) * (inHeight + inFromMiddle);
    return inWidth * std::sqrt(square) / inHeight;
}

Spans EllipseSpans(const pixman_box32_t& inBounds) {
    Spans spans;
    const double width = static_cast<double>(inBounds.x2) - inBounds.x1;
    const double height = static_cast<double>(inBounds.y2) - inBounds.y1;
    if (height > static_cast<double>(kMostSpans)) throw std::bad_alloc();
    const double middle = static_cast<double>(inBounds.x1) + inBounds.x2;
    for (int y = inBounds.y1; y < inBounds.y2; ++y) {
        const double reach = Reach(width, height, 2.0 * y + 1 - inBounds.y1 - inBounds.y2);
        const int left = static_cast<int>(std::ceil((middle - reach - 1) / 2));
        const int right = static_cast<int>(std::floor((middle + reach - 1) / 2)) + 1;
        if (left < right) spans.push_back({left, y, right, y + 1});
    }
    return spans;
}

// ---------------------------------------------------------------------------------------------
// Polygons

// Where an edge crosses the middle of a line of pixels.
struct Crossing {
    int y;
    int x;  // of the first pixel whose centre is not left of it
    int turns;

    friend auto operator<=>(const Crossing&, const Crossing&) = default;
};

void AddCrossings(const POINT& inFrom, const POINT& inTo, std::vector<Crossing>& ioCrossings) {
    const bool isDown = inFrom.y < inTo.y;
    const POINT& upper = isDown ? inFrom : inTo;
    const POINT& lower = isDown ? inTo : inFrom;
    const std::int64_t lines = std::int64_t{lower.y} - upper.y;
    if (static_cast<std::int64_t>(ioCrossings.size()) + lines > kMostSpans) throw std::bad_alloc();
    const double width = static_cast<double>(lower.x) - upper.x;
    for (std::int64_t line = 0; line < lines; ++line) {
        // One division, so that a crossing at a centre is found to be exactly there.
        const double across =
            static_cast<double>(2 * line + 1) * width / static_cast<double>(lines);
        const double x = std::ceil((2.0 * upper.x + across - 1) / 2);
        ioCrossings.push_back(
            {static_cast<int>(upper.y + line), static_cast<int>(x), isDown ? 1 : -1});
    }
}

Spans PolygonSpans(const POINT* inPoints, int inCount, int inMode) {
    std::vector<Crossing> crossings;
    for (int i = 0; i < inCount; ++i)
        AddCrossings(inPoints[i], inPoints[i + 1 < inCount ? i + 1 : 0], crossings);
    std::ranges::sort(crossings);
    const int counted = inMode == ALTERNATE ? 1 : ~0;  // bits of the turns
    Spans spans;
    int turns = 0;
    int start = 0;
    for (const Crossing& crossing : crossings) {
        const bool wasInside = (turns & counted) != 0;
        turns += crossing.turns;
        const bool isInside = (turns & counted) != 0;
        if (isInside && !wasInside) start = crossing.x;
        if (wasInside && !isInside && start < crossing.x)
            spans.push_back({start, crossing.y, crossing.x, crossing.y + 1});
    }
    return spans;
}

// ---------------------------------------------------------------------------------------------
// Combinations

using Shape = pixman_region32_t;

bool Exclude(Shape* outShape, const Shape* inFirst, const Shape* inSecond) {
    Region common, either;
    return pixman_region32_intersect(&common.shape, inFirst, inSecond) &&
           pixman_region32_union(&either.shape, inFirst, inSecond) &&
           pixman_region32_subtract(outShape, &either.shape, &common.shape);
}

bool Subtract(Shape* outShape, const Shape* inFirst, const Shape* inSecond) {
    return pixman_region32_subtract(outShape, inFirst, inSecond);
}

bool Intersect(Shape* outShape, const Shape* inFirst, const Shape* inSecond) {
    return pixman_region32_intersect(outShape, inFirst, inSecond);
}

bool Unite(Shape* outShape, const Shape* inFirst, const Shape* inSecond) {
    return pixman_region32_union(outShape, inFirst, inSecond);
}

bool Copy(Shape* outShape, const Shape* inFirst, const Shape*) {
    return pixman_region32_copy(outShape, inFirst);
}

using Combination = bool (*)(Shape*, const Shape*, const Shape*);

Combination CombinationOf(int inMode) {
    // In the order of their numbers.
    static constexpr std::array<Combination, 5> kCombinations{Intersect, Unite, Exclude, Subtract,
                                                              Copy};
    static_assert(RGN_AND == 1 && RGN_COPY == 5);
    if (inMode < RGN_AND || inMode > RGN_COPY) return nullptr;
    return kCombinations[static_cast<std::size_t>(inMode - RGN_AND)];
}

int KindOf(const Shape& inShape) {
    const int boxes = pixman_region32_n_rects(&inShape);
    if (boxes == 0) return NULLREGION;
    return boxes == 1 ? SIMPLEREGION : COMPLEXREGION;
}

}  // namespace

using namespace win32;

HRGN CreateRectRgn(int inLeft, int inTop, int inRight, int inBottom) try {
    return NewRegion({Ordered(inLeft, inTop, inRight, inBottom)});
} catch (const std::bad_alloc&) {
    return nullptr;
}

HRGN CreateEllipticRgn(int inLeft, int inTop, int inRight, int inBottom) try {
    return NewRegion(EllipseSpans(Ordered(inLeft, inTop, inRight, inBottom)));
} catch (const std::bad_alloc&) {
    return nullptr;
}

HRGN CreatePolygonRgn(const POINT* inPoints, int inCount, int inMode) try {
    const bool isKnown = inMode == ALTERNATE || inMode == WINDING;
    if (!inPoints || inCount <= 0 || !isKnown) return nullptr;
    return NewRegion(PolygonSpans(inPoints, inCount, inMode));
} catch (const std::bad_alloc&) {
    return nullptr;
}

int CombineRgn(HRGN outRegion, HRGN inFirst, HRGN inSecond, int inMode) {
    const LockedObjects objects;
    const auto result = objects->Find<Region>(outRegion);
    const auto first = objects->Find<Region>(inFirst);
    const auto second = inMode == RGN_COPY ? first : objects->Find<Region>(inSecond);
    const Combination combine = CombinationOf(inMode);
    if (!result || !first || !second || !combine) return 0;
    Region combined;  // so that a failure leaves the result as it was
    if (!combine(&combined.shape, &first->shape, &second->shape)) return 0;
    std::swap(result->shape, combined.shape);
    return KindOf(result->shape);
}

BOOL FillRgn(HDC inContext, HRGN inRegion, HBRUSH inBrush) {
    const auto bitmap = BitmapOf(inContext);
    const LockedObjects objects;  // the region must not change meanwhile
    const auto region = objects->Find<Region>(inRegion);
    const auto brush = objects->Find<Brush>(inBrush);
    if (!bitmap || !region || !brush) return false;
    int count = 0;
    const pixman_box32_t* const boxes = pixman_region32_rectangles(&region->shape, &count);
    for (int i = 0; i < count; ++i)
        Fill(*bitmap, {boxes[i].x1, boxes[i].y1, boxes[i].x2, boxes[i].y2}, brush->isWhite);
    return true;
}
