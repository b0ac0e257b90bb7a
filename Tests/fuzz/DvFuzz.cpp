// Frames of every DV format, damaged in places: converted, scaled and merged.
#include "contracts/Scanvo.h"
#include "fuzz/Input.h"

namespace fuzz {
namespace {

constexpr SV_PixelFormat kBgra{0x004};

// The code of a format without its kind, which is the place in this list.
constexpr struct Kind {
    std::int32_t width, height;
    std::uint32_t code;
} kKinds[] = {{720, 480, 0x21},    {720, 576, 0x21},    {960, 720, 0x221}, {960, 720, 0x221},
              {1280, 1080, 0x221}, {1440, 1080, 0x221}, {720, 480, 0x21},  {720, 576, 0x21}};

/// A frame of four colours that run into one another.
Bytes MakeFrame(SV_PixelFormat inFormat, const Kind& inKind) {
    constexpr std::uint8_t kPixels[4 * 4] = {200, 30, 5, 255, 0, 90, 150, 255, 250, 250, 80, 255};
    Bytes frame(
        static_cast<std::size_t>(SV_PixelFormatSize(inFormat, inKind.width, inKind.height)));
    SV_ScaleConvert(kPixels, 8, 2, 2, kBgra, 0, frame.data(), 0, inKind.width, inKind.height,
                    inFormat, 0, 4);
    return frame;
}

}  // namespace

void Run(Input inInput) {
    static Bytes frames[std::size(kKinds)];
    const Kind& kind = inInput.OneOf(kKinds);
    const auto index = static_cast<std::size_t>(&kind - kKinds);
    const auto format = static_cast<SV_PixelFormat>((index + 1) << 24 | kind.code);
    Bytes& whole = frames[index];
    if (whole.empty()) whole = MakeFrame(format, kind);

    const bool isMerged = inInput.Flag();
    const std::int32_t quality = inInput.Between(0, 5);
    const std::uint32_t field = inInput.Between<std::uint32_t>(0, 3);
    const std::int32_t width = inInput.Flag() ? kind.width : inInput.Between(1, 80);
    const std::int32_t height = inInput.Flag() ? kind.height : inInput.Between(1, 60);
    Bytes damaged = whole;
    while (!inInput.IsEmpty()) {  // parts of blocks, which are 80 bytes long
        const std::size_t block = inInput.Take<std::uint16_t>() % (whole.size() / 80) * 80;
        const auto start = inInput.Between<std::size_t>(0, 79);
        const Bytes part = inInput.Pattern(inInput.Between(1, 80));
        std::copy_n(part.begin(), std::min(part.size(), 80 - start), &damaged[block + start]);
    }
    Bytes output(isMerged ? whole.size() : static_cast<std::size_t>(width * height * 4));
    if (isMerged) {
        SV_MergeDV(damaged.data(), whole.data(), output.data(),
                   static_cast<std::int32_t>(whole.size()), quality);
        SV_MergeDVCPRO(whole.data(), damaged.data(), output.data(), format, quality);
    } else {
        SV_ScaleConvert(damaged.data(), 0, kind.width, kind.height, format, field, output.data(),
                        width * 4, width, height, kBgra, field, quality);
    }
}

}  // namespace fuzz
