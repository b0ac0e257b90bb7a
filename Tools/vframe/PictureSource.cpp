#include "PictureSource.h"

#include <filesystem>
#include <fstream>

#include "Failure.h"
#include "MediaReader.h"
#include "RawFile.h"

namespace vframe {
namespace {

/// Says what FFmpeg's libraries would say less clearly.
void CheckReadable(const std::string& inPath) {
    if (std::filesystem::is_directory(inPath)) throw Failure(inPath, "is a folder");
    errno = 0;
    if (!std::ifstream(inPath))
        throw Failure(inPath, std::generic_category().message(errno ? errno : EIO));
}

}  // namespace

void InputArguments::AddTo(CLI::App& inCommand) {
    inCommand.add_option("INPUT", path, "A picture or clip, or frame memory in a .raw file")
        ->required();
    inCommand.add_option("--input-format", rawFormat, "Format of a .raw input")->type_name("NAME");
    inCommand.add_option("--input-size", rawSize, "Size of a .raw input")->type_name("WxH");
}

std::unique_ptr<PictureSource> OpenMedia(const std::string& inPath) {
    if (IsRawPath(inPath))
        throw UsageFailure(inPath, "frame memory says nothing of its format; convert it first");
    CheckReadable(inPath);
    return std::make_unique<MediaReader>(inPath);
}

std::unique_ptr<PictureSource> OpenSource(const InputArguments& inArguments) {
    if (!IsRawPath(inArguments.path)) {
        if (!inArguments.rawFormat.empty() || !inArguments.rawSize.empty()) {
            throw UsageFailure(inArguments.path,
                               "--input-format and --input-size are for .raw files");
        }
        return OpenMedia(inArguments.path);
    }
    if (inArguments.rawFormat.empty() || inArguments.rawSize.empty()) {
        throw UsageFailure(inArguments.path,
                           "a .raw file needs --input-format NAME and --input-size WxH");
    }
    const auto format = ParseFormat("--input-format", inArguments.rawFormat);
    const Size size = ParseSize("--input-size", inArguments.rawSize);
    CheckReadable(inArguments.path);
    return std::make_unique<RawReader>(inArguments.path, format, size);
}

PictureView FirstPicture(PictureSource& inSource, const std::string& inPath) {
    if (const auto picture = inSource.Next()) return *picture;
    throw Failure(inPath, "holds no picture");
}

}  // namespace vframe
