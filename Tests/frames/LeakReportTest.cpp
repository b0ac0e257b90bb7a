#include <locale>

#include "frames/RawFrame.h"
#include "frames/VideoFrameUtilities.h"
#include "support/Contracts.h"
#include "support/Frames.h"

namespace {

constexpr auto Handle = [](std::uintptr_t address) { return reinterpret_cast<TPixHand>(address); };
constexpr auto World = [](std::uintptr_t address) { return reinterpret_cast<GF_Pixel*>(address); };

// What the report writes.
std::string Report() {
    std::string lines;
    const auto before =
        tulocore::debug::SetTraceSink([&](std::string_view inLine) { lines += inLine; });
    VF::ReportAndForgetLeaks();
    tulocore::debug::SetTraceSink(before);
    return lines;
}

// A locale of a host, which writes numbers in groups of three digits.
struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST(LeakReport, LinesInOrderOfTheHandlesEmptyEntriesCounted) {
    tulocore::debug::SetTraceEnabled("TPix", true);
    const auto raw = VF::RawFrame::Create();
    ASSERT_EQ(raw->AllocateMemory(1000, 16), 0);
    const auto before = std::locale::global(std::locale(std::locale(), new Grouping));
    VF::RegisterTPixFrame(Handle(0x1F3A0), support::MakeFrame(720, 480));
    VF::RegisterTPixFrame(Handle(0xABC), raw);
    VF::TPixFrameMap().Find(Handle(0x10));  // as a lookup leaves it behind
    VF::RegisterEffectWorldFrame(World(0x20), support::MakeFrame(8, 8));
    VF::RegisterEffectWorldFrame(World(0x30), raw);
    const std::string start =
        "<" + std::to_string(tulocore::threads::GetCurrentThreadID()) + "> <TPix> <0> ";
    EXPECT_EQ(Report(), start + "3 TPix frames were leaked at shutdown!\r\n" + start +
                            "<Leaked Video frame,0xabc> data size:1000\r\n" + start +
                            "<Leaked Video frame,0x1f3a0> row bytes:2880, data size:1382400\r\n" +
                            start + "2 GFWorlds were leaked at shutdown!\r\n");
    std::locale::global(before);
    EXPECT_TRUE(VF::TPixFrameMap().Frames().empty());
    EXPECT_TRUE(VF::EffectWorldFrameMap().Frames().empty());
    EXPECT_EQ(Report(), "");
    support::ExpectBroken("videoFrame != 0", "VideoFrameUtilities", 113,
                          [] { VF::RegisterTPixFrame(Handle(0x10), nullptr); });
    support::ExpectBroken("videoFrame != 0", "VideoFrameUtilities", 139,
                          [] { VF::RegisterEffectWorldFrame(World(0x10), nullptr); });
    EXPECT_TRUE(VF::TPixFrameMap().Frames().empty());
}
