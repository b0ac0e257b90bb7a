#include "Composite.h"

#include <string>

#include "Failure.h"

namespace vframe {

VF::VideoFrameRef MakeComposite(const std::vector<VF::VideoFrameRef>& inAngles,
                                const CompositeSettings& inSettings) {
    const auto format = tulomediatypes::kPixelFormat_BGRA_4444_8u;
    const auto width = static_cast<std::uint32_t>(inSettings.size.width);
    const auto height = static_cast<std::uint32_t>(inSettings.size.height);
    CheckSize(format, inSettings.size, inSettings.aspectRatio);
    const VF::VideoFrameRef frame =
        VF::RenderMulticam(inAngles, inSettings.selected.value_or(inAngles.size()),
                           inSettings.sideBySide, inSettings.redOutline,
                           {.width = width,
                            .height = height,
                            .pixelAspectRatio = inSettings.aspectRatio,
                            .pixelFormat = format,
                            .scaleX = 1,
                            .scaleY = 1,
                            .fullWidth = width,
                            .fullHeight = height,
                            .fullPixelAspectRatio = inSettings.aspectRatio},
                           inSettings.allProcessors);
    if (!frame)
        throw Failure(ToText(inSettings.size), "there is not enough memory for such a frame");
    return frame;
}

void CheckAngleCount(std::size_t inCount) {
    if (inCount < 1 || inCount > kMostAngles)
        throw UsageFailure("angles",
                           "one to four inputs are needed, not " + std::to_string(inCount));
}

}  // namespace vframe
