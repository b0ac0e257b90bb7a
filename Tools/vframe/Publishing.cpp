#include "Publishing.h"

#include <string>

#include "Failure.h"
#include "LibrarySession.h"

namespace vframe {
namespace {

void ThrowIfTaken(const tulocore::utility::Guid& inGuid) {
    for (const auto& publication : processcoordination::ListBinaryData()) {
        if (publication.guid == inGuid) {
            throw Failure(inGuid.ToString(),
                          "is taken by process " + std::to_string(publication.process));
        }
    }
}

}  // namespace

VF::VideoFrameRef MakePublishableFrameOf(const PictureView& inPicture,
                                         const FrameSettings& inSettings) {
    const PublishableFrames switchedOn;
    VF::VideoFrameRef frame = MakeFrameOf(inPicture, inSettings);
    if (!Brix::QueryInterface<VF::IPublishableVideoFrame>(frame))
        throw Failure(Describe(frame), "there is not enough shared memory for such a frame");
    return frame;
}

void PublishFrame(const VF::VideoFrameRef& inFrame, const tulocore::utility::Guid& inGuid) {
    ThrowIfTaken(inGuid);
    if (VF::PublishVideoFrame(inFrame, inGuid) != VF::kSuccess)
        throw Failure(inGuid.ToString(), "the frame could not be published");
}

}  // namespace vframe
