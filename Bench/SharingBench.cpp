// Frames between two processes.
#include <VideoFrame/VideoFrame.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "Processes.h"
#include "Table.h"

namespace bench {
namespace {

using tulocore::utility::Guid;

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;
constexpr std::size_t kFrameBytes = std::size_t{kWidth} * kHeight * 4;

// ---------------------------------------------------------------------------------------------
// The receiving process: for every Guid it is sent it receives, wraps and drops the frame, and
// answers with its resident size; the nil Guid stands for none.

bool ReceiveAndDrop(const Guid& inGuid) {
    processcoordination::BinaryReferencePtr reference;
    if (processcoordination::GetBinaryDataIfAvailable(inGuid, reference) != 0) return false;
    VF::VideoFrameRef frame;
    return VF::WrapVideoFrameAroundBinaryReference(reference, inGuid, frame) == 0 &&
           frame->GetBounds().right != 0;
}

void Receive(int inQuestions, int inAnswers) {
    VF::Initialize();
    Guid guid;
    while (read(inQuestions, &guid, sizeof(guid)) == sizeof(guid)) {
        const std::size_t answer = guid == Guid() ? ResidentBytes() : ReceiveAndDrop(guid);
        if (write(inAnswers, &answer, sizeof(answer)) != sizeof(answer)) break;
    }
    VF::Shutdown();
}

// Answers in the order of the questions.
Process& TheReceiver() {
    static Process receiver(Receive);
    return receiver;
}

// 0 when something went wrong.
std::size_t TakeAnswer() {
    std::size_t answer = 0;
    return TheReceiver().Take(answer) ? answer : 0;
}

VF::VideoFrameRef MakeFrame(std::uint32_t inScale = 1) {
    VF::VideoFrameRef frame;
    VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, kWidth * inScale,
                         kHeight * inScale, {1, 1}, true, false);
    return frame;
}

// ---------------------------------------------------------------------------------------------
// The work

// A stream of frames to the other process, with a few of them on the road, as in playback.
class CopyStream {
  public:
    // False when a frame did not arrive.
    bool Send(const VF::VideoFrameRef& inFrame) {
        const Guid guid = Guid::Generate();
        if (VF::PublishVideoFrame(inFrame, guid) != 0 || !TheReceiver().Send(guid)) return false;
        return ++onTheRoad_ <= kMostOnTheRoad || TakeOne();
    }

    bool Finish() {
        while (onTheRoad_ > 0) {
            if (!TakeOne()) return false;
        }
        return true;
    }

  private:
    static constexpr int kMostOnTheRoad = 4;

    bool TakeOne() {
        --onTheRoad_;
        return TakeAnswer() != 0;
    }

    int onTheRoad_ = 0;
};

void StreamThroughCopies(benchmark::State& inState) {
    const VF::VideoFrameRef frame = MakeFrame();
    CopyStream stream;
    // Other rows leave segments of other sizes behind; a stream has settled after these.
    bool arrived = true;
    for (int i = 0; i < 100; ++i)
        arrived = arrived && stream.Send(frame);
    for (auto _ : inState)
        arrived = arrived && stream.Send(frame);
    if (!stream.Finish() || !arrived) inState.SkipWithError("a frame did not arrive");
}

void CopyWarmSharedMemory(benchmark::State& inState) {
    void* const buffers = mmap(nullptr, 2 * kFrameBytes, PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (buffers == MAP_FAILED) return inState.SkipWithError("no memory");
    auto* const bytes = static_cast<std::byte*>(buffers);
    for (auto _ : inState) {
        std::memcpy(bytes, bytes + kFrameBytes, kFrameBytes);
        benchmark::ClobberMemory();
    }
    munmap(buffers, 2 * kFrameBytes);
}

Run PublishInPlace(std::uint32_t inScale) {
    return [inScale](benchmark::State& inState) {
        VF::SetCreatePublishableVideoFrames(true);
        for (auto _ : inState) {
            inState.PauseTiming();
            VF::VideoFrameRef frame;
            VF::CreateVideoFrame(frame, tulomediatypes::kPixelFormat_BGRA_4444_8u, kWidth * inScale,
                                 kHeight * inScale, {1, 1}, false, false);
            const Guid guid = Guid::Generate();
            inState.ResumeTiming();
            if (VF::PublishVideoFrame(frame, guid) != 0) {
                inState.SkipWithError("not published");
                break;
            }
        }
        VF::SetCreatePublishableVideoFrames(false);
    };
}

void ReceiveMapped(benchmark::State& inState) {
    const Guid guid = Guid::Generate();
    VF::PublishVideoFrame(MakeFrame(), guid);
    for (auto _ : inState) {
        if (!ReceiveAndDrop(guid)) {
            inState.SkipWithError("not received");
            return;
        }
    }
}

std::string DescribeMemory(int inFrames) {
    const bool asked = TheReceiver().Send(Guid());
    const std::size_t receivers = asked ? TakeAnswer() : 0;
    return "after " + std::to_string(inFrames) + " frames: publisher " +
           MebibyteText(ResidentBytes()) + ", receiver " + MebibyteText(receivers) +
           ", shared folder " + MebibyteText(processcoordination::CountSharedBytes());
}

std::vector<std::string> StreamTenThousandFrames() {
    const VF::VideoFrameRef frame = MakeFrame();
    std::vector<std::string> lines;
    CopyStream stream;
    for (int count = 1; count <= 10'000; ++count) {
        if (!stream.Send(frame)) return {"frame " + std::to_string(count) + " did not arrive"};
        if (count != 100 && count != 10'000) continue;
        if (!stream.Finish()) return {"the last frames did not arrive"};
        lines.push_back(DescribeMemory(count));
    }
    return lines;
}

}  // namespace

void AddSharingRows() {
    TheReceiver();
    AddRow("publish 1080p by copy, receive, wrap, drop (two processes)", StreamThroughCopies,
           {{"memcpy in warm shared memory", CopyWarmSharedMemory}});
    AddRow("publish 1080p in place", PublishInPlace(1), {});
    AddRow("publish 2160p in place", PublishInPlace(2), {});
    AddRow("receive, wrap and drop a mapped 1080p frame", ReceiveMapped, {});
    AddFigures("memory of a stream of 1080p frames (two processes)", StreamTenThousandFrames);
}

}  // namespace bench
