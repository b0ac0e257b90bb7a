#include "VideoFrame/MultiCamRendering.h"

#include <algorithm>
#include <array>
#include <boost/bind/bind.hpp>
#include <boost/function.hpp>

#include "VideoFrame/SharedVideoFrameCache.h"
#include "VideoFrame/VideoFrameFactory.h"
#include "multicam/CellDrawing.h"
#include "multicam/WholePixels.h"

namespace VF {
namespace {

constexpr std::size_t kMostSources = 4;
constexpr double kOutlineThickness = 4;  // pixels, at scale 1
// What the media manager is told of a blank frame.
constexpr unsigned kManagerValueOfBlanks = 10;

// ---------------------------------------------------------------------------------------------
// Tasks

/// Each owns what it draws and where to.
using Tasks = std::vector<boost::function<void()>>;

void RunTask(const Tasks& inTasks, int inIndex) {
    inTasks[static_cast<std::size_t>(inIndex)]();
}

void Run(const Tasks& inTasks, bool inUseAllProcessors) {
    const boost::function<void(int)> run =
        boost::bind(&RunTask, boost::cref(inTasks), boost::placeholders::_1);
    const int count = static_cast<int>(inTasks.size());
    if (inUseAllProcessors) {
        tulocore::threads::ExecuteCPUBoundTaskOnAllProcessors(run, count);
        return;
    }
    for (int i = 0; i < count; ++i)
        run(i);
}

// ---------------------------------------------------------------------------------------------
// Outputs

/// Null when it cannot be created. Creation that succeeds without a frame raises
/// Brix::NullInterfaceException: there is nothing to draw into.
VideoFrameRef CreateOutput(const MultiCamRenderParams& inParams) {
    VideoFrameRef output;
    if (CreateVideoFrame(output, inParams.pixelFormat, inParams.width, inParams.height,
                         inParams.pixelAspectRatio, false, false) < 0)
        return nullptr;
    return VideoFrameRef(&*output);
}

enum class Coverage { kCells, kWholeOutput };

/// A new output after inDraw. That takes a frame whose pixels can be addressed, unless it draws one
/// picture over the whole output, which the renderer can do in any format.
template <class Draw>
VideoFrameRef Render(const MultiCamRenderParams& inParams, Coverage inCoverage,
                     const Draw& inDraw) {
    const VideoFrameRef output = CreateOutput(inParams);
    if (!output) return nullptr;
    if (inCoverage == Coverage::kWholeOutput || HasAddressablePixels(output)) {
        inDraw(output);
        return output;
    }
    MultiCamRenderParams packed = inParams;
    packed.pixelFormat = tulomediatypes::Select4444PixelFormat(inParams.pixelFormat, 0);
    const VideoFrameRef drawn = CreateOutput(packed);
    if (!drawn) return nullptr;
    inDraw(drawn);
    const Brix::Rect bounds = output->GetBounds();
    DrawScaled(drawn, output, {0, 0, bounds.Width(), bounds.Height()});
    return output;
}

// ---------------------------------------------------------------------------------------------
// Layout

/// The cells of an output, in display coordinates.
struct Layout {
    Layout(const VideoFrameRef& inOutput, bool inSideBySide) {
        const Brix::Rect bounds = inOutput->GetBounds();
        const std::int32_t unit = PixelsPerUnit(inOutput);
        const auto share = [&](std::int32_t inParts) {
            return bounds.Width() / inParts / unit * unit;
        };
        width = bounds.Width();
        height = bounds.Height();
        cellWidth = share(inSideBySide ? 4 : 2);
        cellHeight = height / 2;
        half = share(2);
    }

    Cell GridCell(std::size_t inIndex) const {
        return {inIndex % 2 == 0 ? 0 : cellWidth, inIndex / 2 == 0 ? 0 : cellHeight, cellWidth,
                cellHeight};
    }
    Cell LeftHalf() const { return {0, 0, half, height}; }
    Cell RightHalf() const { return {half, 0, half, height}; }

