#include "FrameData.h"

#include <algorithm>
#include <cstring>

#include "Arguments.h"
#include "Failure.h"
#include "Interrupt.h"

namespace vframe {
namespace {

using VF::SharedFrameHeader;

[[noreturn]] void Refuse(const std::string& inReason) {
    throw Failure("received data", "is no frame that can be read: " + inReason);
}

tulomediatypes::PixelFormat FormatOf(const SharedFrameHeader& inHeader) {
    const tulomediatypes::PixelFormat format{inHeader.formatCode, inHeader.formatProperties};
    if (VF::IsCustomBEPixelFormat(format)) Refuse("only its maker knows its format");
    if (FormatName(format) == "unknown") Refuse("its format is unknown");
    return format;
}

/// Bytes from the first pixel to the last.
std::uint64_t PixelBytes(const SharedFrameHeader& inHeader, tulomediatypes::PixelFormat inFormat) {
    if (!VF::PixelType2DMemoryAccessCapable(inFormat))
        return tulomediatypes::PixelFormatSize(inFormat, inHeader.width, inHeader.height);
    const std::int32_t tightRow =
        tulomediatypes::UncompressedPixelFormatRowBytes(inFormat, inHeader.width);
    if (tightRow <= 0 || inHeader.rowBytes < tightRow) Refuse("its rows are too short");
    return static_cast<std::uint64_t>(inHeader.rowBytes) *
               static_cast<std::uint64_t>(inHeader.height - 1) +
           static_cast<std::uint64_t>(tightRow);
}

/// Releases the address of a reference's bytes.
class MappedData {
  public:
    explicit MappedData(processcoordination::BinaryReferencePtr inReference)
        : reference_(std::move(inReference)), data_(reference_->GetData()) {}
    ~MappedData() { reference_->ReleaseData(data_); }
    MappedData(const MappedData&) = delete;
    MappedData& operator=(const MappedData&) = delete;

    const void* Get() const { return data_; }

  private:
    processcoordination::BinaryReferencePtr reference_;
    const void* data_;
};

std::string Reason(std::int32_t inStatus, std::int32_t inErrorCode) {
    switch (inStatus) {
        case processcoordination::kTimedOut:
            return "nothing came under this Guid in time";
        case processcoordination::kGenerationFailed:
            return "its maker reported error " + std::to_string(inErrorCode);
        case processcoordination::kNotAvailable:
            return "the data has gone";
        default:
            return "the sharing service failed with " + std::to_string(inStatus);
    }
}

/// Waits a little at a time, so that the program can be ended.
processcoordination::BinaryReferencePtr WaitForData(const tulocore::utility::Guid& inGuid,
                                                    std::chrono::milliseconds inTimeLimit) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kSlice(200);
    const auto end = Clock::now() + inTimeLimit;
    while (true) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        processcoordination::BinaryReferencePtr reference;
        std::int32_t errorCode = 0;
        const std::int32_t status = processcoordination::WaitForBinaryData(
            inGuid, std::clamp(rest, std::chrono::milliseconds(0), kSlice), reference, &errorCode);
        if (status == processcoordination::kSuccess && reference) return reference;
        ThrowIfInterrupted();
        if (status != processcoordination::kTimedOut || rest <= kSlice)
            throw Failure(inGuid.ToString(), Reason(status, errorCode));
    }
}

}  // namespace

void CheckFrameData(const void* inData, std::uint64_t inSize) {
    SharedFrameHeader header;
    if (!inData || inSize < sizeof header) Refuse("it is shorter than a frame's header");
    std::memcpy(&header, inData, sizeof header);
    if (header.headerSize != VF::kFrameHeaderSize)
        Refuse("it does not begin with a frame's header");
    if (header.version < 1 || header.version > 6) Refuse("its version is unknown");
    const tulomediatypes::PixelFormat format = FormatOf(header);
    if (header.width <= 0 || header.height <= 0 ||
        !VF::RectIsValidForPixelFormat(
            format, {0, 0, header.width, header.height},
            {header.aspectRatioNumerator, header.aspectRatioDenominator}))
        Refuse("its size does not suit its format");
    const std::uint64_t offset = header.version >= 6 ? header.pixelOffset : 0;
    const std::uint64_t pixelBytes = PixelBytes(header, format);
    const std::uint64_t room = inSize - sizeof header;
    if (offset > room || pixelBytes > room - offset) Refuse("it is shorter than its pixels");
}

VF::VideoFrameRef ReceiveFrame(const tulocore::utility::Guid& inGuid,
                               std::chrono::milliseconds inTimeLimit) {
    const auto reference = WaitForData(inGuid, inTimeLimit);
    {
        const MappedData data(reference);
        CheckFrameData(data.Get(), reference->GetSize());
    }
    VF::VideoFrameRef frame;
    const int result = VF::WrapVideoFrameAroundBinaryReference(reference, inGuid, frame);
    if (result != VF::kSuccess || !frame)
        throw Failure(inGuid.ToString(), "no frame could be made of the data");
    return frame;
}

}  // namespace vframe
