#include "VideoFrame/Lifecycle.h"

#include <gtest/gtest.h>

#include <string>

#include "contracts/Pellux.h"
#include "contracts/Scanvo.h"
#include "frames/VideoFrameUtilities.h"
#include "support/Frames.h"
#include "support/RecordingMediaManager.h"

// Services that note their calls, in the place of the real ones. The media manager's show when the
// cache comes and goes.
static std::string gCalls;

namespace Brix::Foundation {
void Initialize() {
    gCalls += "B";
}
void Terminate() {
    gCalls += "b";
}
}  // namespace Brix::Foundation

void SV_Initialize() {
    gCalls += "S";
}
void SV_Terminate() {
    gCalls += "s";
}

namespace processcoordination {
bool InitializeClient() {
    gCalls += "P";
    return false;  // is not looked at
}
void UninitializeClient() {
    gCalls += VF::TPixFrameMap().Frames().empty() ? "p" : "!";
}
}  // namespace processcoordination

TEST(Lifecycle, ServicesStartAndStopInOrderAndTheClientOnce) {
    support::RecordingMediaManager manager;
    manager.onCall = [](const std::string& inCall) { gCalls += inCall == "4" ? "M" : "m"; };
    VF::Initialize();
    EXPECT_EQ(gCalls, "BSPM");
    VF::Initialize();
    EXPECT_EQ(gCalls, "BSPMBS");
    gCalls.clear();
    VF::RegisterTPixFrame(reinterpret_cast<TPixHand>(0x10), support::MakeFrame(1, 1));
    VF::Shutdown();
    EXPECT_EQ(gCalls, "sb");
    EXPECT_EQ(VF::TPixFrameMap().Frames().size(), 1U);
    gCalls.clear();
    VF::Shutdown();
    EXPECT_EQ(gCalls, "mpsb");
    gCalls.clear();
    VF::Initialize();
    VF::Shutdown();
    EXPECT_EQ(gCalls, "BSPMmpsb");
}

TEST(Lifecycle, WithoutAMediaManagerNothingIsStarted) {
    gCalls.clear();
    const auto before = OV::SetMediaManager(nullptr);
    EXPECT_THROW(VF::Initialize(), Brix::NullInterfaceException);
    EXPECT_EQ(gCalls, "BSPpsb");
    OV::SetMediaManager(before);
    VF::Initialize();
    VF::Shutdown();
    EXPECT_EQ(gCalls, "BSPpsbBSPpsb");
}

// Runs last: the count does not recover from it.
TEST(Lifecycle, StopWithoutAStartDoesNoOneTimeWorkAndWraps) {
    gCalls.clear();
    VF::Shutdown();
    EXPECT_EQ(gCalls, "sb");
    gCalls.clear();
    VF::Initialize();
    VF::Initialize();
    EXPECT_EQ(gCalls, "BSBSP");
}