    std::int32_t width, height;
    std::int32_t cellWidth, cellHeight;
    std::int32_t half;
};

/// The columns from inLeft to inRight, as high as the output.
void DrawBlackColumns(const VideoFrameRef& inOutput, const Layout& inLayout, std::int32_t inLeft,
                      std::int32_t inRight) {
    DrawBlack(inOutput, {inLeft, 0, inRight - inLeft, inLayout.height});
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Several angles

VideoFrameRef RenderMulticam(const std::vector<VideoFrameRef>& inSources,
                             unsigned long long inSelectedIndex, bool inSideBySide,
                             bool inRedHighlight, const MultiCamRenderParams& inParams,
                             bool inUseAllProcessors) {
    const std::size_t count = std::min(inSources.size(), kMostSources);
    const bool hasSelection = inSelectedIndex < count;
    return Render(inParams, Coverage::kCells, [&](const VideoFrameRef& inOutput) {
        const Layout layout(inOutput, inSideBySide);
        Tasks tasks;
        const auto add = [&](const VideoFrameRef& inSource, const Cell& inCell) {
            tasks.push_back(boost::bind(&DrawFitted, inSource, inOutput, inCell));
        };
        if (inSideBySide)
            add(hasSelection ? inSources[inSelectedIndex] : nullptr, layout.RightHalf());
        for (std::size_t i = 0; i < kMostSources; ++i)
            add(i < count ? inSources[i] : nullptr, layout.GridCell(i));
        Run(tasks, inUseAllProcessors);

        const std::int32_t gridRight = 2 * layout.cellWidth;
        const std::int32_t gridBottom = 2 * layout.cellHeight;
        DrawBlackColumns(inOutput, layout, gridRight, inSideBySide ? layout.half : layout.width);
        if (inSideBySide) DrawBlackColumns(inOutput, layout, 2 * layout.half, layout.width);
        DrawBlack(inOutput, {0, gridBottom, gridRight, layout.height - gridBottom});
        if (hasSelection) {
            DrawOutline(inOutput, layout.GridCell(inSelectedIndex),
                        WholePixels(kOutlineThickness * inParams.scaleX), inRedHighlight);
        }
    });
}

// ---------------------------------------------------------------------------------------------
// One angle

namespace {

VideoFrameRef BlankFrame(const MultiCamRenderParams& inParams,
                         const tulocore::utility::Guid& inGuid) {
    const bool isCached = !(inGuid == tulocore::utility::Guid());
    VideoFrameRef blank;
    if (isCached) blank = SharedVideoFrameCache::RetrieveFromCache(inGuid);
    if (blank) return blank;
    CreateVideoFrame(blank, inParams.pixelFormat, inParams.width, inParams.height,
                     inParams.pixelAspectRatio, true, true);
    if (!blank) return nullptr;
    blank->SetReadOnly(true);
    if (isCached) SharedVideoFrameCache::InsertIntoCache(blank, inGuid, kManagerValueOfBlanks);
    return blank;
}

}  // namespace

VideoFrameRef RenderNonMulticam(const std::vector<VideoFrameRef>& inSources, bool inSideBySide,
                                const MultiCamRenderParams& inParams,
                                tulocore::utility::Guid inGuid, bool inUseAllProcessors) {
    if (inSources.empty() || !inSources.front()) return BlankFrame(inParams, inGuid);
    const Cell whole{0, 0, static_cast<std::int32_t>(inParams.width),
                     static_cast<std::int32_t>(inParams.height)};
    const bool isFilled = !inSideBySide && FillsCell(inSources.front(), whole);
    const Coverage coverage = isFilled ? Coverage::kWholeOutput : Coverage::kCells;
    return Render(inParams, coverage, [&](const VideoFrameRef& inOutput) {
        const Layout layout(inOutput, inSideBySide);
        Tasks tasks;
        const auto add = [&](const Cell& inCell) {
            tasks.push_back(boost::bind(&DrawFitted, inSources.front(), inOutput, inCell));
        };
        add(inSideBySide ? layout.LeftHalf() : whole);
        if (inSideBySide) add(layout.RightHalf());
        Run(tasks, inUseAllProcessors);
        if (inSideBySide) DrawBlackColumns(inOutput, layout, 2 * layout.half, layout.width);
    });
}

}  // namespace VF
