// The bytes of a shared frame through the checked wrap, and then through whatever takes a frame.
#include <boost/make_shared.hpp>

#include "VideoFrame/VideoFrame.h"
#include "fuzz/Input.h"

namespace fuzz {
namespace {

using VF::VideoFrameRef;
namespace manipulators = VF::VideoFrameManipulators;

struct Received final : processcoordination::BinaryReference {
    explicit Received(Bytes inBytes) : bytes(std::move(inBytes)) {}
    std::uint64_t GetSize() override { return bytes.size(); }
    const void* GetData() override { return bytes.data(); }
    void ReleaseData(const void*) override {}

    Bytes bytes;
};

VideoFrameRef AnyNew(Input& ioInput) {
    VideoFrameRef frame;
    const auto format = ioInput.Format();
    const auto width = ioInput.Between<std::uint32_t>(1, 64);
    const auto height = ioInput.Between<std::uint32_t>(1, 24);
    if (format == kCustom) {
        VF::CreateCustomVideoFrame(frame, format, width, height, 100, {1, 1});
    } else {
        VF::CreateVideoFrame(frame, format, width, height, {1, 1}, true, false);
    }
    return frame;
}

Bytes CopyOf(const VideoFrameRef& inFrame) {
    unsigned long long size = 0;
    VF::GetRequiredSharedMemorySizeForVideoFrame(inFrame, size);
    Bytes bytes(size);
    VF::CopyVideoFrameIntoSharedMemoryBuffer(inFrame, bytes.data(), size);
    return bytes;
}

/// A frame whose rows are spread and turned over, now and then with words of the input as its
/// header's.
VideoFrameRef AnyReceived(Input& ioInput) {
    VF::SharedFrameHeader header;
    const Bytes copy = CopyOf(AnyNew(ioInput));
    std::memcpy(&header, copy.data(), sizeof header);
    const std::int32_t tight = tulomediatypes::UncompressedPixelFormatRowBytes(
        {header.formatCode, header.formatProperties}, header.width);
    if (tight != 0) {
        header.rowBytes = tight + ioInput.Between(0, 40);
        const std::int32_t rest = header.rowBytes * (header.height - 1);
        header.totalSize = static_cast<std::uint32_t>(VF::kFrameHeaderSize + rest + tight);
        if (ioInput.Flag()) {
            header.pixelOffset = static_cast<std::uint32_t>(rest);
            header.rowBytes = -header.rowBytes;
        }
    }
    header.fieldType = ioInput.Between<std::uint32_t>(0, 3);
    header.alphaType = ioInput.Between<std::uint32_t>(0, 3);
    // Now and then there is not enough for the rows.
    if (ioInput.Flag()) header.totalSize -= ioInput.Between<std::uint32_t>(0, 8);
    auto received = boost::make_shared<Received>(ioInput.Pattern(header.totalSize));
    std::memcpy(received->bytes.data(), &header, std::min(sizeof header, received->bytes.size()));
    for (std::int32_t i = ioInput.Between(0, 7) - 4; i > 0; --i) {
        const auto word = ioInput.Take<std::uint32_t>();
        std::memcpy(&received->bytes[ioInput.Between<std::size_t>(0, 23) * 4], &word, sizeof word);
    }
    VideoFrameRef frame;
    VF::WrapCheckedBinaryReference(received, {}, frame);
    return frame;
}

// ---- What takes a frame -------------------------------------------------------------------------

/// Reads both ends of rows that somebody was told of.
void Touch(const VideoFrameRef& inFrame, const void* inStart, std::int64_t inRowBytes,
           std::int32_t inWidth, std::int32_t inRows) {
    const std::int32_t used =
        tulomediatypes::UncompressedPixelFormatRowBytes(inFrame->GetPixelType(), inWidth);
    for (std::int32_t row = 0; row < inRows && used > 0; ++row) {
        const auto* const start = static_cast<const volatile char*>(inStart) + row * inRowBytes;
        static_cast<void>(start[0] + start[used - 1]);
    }
}

void UseRecord(Input& ioInput, const VideoFrameRef& inFrame, const VideoFrameRef&) {
    const auto order = ioInput.Between<std::uint32_t>(0, 3);
    const TPixHand record = VF::NewTPixFromVideoFrame(inFrame, ioInput.Flag(), order, 1);
    if (!record) return;
    const TPix shown = **record;
    Touch(inFrame, shown.pixels, shown.rowbytes, shown.bounds.right, shown.bounds.bottom);
    const tagRECT rect{0, 0, ioInput.Between(1, 40), ioInput.Between(1, 40)};
    const TPixHand scaled = tpixNew(&rect);
    tpixStraightScale(record, scaled);
    tpixDispose(scaled);
    tpixDispose(record);
}

void UseWorld(Input& ioInput, const VideoFrameRef& inFrame, const VideoFrameRef&) {
    const auto order = ioInput.Between<std::uint32_t>(0, 3);
    GF_LayerDef world{};
    VF::NewGF_WorldFromExistingVideoFrame(inFrame, world, ioInput.Flag(), order, 1);
    Touch(inFrame, world.pixelData, world.rowStride, world.width, world.height);
    VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
}

void Compose(Input& ioInput, const VideoFrameRef& inFrame, const VideoFrameRef& inOther) {
    VF::MultiCamRenderParams params;
    params.width = ioInput.Between<std::uint32_t>(1, 64);
    params.height = ioInput.Between<std::uint32_t>(1, 32);
    params.pixelFormat = ioInput.Format();
    params.scaleX = ioInput.Between(0, 8) / 4.0;
    const std::vector<VideoFrameRef> sources{inFrame, inOther, nullptr, inFrame};
    const bool isSideBySide = ioInput.Flag();
    VF::RenderNonMulticam(sources, isSideBySide, params, {}, false);
    VF::RenderMulticam(sources, ioInput.Take<std::uint8_t>(), isSideBySide, false, params, false);
}

void ChangeCopy(Input& ioInput, const VideoFrameRef& inFrame, const VideoFrameRef&) {
    const VideoFrameRef copy = VF::MakeWriteableVideoFrame(inFrame, ioInput.Between(0, 5));
    if (!copy) return;
    manipulators::InvertAlpha(copy);
    manipulators::OpaqueAlpha(copy);
    manipulators::VerticalConvolve(copy, copy);
    manipulators::DeinterlaceVideoFrame(copy, ioInput.Between(0, 1));
    manipulators::MergePulldownFrames(copy, inFrame);
    manipulators::SwapFields(inFrame, copy);
}

// clang-format off
constexpr void (*kUses[])(Input&, const VideoFrameRef&, const VideoFrameRef&) = {
    UseRecord, UseWorld, Compose, ChangeCopy,
    [](Input&, auto& frame, auto&) { CopyOf(frame); },
    [](Input&, auto& frame, auto&) { frame->Duplicate(); },
    [](Input&, auto& frame, auto&) {
        Brix::Rect bounds;
        manipulators::CalculateAlphaBounds(frame, bounds); },
    [](Input& input, auto& frame, auto&) {
        const std::int32_t width = input.Between(1, 70), height = input.Between(1, 30);
        Bytes buffer(static_cast<std::size_t>(width * height * 16));
        manipulators::StoreExternal(frame, buffer.data(), width, height, width * 16); },
    [](Input& input, auto& frame, auto& other) {
        manipulators::CopyFrameWithFields(frame, other, input.Between(0, 6), input.Between<std::uint32_t>(-1, 3)); },
    [](Input& input, auto& frame, auto& other) {
        const auto from = input.Rect<Brix::Rect>(), to = input.Rect<Brix::Rect>();
        manipulators::CopyRect(frame, from, other, to, input.Between(0, 6), input.Between(-1, 1)); },
    [](Input& input, auto& frame, auto&) {
        VideoFrameRef result;
        manipulators::MakeAddressableVideoFrame(frame, result, input.Format(), input.Between(0, 6)); },
    [](Input& input, auto& frame, auto& other) {
        manipulators::CopyField(frame, other, input.Between(0, 1), input.Between(0, 6)); },
    [](Input& input, auto& frame, auto& other) {
        manipulators::InterpFieldToFrame(frame, other, input.Between(0, 1)); },
};
// clang-format on

}  // namespace

void Run(Input inInput) {
    const auto use = inInput.OneOf(kUses);
    constexpr double kMostPixels = 1 << 20;  // a custom frame may say that it is of any size
    VideoFrameRef frame = AnyReceived(inInput);
    const VideoFrameRef other = AnyNew(inInput);
    if (!frame || !other) return;
    const Brix::Rect bounds = frame->GetBounds();
    if (1.0 * bounds.Width() * bounds.Height() > kMostPixels) return;
    const VideoFrameRef whole = frame;
    if (inInput.Flag()) VF::CreateVideoSubFrame(frame, whole, inInput.Rect<Brix::Rect>());
    use(inInput, frame, other);
}

}  // namespace fuzz
