// Where pictures come from: files that FFmpeg's libraries read, and raw frame memory.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Frames.h"

namespace vframe {

struct FrameRate {
    int numerator = 25;
    int denominator = 1;
};

class PictureSource {
  public:
    virtual ~PictureSource() = default;

    /// The next picture, valid until the next call; nothing at the end. Raises Failure for what
    /// cannot be read.
    virtual std::optional<PictureView> Next() = 0;

    /// The named format that comes nearest to what the source holds.
    virtual tulomediatypes::PixelFormat Format() const = 0;

    /// How many pictures there are, as far as the file says.
    virtual std::optional<std::int64_t> Count() const = 0;

    virtual FrameRate Rate() const { return {}; }

    /// Whether it is one picture, not a clip.
    virtual bool IsStill() const { return false; }
};

/// The arguments that name an input.
struct InputArguments {
    std::string path;
    std::string rawFormat;
    std::string rawSize;

    void AddTo(CLI::App& inCommand);
};

/// A picture or clip; raises UsageFailure for a .raw file.
std::unique_ptr<PictureSource> OpenMedia(const std::string& inPath);

std::unique_ptr<PictureSource> OpenSource(const InputArguments& inArguments);

/// The source's first picture.
PictureView FirstPicture(PictureSource& inSource, const std::string& inPath);

}  // namespace vframe
