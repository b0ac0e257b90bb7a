#include "VideoFrame/Lifecycle.h"

#include "contracts/Pellux.h"
#include "contracts/Scanvo.h"
#include "frames/VideoFrameUtilities.h"
#include "support/Frames.h"
#include "support/RecordingMediaManager.h"

// Services that note their calls, in the place of the real ones. The media manager's show when the
// cache comes and goes.
static std::string gCalls;

// clang-format off
namespace Brix::Foundation {
void Initialize() { gCalls += "B"; }
void Terminate() { gCalls += "b"; }
}  // namespace Brix::Foundation

void SV_Initialize() { gCalls += "S"; }
void SV_Terminate() { gCalls += "s"; }

namespace processcoordination {
// What it returns is not looked at.
bool InitializeClient() { gCalls += "P"; return false; }
void UninitializeClient() { gCalls += VF::TPixFrameMap().Frames().empty() ? "p" : "!"; }
}  // namespace processcoordination
// clang-format on

TEST(Lifecycle, ServicesStartAndStopInOrderAndTheClientOnce) {
    support::RecordingMediaManager manager;
    manager.onCall = [](const std::string& inCall) { gCalls += inCall == "4" ? "M" : "m"; };
    VF::Initialize();
    EXPECT_EQ(gCalls, "BSPM");
    VF::Initialize();
    VF::RegisterTPixFrame(reinterpret_cast<TPixHand>(0x10), support::MakeFrame(1, 1));
    VF::Shutdown();
    EXPECT_EQ(gCalls, "BSPMBSsb");
    EXPECT_EQ(VF::TPixFrameMap().Frames().size(), 1U);
    VF::Shutdown();
    VF::Initialize();
    VF::Shutdown();
    EXPECT_EQ(gCalls, "BSPMBSsbmpsbBSPMmpsb");
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
    VF::Initialize();
    VF::Initialize();
    EXPECT_EQ(gCalls, "sbBSBSP");
}
