// Frames of every DV format, damaged in places: converted, scaled and merged.
#include <cstdlib>

#include "contracts/Scanvo.h"
#include "fuzz/Input.h"

namespace fuzz {
namespace {

constexpr SV_PixelFormat kBgra{0x004};

constexpr struct Kind {
    std::uint32_t code;
    std::int32_t width, height;

    SV_PixelFormat Format() const { return static_cast<SV_PixelFormat>(code); }
} kKinds[] = {{0x01000021, 720, 480}, {0x02000021, 720, 576},   {0x03000221, 960, 720},
              {0x04000221, 960, 720}, {0x05000221, 1280, 1080}, {0x06000221, 1440, 1080},
              {0x07000021, 720, 480}, {0x08000021, 720, 576}};

/// A frame of stripes.
Bytes MakeFrame(const Kind& inKind) {
    Bytes pixels(static_cast<std::size_t>(inKind.width * inKind.height * 4));
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint8_t>(i / 16);
    Bytes frame(
        static_cast<std::size_t>(SV_PixelFormatSize(inKind.Format(), inKind.width, inKind.height)));
    const std::int32_t result = SV_Convert(pixels.data(), inKind.width * 4, kBgra, frame.data(), 0,
                                           inKind.Format(), inKind.width, inKind.height, 4);
    if (result != kSV_Success) std::abort();
    return frame;
}

/// Overwrites parts of blocks, which are 80 bytes long.
void Damage(Input& ioInput, Bytes& ioFrame) {
    while (!ioInput.IsEmpty()) {
        const std::size_t block = ioInput.Take<std::uint16_t>() % (ioFrame.size() / 80) * 80;
        const std::int32_t start = ioInput.Between(0, 79);
        std::ranges::copy(ioInput.Pattern(ioInput.Between(1, 80 - start)),
                          ioFrame.begin() + static_cast<std::ptrdiff_t>(block) + start);
    }
}

void Render(Input inInput) {
    static Bytes frames[std::size(kKinds)];
    const Kind& kind = inInput.OneOf(kKinds);
    Bytes& whole = frames[&kind - kKinds];
    if (whole.empty()) whole = MakeFrame(kind);

    const bool isMerged = inInput.Flag();
    const std::int32_t quality = inInput.Between(0, 5);
    const std::uint32_t field = static_cast<std::uint32_t>(quality) % 3;
    const std::int32_t width = inInput.Flag() ? kind.width : inInput.Between(1, 80);
    const std::int32_t height = inInput.Flag() ? kind.height : inInput.Between(1, 60);
    Bytes damaged = whole;
    Damage(inInput, damaged);
    Bytes merged(isMerged ? whole.size() : 0);
    if (isMerged) {
        SV_MergeDV(damaged.data(), whole.data(), merged.data(),
                   static_cast<std::int32_t>(whole.size()), quality);
        SV_MergeDVCPRO(whole.data(), damaged.data(), merged.data(), kind.Format(), quality);
    } else {
        Bytes pixels(static_cast<std::size_t>(width * height * 4));
        SV_ScaleConvert(damaged.data(), 0, kind.width, kind.height, kind.Format(), field,
                        pixels.data(), width * 4, width, height, kBgra, field, quality);
    }
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    fuzz::Render({inData, inSize});
    return 0;
}
