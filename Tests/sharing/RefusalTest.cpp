// Publication against a service that refuses at each step. The service here stands in for the real
// one: it fails where it is told to and counts.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <vector>

#include "support/Frames.h"

using processcoordination::BinaryReferencePtr;
using processcoordination::WritableBinaryReferencePtr;
using tulocore::utility::Guid;

namespace {

enum class Refusal { kNone, kBuffer, kEmptyReference, kAddress, kShortBuffer, kCompletion };

struct Service {
    Refusal refusal = Refusal::kNone;
    int handBacks = 0;
    int completions = 0;
    std::vector<std::int32_t> errors{};
    Guid errorGuid{};
};
Service gService;

class Buffer final : public processcoordination::WritableBinaryReference {
  public:
    explicit Buffer(std::uint64_t inSize) : bytes_(inSize) {}
    std::uint64_t GetSize() override {
        return gService.refusal == Refusal::kShortBuffer ? bytes_.size() - 1 : bytes_.size();
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
    if (gService.refusal != Refusal::kEmptyReference) {
        outReference = boost::make_shared<Buffer>(inSize);
    }
    return 0;
}

std::int32_t PutCompletedBinaryData(const Guid&, WritableBinaryReferencePtr) {
    if (gService.refusal == Refusal::kCompletion) return kSystemFailure;
    ++gService.completions;
    return 0;
}

std::int32_t GetBinaryDataIfAvailable(const Guid&, BinaryReferencePtr&) {
    return kNotAvailable;
}

std::int32_t PutBinaryDataGenerationError(const Guid& inGuid, std::int32_t inErrorCode) {
    gService.errors.push_back(inErrorCode);
    gService.errorGuid = inGuid;
    return kSystemFailure;  // is not looked at
}

}  // namespace processcoordination

TEST(Refusal, EachStepEndsInOneErrorAndNothingPublished) {
    const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    for (const Refusal refusal : {Refusal::kBuffer, Refusal::kEmptyReference, Refusal::kAddress,
                                  Refusal::kShortBuffer, Refusal::kCompletion}) {
        gService = {refusal};
        const Guid guid = Guid::Generate();
        WritableBinaryReferencePtr reference;
        EXPECT_EQ(VF::PublishVideoFrameProvidingReference(frame, guid, reference),
                  static_cast<std::int32_t>(0xA00F0001));
        EXPECT_FALSE(reference);
        EXPECT_EQ(gService.errors, std::vector<std::int32_t>{-1}) << static_cast<int>(refusal);
        EXPECT_EQ(gService.errorGuid, guid);
        EXPECT_EQ(gService.completions, 0);
    }
    gService = {};
    EXPECT_EQ(VF::PublishVideoFrame(frame, Guid::Generate()), 0);
    EXPECT_EQ(gService.completions, 1);
    EXPECT_EQ(gService.handBacks, 1);
    EXPECT_TRUE(gService.errors.empty());
}

TEST(Refusal, FrameInSharedMemoryFallsBackToTheRecycler) {
    VF::SetCreatePublishableVideoFrames(true);
    for (const Refusal refusal : {Refusal::kBuffer, Refusal::kEmptyReference, Refusal::kAddress}) {
        gService = {refusal};
        const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
        ASSERT_TRUE(frame);
        EXPECT_FALSE(support::Ask<VF::IPublishableVideoFrame>(frame));
    }
    gService = {};
    const VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    EXPECT_TRUE(support::Ask<VF::IPublishableVideoFrame>(frame));
    // Refused in place: the frame's own status comes back, with one error.
    gService.refusal = Refusal::kCompletion;
    EXPECT_EQ(VF::PublishVideoFrame(frame, Guid::Generate()),
              static_cast<std::int32_t>(0xA00F0001));
    EXPECT_EQ(gService.errors, std::vector<std::int32_t>{-1});
    EXPECT_FALSE(frame->GetReadOnly());
    VF::SetCreatePublishableVideoFrames(false);
}
