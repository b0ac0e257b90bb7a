// Publication against a service that refuses at each step. The service here stands in for the real
// one: it fails where it is told to and counts.

#include <boost/make_shared.hpp>

#include "support/Frames.h"

using processcoordination::WritableBinaryReferencePtr;
using tulocore::utility::Guid;

namespace {

enum class Refusal { kNone, kBuffer, kEmptyReference, kAddress, kShortBuffer, kCompletion };

using Errors = std::vector<std::pair<Guid, std::int32_t>>;

struct {
    Refusal refusal = Refusal::kNone;
    int handBacks = 0, completions = 0;
    Errors errors{};
} gService;

class Buffer final : public processcoordination::WritableBinaryReference {
  public:
    explicit Buffer(std::uint64_t inSize) : bytes_(inSize) {}
    std::uint64_t GetSize() override {
        return bytes_.size() - (gService.refusal == Refusal::kShortBuffer ? 1 : 0);
    }
    void* GetData() override {
        return gService.refusal == Refusal::kAddress ? nullptr : bytes_.data();
    }
    void ReleaseData(void*) override { ++gService.handBacks; }

  private:
    std::vector<std::byte> bytes_;
};

}  // namespace

namespace processcoordination {

std::int32_t GetWritableBinaryData(std::uint64_t inSize, WritableBinaryReferencePtr& outReference) {
    if (gService.refusal == Refusal::kBuffer) return kNoRoom;
    if (gService.refusal == Refusal::kEmptyReference) return 0;
    outReference = boost::make_shared<Buffer>(inSize);
    return 0;
}

std::int32_t PutCompletedBinaryData(const Guid&, WritableBinaryReferencePtr) {
    if (gService.refusal == Refusal::kCompletion) return kSystemFailure;
    ++gService.completions;
    return 0;
}

std::int32_t PutBinaryDataGenerationError(const Guid& inGuid, std::int32_t inErrorCode) {
    gService.errors.push_back({inGuid, inErrorCode});
    return kSystemFailure;  // is not looked at
}

}  // namespace processcoordination

TEST(Refusal, EachStepEndsInOneErrorAndNothingPublished) {
    const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    const Guid guid = Guid::Generate();
    WritableBinaryReferencePtr reference;
    for (int step = 1; step <= 5; ++step) {
        const auto refusal = static_cast<Refusal>(step);
        gService = {refusal};
        EXPECT_EQ(VF::PublishVideoFrameProvidingReference(frame, guid, reference),
                  static_cast<std::int32_t>(0xA00F0001));
        EXPECT_FALSE(reference);
        EXPECT_EQ(gService.errors, (Errors{{guid, -1}})) << step;
        EXPECT_EQ(gService.completions, 0);
    }
    gService = {};
    EXPECT_EQ(VF::PublishVideoFrameProvidingReference(frame, guid, reference), 0);
    EXPECT_TRUE(gService.completions == 1 && gService.handBacks == 1 && gService.errors.empty());
    const auto* const published = static_cast<std::byte*>(reference->GetData());
    EXPECT_EQ(std::memcmp(published + 128, support::Data(frame), 256), 0);
    EXPECT_FALSE(frame->GetReadOnly());
}

TEST(Refusal, FrameInSharedMemoryFallsBackToTheRecycler) {
    VF::SetCreatePublishableVideoFrames(true);
    for (const Refusal refusal : {Refusal::kBuffer, Refusal::kEmptyReference, Refusal::kAddress}) {
        gService = {refusal};
        EXPECT_FALSE(support::Ask<VF::IPublishableVideoFrame>(support::MakeFrame(8, 8)));
    }
    gService = {};
    const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    EXPECT_TRUE(support::Ask<VF::IPublishableVideoFrame>(frame));
    // Refused in place: the frame's own status comes back, with one error.
    gService.refusal = Refusal::kCompletion;
    EXPECT_EQ(VF::PublishVideoFrame(frame, {}), static_cast<std::int32_t>(0xA00F0001));
    EXPECT_TRUE(gService.errors.size() == 1 && !frame->GetReadOnly());
    gService = {};
    EXPECT_EQ(VF::PublishVideoFrame(frame, {}), 0);
    VF::SetCreatePublishableVideoFrames(false);
}
