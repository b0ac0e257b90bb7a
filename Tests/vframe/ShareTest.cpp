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

// Also to who came before it.
TEST_F(ShareTest, SendsAFrameInPlaceOrAsACopy) {
    const std::tuple<std::string, std::string, int> kCases[] = {
        {"", "BGRA_4444_8u, 7,936 bytes, as a copy\n", 0},
        {" --format VUYA_4444_8u --in-place", "VUYA_4444_8u, 7,936 bytes, in place\n", 3}};
    for (const auto& [options, description, tolerance] : kCases) {
        SCOPED_TRACE(options);
        const std::string publish = "publish in.png --guid " + kGuid + options;
        RunningTool early(Receive("early.png"));
        RunningTool publisher(publish);
        EXPECT_EQ(early.Wait().status, 0);
        ExpectFails(publish, 1, "is taken");
        ExpectRuns(Receive("late.png"));
        for (const std::string name : {"early.png", "late.png"})
            EXPECT_LE(Compare(ReadPng(name), ReadPng("in.png")).largest, tolerance);
        const Result result = publisher.End(SIGTERM);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.output, kGuid + ": 64x31 " + description);
    }
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
