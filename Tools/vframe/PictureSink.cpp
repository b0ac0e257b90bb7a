#include "PictureSink.h"

#include "ClipWriter.h"
#include "Failure.h"
#include "PngWriter.h"
#include "RawFile.h"

namespace vframe {

const char* const kOutputHelp =
    "What the ending says: .png a picture, .mkv a lossless clip (FFV1), .mp4 and .mov H.264, "
    ".avi MPEG-4, .webm VP9, .raw frame memory as it stands";

std::unique_ptr<PictureSink> OpenSink(const std::string& inPath, FrameRate inRate) {
    if (IsRawPath(inPath)) return std::make_unique<RawWriter>(inPath);
    if (EndingOf(inPath) == ".png") return std::make_unique<PngWriter>(inPath);
    if (ClipWriter::Takes(inPath)) return std::make_unique<ClipWriter>(inPath, inRate);
    throw UsageFailure(inPath,
                       "the ending says nothing; use .png, .mkv, .mp4, .mov, .avi, .webm or .raw");
}

void WritePicture(const std::string& inPath, const VF::VideoFrameRef& inFrame) {
    const auto sink = OpenSink(inPath);
    sink->Write(inFrame);
    sink->Finish();
}

}  // namespace vframe
