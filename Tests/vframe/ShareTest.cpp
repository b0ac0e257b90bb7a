// vframe publish and vframe receive, between real processes.

#include <cstring>

#include "Tool.h"
#include "VideoFrame/VideoFrame.h"

using namespace vframe_test;

namespace {

using namespace processcoordination;

const std::string kGuid = "{6A0B4E0C-9A57-4C55-8C2A-51A7A2A1B001}";

class ShareTest : public ToolTest {
  protected:
    ShareTest() { WritePng("in.png", MakeGradient(64, 31)); }

    static std::string Receive(const std::string& inOutput, const std::string& inGuid = kGuid) {
        return "receive " + inOutput + " --timeout 60 --guid " + inGuid;
    }
};

TEST_F(ShareTest, SendsAFrameInPlaceOrAsACopy) {
    for (const bool isInPlace : {false, true}) {
        SCOPED_TRACE(isInPlace);
        const std::string publish =
            "publish in.png --guid " + kGuid + (isInPlace ? " --in-place" : "");
        RunningTool publisher(publish);
        ExpectRuns(Receive("out.png"));
        EXPECT_EQ(LargestDifference(ReadPng("out.png"), MakeGradient(64, 31)), 0);
        ExpectFails(publish, 1, "is taken");
        ExpectRuns(Receive("again.png"));
        const Result result = publisher.End(SIGTERM);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.output, kGuid + ": 64x31 BGRA_4444_8u, 7,936 bytes, " +
                                     (isInPlace ? "in place\n" : "as a copy\n"));
    }
}

TEST_F(ShareTest, WaitsForAPublisherThatComesLater) {
    RunningTool receiver(Receive("out.raw"));
    RunningTool publisher("publish in.png --guid " + kGuid + " --format UYVY_422_8u");
    const Result result = receiver.Wait();
    EXPECT_EQ(result.status, 0) << result.errors;
    ExpectRuns("convert in.png same.raw --format UYVY_422_8u");
    EXPECT_TRUE(ReadFile("out.raw") == ReadFile("same.raw"));
}

TEST_F(ShareTest, GivesUpWhenNothingComes) {
    ExpectRuns("publish in.png --guid " + kGuid + " --hold 0");
    ExpectFails("receive out.png --guid " + kGuid + " --timeout 0.05", 1, "in time");
    EXPECT_EQ(Files(), std::set<std::string>{"in.png"});
}

/// With this process as a client of the service.
TEST_F(ShareTest, TellsWhatIsNoFrameAndThatNoneWillCome) {
    ASSERT_TRUE(InitializeClient());
    VF::SharedFrameHeader custom{};
    custom.headerSize = custom.totalSize = VF::kFrameHeaderSize;
    custom.version = 6;
    custom.formatCode = '@';
    custom.width = custom.height = 4;
    custom.aspectRatioNumerator = custom.aspectRatioDenominator = 1;
    const std::pair<VF::SharedFrameHeader, std::string> kCases[] = {
        {{}, "it does not begin with a frame's header"},
        {custom, "only its maker knows its format"}};
    for (const auto& [header, reason] : kCases) {
        const auto guid = tulocore::utility::Guid::Generate();
        WritableBinaryReferencePtr buffer;
        ASSERT_EQ(GetWritableBinaryData(sizeof header, buffer), kSuccess);
        std::memcpy(buffer->GetData(), &header, sizeof header);
        ASSERT_EQ(PutCompletedBinaryData(guid, buffer), kSuccess);
        ExpectFails(Receive("out.png", guid.ToString()), 1,
                    "is no frame that can be read: " + reason);
    }
    ASSERT_EQ(PutBinaryDataGenerationError(tulocore::utility::Guid(kGuid), 4711), kSuccess);
    ExpectFails(Receive("out.png"), 1, "4711");
    EXPECT_EQ(Files(), std::set<std::string>{"in.png"});
    UninitializeClient();
}

}  // namespace
