#include "frames/BinaryReferenceVideoFrame.h"

#include "support/Contracts.h"
#include "support/Frames.h"
#include "support/SharedFolder.h"

using processcoordination::BinaryReferencePtr;
using support::Ask;
using tulocore::utility::Guid;

namespace {

class BinaryReferenceFrame : public testing::Test {
  protected:
    void SetUp() override {
        VF::Initialize();
        VF::SetCreatePublishableVideoFrames(true);
    }
    void TearDown() override {
        VF::SetCreatePublishableVideoFrames(false);
        VF::SetCreatePublishableCustomVideoFrames(false);
        VF::Shutdown();
    }

    static std::int32_t Publish(const VF::VideoFrameRef& inFrame, const Guid& inGuid) {
        return Ask<VF::IPublishableVideoFrame>(inFrame)->Publish(inGuid);
    }

    static VF::VideoFrameRef Receive(const Guid& inGuid) {
        BinaryReferencePtr reference;
        EXPECT_EQ(processcoordination::GetBinaryDataIfAvailable(inGuid, reference), 0);
        return VF::BinaryReferenceVideoFrame::Create(VF::ReceivedBytes(reference), inGuid);
    }

    static bool IsPublishable(const VF::VideoFrameRef& inFrame) {
        return static_cast<bool>(Ask<VF::IPublishableVideoFrame>(inFrame));
    }

  private:
    support::SharedFolder folder_;
};

}  // namespace

TEST_F(BinaryReferenceFrame, SwitchesChooseSharedMemory) {
    for (const auto& [all, custom] :
         {std::pair{false, false}, {true, false}, {false, true}, {true, true}}) {
        VF::SetCreatePublishableVideoFrames(all);
        VF::SetCreatePublishableCustomVideoFrames(custom);
        EXPECT_EQ(VF::GetCreatePublishableVideoFrames(), all);
        EXPECT_EQ(VF::GetCreatePublishableCustomVideoFrames(), all || custom);
        EXPECT_EQ(IsPublishable(support::MakeFrame(8, 8)), all);
        const VF::VideoFrameRef frame = support::MakeCustomFrame(80);
        EXPECT_EQ(IsPublishable(frame), all || custom);
        EXPECT_EQ(frame->GetBounds(), (Brix::Rect{0, 0, 10, 7}));
    }
}

TEST_F(BinaryReferenceFrame, PublishedAndReceivedShareTheBytesAndAreReadOnlyForGood) {
    const VF::VideoFrameRef frame = support::MakeFrame(64, 4);
    std::memset(support::Data(frame), 0x5A, 64 * 4 * 4);
    frame->SetFieldType(2);
    const Guid guid = Guid::Generate();
    processcoordination::WritableBinaryReferencePtr copy;
    ASSERT_EQ(VF::PublishVideoFrameProvidingReference(frame, guid, copy), 0);
    EXPECT_FALSE(copy);
    const VF::VideoFrameRef received = Receive(guid);
    ASSERT_TRUE(received);
    const std::uint64_t bytes = processcoordination::CountSharedBytes();
    for (const VF::VideoFrameRef& each : {frame, received}) {
        each->SetReadOnly(false);
        EXPECT_TRUE(each->GetReadOnly());
        EXPECT_FALSE(Ask<OV::IVideoFrameClearable>(each));
        EXPECT_TRUE(Ask<VF::IVideoFrame2DPixelMemoryAccess>(each));
        support::ExpectBroken("!GetReadOnly() && InternalGetWritableData()",
                              "SharedMemoryVideoFrame", 0, [&] { each->SetFieldType(1); });
        each->SetRenderTime(4);
        EXPECT_EQ(each->GetRenderTime(), 0U);
        EXPECT_EQ(each->GetFieldType(), 2U);
        // A further publication is another name for the same bytes.
        const Guid alias = Guid::Generate();
        EXPECT_EQ(Publish(each, alias), 0);
        EXPECT_TRUE(Receive(alias));
        EXPECT_EQ(Publish(each, alias), VF::kGeneralFailure);
    }
    EXPECT_EQ(processcoordination::CountSharedBytes(), bytes);
    EXPECT_FALSE(received->Duplicate()->GetReadOnly());
    // Frames outlive the service; new ones come from the recycler then.
    VF::Shutdown();
    EXPECT_EQ(std::to_integer<int>(support::Data(frame)[1023]), 0x5A);
    EXPECT_EQ(std::memcmp(support::Data(received), support::Data(frame), 64 * 4 * 4), 0);
    EXPECT_FALSE(IsPublishable(support::MakeFrame(8, 8)));
    VF::Initialize();
}
