#include "RawFile.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Failure.h"

namespace vframe {

bool IsRawPath(const std::string& inPath) {
    return EndingOf(inPath) == ".raw";
}

RawReader::RawReader(const std::string& inPath, tulomediatypes::PixelFormat inFormat, Size inSize)
    : path_(inPath), file_(inPath, std::ios::binary), frame_(MakeFrame(inFormat, inSize, {})) {
    frame_->SetFieldType(0);
    const auto frameBytes =
        Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame_)->GetDataSize();
    const std::uintmax_t fileBytes = std::filesystem::file_size(inPath);
    if (fileBytes == 0 || fileBytes % frameBytes != 0) {
        throw Failure(path_,
                      "holds " + Grouped(fileBytes) + " bytes, but a frame is " + Describe(frame_));
    }
    count_ = static_cast<std::int64_t>(fileBytes / frameBytes);
}

std::optional<PictureView> RawReader::Next() {
    if (next_ == count_) return std::nullopt;
    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame_);
    if (!file_.read(static_cast<char*>(memory->GetData()),
                    static_cast<std::streamsize>(memory->GetDataSize())))
        throw Failure(path_, "cannot be read");
    ++next_;
    return ViewFrame(frame_);
}

void RawWriter::Write(const VF::VideoFrameRef& inFrame) {
    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(inFrame);
    output_.Write(memory->GetData(), memory->GetDataSize());
}

}  // namespace vframe
