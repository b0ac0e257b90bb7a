#include "operations/Warp.h"

#include <algorithm>
#include <cmath>

#include "fast/SampleRows.h"
#include "operations/FormatRows.h"

namespace scanvo {
namespace {

// Columns of the destination, the end exclusive.
struct Columns {
    std::int32_t begin, end;
};

Columns ClippedTo(std::int32_t inWidth, const Span& inSpan) {
    const auto clip = [inWidth](double column) {
        return static_cast<std::int32_t>(std::clamp(column, 0.0, static_cast<double>(inWidth)));
    };
    return {clip(inSpan.begin), clip(inSpan.end)};
}

class Warp {
  public:
    Warp(const Source& inSource, const Quad& inSourceQuad, const Destination& ioDestination,
         const Quad& inDestinationQuad, const WarpSettings& inSettings)
        : source_(inSource),
          destination_(ioDestination),
          quad_(inDestinationQuad),
          settings_(inSettings),
          toSource_(ProjectionBetween(inDestinationQuad, inSourceQuad)),
          sample_(FindSampleRow(inSource, inSettings.isNearest)),
          lay_(FindLayPixels(inSource.format)),
          amounts_(scratch_.Floats(ioDestination.width)),
          pixels_(ScratchBytes(UsedRowBytes(ioDestination.format, ioDestination.width), scratch_)) {
        // Pixels at an edge have their centres a little outside, where the map may end.
        constexpr double kMargin = 0.25;
        constexpr double kLeast = 1e-12;
        leastW_ = ValueAt(toSource_, 2, quad_[0]);
        for (const SV_Point& corner : quad_)
            leastW_ = std::min(leastW_, ValueAt(toSource_, 2, corner));
        leastW_ = std::max(leastW_ * kMargin, kLeast);
    }

    void DrawRow(std::int32_t inRow) {
        if (settings_.antialiasesEdges) {
            DrawCovered(inRow);
        } else {
            const Columns columns = ClippedTo(destination_.width, CentresInside(quad_, inRow));
            DrawFilled(inRow, columns);
        }
    }

  private:
    void DrawCovered(std::int32_t inRow) {
        const RowCoverage coverage(quad_, inRow);
        const Columns touched = ClippedTo(destination_.width, coverage.Touched());
        const Columns filled = ClippedTo(destination_.width, coverage.Filled());
        DrawPartly(inRow, coverage, {touched.begin, std::min(filled.begin, touched.end)});
        DrawFilled(inRow, filled);
        DrawPartly(inRow, coverage, {std::max(filled.end, touched.begin), touched.end});
    }

    void DrawPartly(std::int32_t inRow, const RowCoverage& inCoverage, const Columns& inColumns) {
        for (std::int32_t column = inColumns.begin; column < inColumns.end; ++column) {
            amounts_[column - inColumns.begin] =
                static_cast<float>(inCoverage.Of(column)) * settings_.opacity;
        }
        LayColumns(inRow, inColumns);
    }

    void DrawFilled(std::int32_t inRow, const Columns& inColumns) {
        if (inColumns.begin >= inColumns.end) return;
        if (settings_.opacity >= 1) {
            SampleColumns(inRow, inColumns, PixelAt(inRow, inColumns.begin));
        } else {
            std::fill_n(amounts_, inColumns.end - inColumns.begin, settings_.opacity);
            LayColumns(inRow, inColumns);
        }
    }

    // By the amounts that are set.
    void LayColumns(std::int32_t inRow, const Columns& inColumns) {
        if (inColumns.begin >= inColumns.end) return;
        SampleColumns(inRow, inColumns, pixels_);
        lay_(destination_.format, pixels_, amounts_, inColumns.end - inColumns.begin,
             PixelAt(inRow, inColumns.begin));
    }

    void SampleColumns(std::int32_t inRow, const Columns& inColumns, std::byte* outPixels) const {
        const SV_Point centre = {inColumns.begin + 0.5, inRow + 0.5};
        const auto& matrix = toSource_.matrix;
        const MapLine line = {ValueAt(toSource_, 0, centre),
                              ValueAt(toSource_, 1, centre),
                              ValueAt(toSource_, 2, centre),
                              matrix[0][0],
                              matrix[1][0],
                              matrix[2][0],
                              leastW_};
        sample_(source_, line, inColumns.end - inColumns.begin, outPixels);
    }

    std::byte* PixelAt(std::int32_t inRow, std::int32_t inColumn) const {
        return RowAt(destination_, inRow) + std::int64_t{inColumn} * destination_.format.unitBytes;
    }

    Scratch scratch_;
    Source source_;
    Destination destination_;
    Quad quad_;
    WarpSettings settings_;
    Projection toSource_;
    double leastW_ = 0;
    SampleRow sample_;
    LayPixels lay_;
    float* amounts_;
    std::byte* pixels_;
};

}  // namespace

void WarpQuad(const Source& inSource, const Quad& inSourceQuad, const Destination& ioDestination,
              const Quad& inDestinationQuad, const WarpSettings& inSettings) {
    Warp warp(inSource, inSourceQuad, ioDestination, inDestinationQuad, inSettings);
    Span rows{inDestinationQuad[0].y, inDestinationQuad[0].y};
    for (const SV_Point& corner : inDestinationQuad)
        rows = {std::min(rows.begin, corner.y), std::max(rows.end, corner.y)};
    const auto [begin, end] =
        ClippedTo(ioDestination.height, {std::floor(rows.begin), std::ceil(rows.end)});
    for (std::int32_t row = begin; row < end; ++row)
        warp.DrawRow(row);
}

}  // namespace scanvo
