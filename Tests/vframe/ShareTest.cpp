// vframe publish and vframe receive, between real processes.

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

}  // namespace
