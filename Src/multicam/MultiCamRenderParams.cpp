#include "VideoFrame/MultiCamRendering.h"
#include "multicam/WholePixels.h"

namespace VF {
namespace {

/// What every derived record has in common, once its size and scales stand.
void Complete(MultiCamRenderParams& ioParams) {
    ioParams.settingA = 1;
    ioParams.settingB = 0;
    ioParams.settingC = 1;
    ioParams.fullWidth = WholePixels(ioParams.width / ioParams.scaleX);
    ioParams.fullHeight = WholePixels(ioParams.height / ioParams.scaleY);
    ioParams.fullPixelAspectRatio = ioParams.pixelAspectRatio;
}

}  // namespace

MultiCamRenderParams UnSelectedRenderParams(const MultiCamRenderParams& inParams,
                                            bool inSideBySide) {
    MultiCamRenderParams params = inParams;
    params.width /= inSideBySide ? 4 : 2;
    params.height /= 2;
    params.scaleX *= 0.5;
    params.scaleY *= 0.5;
    Complete(params);
    return params;
}

MultiCamRenderParams SelectedRenderParams(const MultiCamRenderParams& inParams, bool inSideBySide) {
    if (!inSideBySide) return UnSelectedRenderParams(inParams, false);
    MultiCamRenderParams params = inParams;
    params.width /= 2;
    Complete(params);
    return params;
}

}  // namespace VF
