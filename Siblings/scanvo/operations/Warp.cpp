#include "operations/Warp.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "fast/SampleRows.h"
#include "operations/Conversion.h"
#include "operations/Selection.h"
#include "rows/Scratch.h"

namespace scanvo {
namespace {

// Columns or rows, the end exclusive.
struct Range {
    std::int32_t begin, end;
};

Range ClippedTo(std::int32_t inWidth, const Span& inSpan) {
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
          pixels_(scratch_.Bytes(UsedRowBytes(ioDestination.format, ioDestination.width))) {
        // Pixels at an edge have their centres a little outside, where the map may end.
        constexpr double kMargin = 0.25;
        constexpr double kLeast = 1e-12;
        leastW_ = ValueAt(toSource_, 2, quad_[0]);
        for (const SV_Point& corner : quad_)
            leastW_ = std::min(leastW_, ValueAt(toSource_, 2, corner));
        leastW_ = std::max(leastW_ * kMargin, kLeast);
    }

    /// Gives the columns that were drawn.
    Range DrawRow(std::int32_t inRow) {
        if (settings_.antialiasesEdges) return DrawCovered(inRow);
        const Range columns = ClippedTo(destination_.width, CentresInside(quad_, inRow));
        DrawFilled(inRow, columns);
        return columns;
    }

  private:
    Range DrawCovered(std::int32_t inRow) {
        const RowCoverage coverage(quad_, inRow);
        const Range touched = ClippedTo(destination_.width, coverage.Touched());
        const Range filled = ClippedTo(destination_.width, coverage.Filled());
        DrawPartly(inRow, coverage, {touched.begin, std::min(filled.begin, touched.end)});
        DrawFilled(inRow, filled);
        DrawPartly(inRow, coverage, {std::max(filled.end, touched.begin), touched.end});
        return touched;
    }

    void DrawPartly(std::int32_t inRow, const RowCoverage& inCoverage, const Range& inColumns) {
        for (std::int32_t column = inColumns.begin; column < inColumns.end; ++column) {
            amounts_[column - inColumns.begin] =
                static_cast<float>(inCoverage.Of(column)) * settings_.opacity;
        }
        LayColumns(inRow, inColumns);
    }

    void DrawFilled(std::int32_t inRow, const Range& inColumns) {
        if (inColumns.begin >= inColumns.end) return;
        if (settings_.opacity >= 1) {
            SampleColumns(inRow, inColumns, PixelAt(inRow, inColumns.begin));
        } else {
            std::fill_n(amounts_, inColumns.end - inColumns.begin, settings_.opacity);
            LayColumns(inRow, inColumns);
        }
    }

    // By the amounts that are set.
    void LayColumns(std::int32_t inRow, const Range& inColumns) {
        if (inColumns.begin >= inColumns.end) return;
        SampleColumns(inRow, inColumns, pixels_);
        lay_(destination_.format, pixels_, amounts_, inColumns.end - inColumns.begin,
             PixelAt(inRow, inColumns.begin));
    }

    void SampleColumns(std::int32_t inRow, const Range& inColumns, std::byte* outPixels) const {
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

// ---- Areas --------------------------------------------------------------------------------------

// The part of a 4:4:4:4 picture inside a rectangle, as a picture.
template <class Byte>
PictureOf<Byte> PartOf(const PictureOf<Byte>& inPicture, const SV_Rect& inRect) {
    return {RowAt(inPicture, inRect.top) + std::int64_t{inRect.left} * inPicture.format.unitBytes,
            inPicture.rowBytes, inRect.right - inRect.left, inRect.bottom - inRect.top,
            inPicture.format};
}

// Counted from another place.
WarpArea MovedBy(WarpArea inArea, std::int32_t inX, std::int32_t inY) {
    inArea.rect = {inArea.rect.left - inX, inArea.rect.top - inY, inArea.rect.right - inX,
                   inArea.rect.bottom - inY};
    for (SV_Point& corner : inArea.corners)
        corner = {corner.x - inX, corner.y - inY};
    return inArea;
}

// The rows of the rectangle that the corners reach, the end exclusive.
Range RowsOf(const WarpArea& inArea) {
    Span rows{inArea.corners[0].y, inArea.corners[0].y};
    for (const SV_Point& corner : inArea.corners)
        rows = {std::min(rows.begin, corner.y), std::max(rows.end, corner.y)};
    const auto clip = [&inArea](double row) {
        return static_cast<std::int32_t>(
            std::clamp<double>(row, inArea.rect.top, inArea.rect.bottom));
    };
    return {clip(std::floor(rows.begin)), clip(std::ceil(rows.end))};
}

// ---- Pixels that stand for themselves -----------------------------------------------------------

// Calls inDrawn(row, columns) for the rows that are drawn.
template <class Drawn>
void WarpPixels(const Source& inSource, const WarpArea& inFrom, const Destination& ioDestination,
                const WarpArea& inTo, const WarpSettings& inSettings, const Drawn& inDrawn) {
    const SV_Rect& area = inTo.rect;
    Warp warp(PartOf(inSource, inFrom.rect),
              MovedBy(inFrom, inFrom.rect.left, inFrom.rect.top).corners,
              PartOf(ioDestination, area), MovedBy(inTo, area.left, area.top).corners, inSettings);
    const auto [begin, end] = RowsOf(inTo);
    for (std::int32_t row = begin; row < end; ++row) {
        const Range drawn = warp.DrawRow(row - area.top);
        inDrawn(row, Range{area.left + drawn.begin, area.left + drawn.end});
    }
}

// ---- Pixels that share chroma -------------------------------------------------------------------

Source SourceOf(const Destination& inPicture) {
    Source source{inPicture.start, inPicture.rowBytes, inPicture.width, inPicture.height,
                  inPicture.format};
    for (std::size_t i = 0; i < source.chroma.size(); ++i) {
        const auto& plane = inPicture.chroma[i];
        source.chroma[i] = {plane.start, plane.rowBytes, plane.step};
    }
    return source;
}

// A picture as single pixels, its rows as they lie in memory.
class SinglePixelCopy {
  public:
    explicit SinglePixelCopy(const Source& inPicture)
        : isPlanar_(inPicture.format.layout == Layout::Planar) {
        const Format format = SinglePixels(inPicture.format);
        const std::int64_t rowBytes = UsedRowBytes(format, inPicture.width);
        bytes_ = std::make_unique_for_overwrite<std::byte[]>(
            static_cast<std::size_t>(rowBytes * inPicture.height));
        rows_ = {bytes_.get(), rowBytes, inPicture.width, inPicture.height, format};
        ConvertPicture(inPicture, Upright());
    }

    const Destination& Rows() const { return rows_; }
    Source AsSource() const { return SourceOf(rows_); }
    /// Row 0 is the bottom one, as packed pictures have it.
    Source UprightSource() const { return SourceOf(Upright()); }

  private:
    Destination Upright() const {
        Destination upright = rows_;
        if (!isPlanar_) return upright;
        upright.start = RowAt(rows_, rows_.height - 1);
        upright.rowBytes = -rows_.rowBytes;
        return upright;
    }

    std::unique_ptr<std::byte[]> bytes_;
    Destination rows_;
    bool isPlanar_;
};

// A part of the rows as a picture. Those of a planar picture go together.
template <class Byte>
PictureOf<Byte> RowsBetween(const PictureOf<Byte>& inPicture, const Range& inRows) {
    PictureOf<Byte> part = inPicture;
    part.start = RowAt(inPicture, inRows.begin);
    part.height = inRows.end - inRows.begin;
    return part;
}

// The pictures are those rows alone that are read and written.
void WarpShared(const Source& inSource, const WarpArea& inFrom, const Destination& ioDestination,
                const WarpArea& inTo, const WarpSettings& inSettings) {
    const SinglePixelCopy source(inSource);
    const SinglePixelCopy destination(SourceOf(ioDestination));
    std::vector<Range> drawnRows(static_cast<std::size_t>(ioDestination.height));
    WarpPixels(source.AsSource(), inFrom, destination.Rows(), inTo, inSettings,
               [&](std::int32_t row, const Range& drawn) {
                   drawnRows[static_cast<std::size_t>(row)] = drawn;
               });
    const auto maskOfRow = [&](std::int32_t row, std::uint8_t* outPixels) {
        const auto [begin, end] = drawnRows[static_cast<std::size_t>(row)];
        std::fill_n(outPixels, ioDestination.width, std::uint8_t{0});
        std::fill(outPixels + begin, outPixels + std::max(begin, end), std::uint8_t{0xFF});
    };
    SelectPixels(destination.UprightSource(), SourceOf(ioDestination), maskOfRow, ioDestination);
}

}  // namespace

void WarpPicture(const Source& inSource, const WarpArea& inFrom, const Destination& ioDestination,
                 const WarpArea& inTo, const WarpSettings& inSettings) {
    const Format& format = inSource.format;
    if (format.layout == Layout::Packed4444) {
        WarpPixels(inSource, inFrom, ioDestination, inTo, inSettings,
                   [](std::int32_t, const Range&) {});
        return;
    }
    if (format.layout == Layout::Planar) {
        WarpShared(inSource, inFrom, ioDestination, inTo, inSettings);
        return;
    }
    const Range sourceRows{inFrom.rect.top, inFrom.rect.bottom};
    const Range rows = RowsOf(inTo);
    if (rows.begin >= rows.end) return;
    // Units are written whole; what they hold beyond the area stays.
    Destination part = RowsBetween(ioDestination, rows);
    part.width = (part.width + format.unitPixels - 1) / format.unitPixels * format.unitPixels;
    WarpArea to = MovedBy(inTo, 0, rows.begin);
    to.rect.top = 0;
    to.rect.bottom = part.height;
    WarpShared(RowsBetween(inSource, sourceRows), MovedBy(inFrom, 0, sourceRows.begin), part, to,
               inSettings);
}

}  // namespace scanvo
