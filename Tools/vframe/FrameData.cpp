#include "FrameData.h"

#include <algorithm>

#include "Failure.h"
#include "Interrupt.h"

namespace vframe {
namespace {

[[noreturn]] void Refuse(const std::string& inReason) {
    throw Failure("received data", "is no frame that can be read: " + inReason);
}

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

VF::VideoFrameRef ReceiveFrame(const tulocore::utility::Guid& inGuid,
                               std::chrono::milliseconds inTimeLimit) {
    VF::VideoFrameRef frame;
    const char* fault = nullptr;
    VF::WrapCheckedBinaryReference(WaitForData(inGuid, inTimeLimit), inGuid, frame, &fault);
    if (fault) Refuse(fault);
    if (!frame) throw Failure(inGuid.ToString(), "no frame could be made of the data");
    if (VF::IsCustomBEPixelFormat(frame->GetPixelType())) Refuse("only its maker knows its format");
    return frame;
}

}  // namespace vframe
