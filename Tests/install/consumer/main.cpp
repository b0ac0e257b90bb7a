#include <VideoFrame/VideoFrame.h>

#include <cstdio>

int main() {
    VF::Initialize();
    VF::VideoFrameRef frame;
    VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, 1920, 1080, {1, 1}, true,
                         false);
    const int status = VF::PublishVideoFrame(frame, tulocore::utility::Guid::Generate());
    std::printf("%d x %d, published: %d\n", frame->GetBounds().right, frame->GetBounds().bottom,
                status);
    frame = nullptr;
    // Hosts call the libraries beside it as well.
    const bool isAlone = OV::GetMediaManager()->GetUsedBytes() == 0 &&
                         hoardex::CountBlocks() == 0 && win32::CountObjects() == 0;
    VF::Shutdown();
    return isAlone ? status : 1;
}
