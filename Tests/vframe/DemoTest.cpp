// vframe demo.

#include <sys/stat.h>
#include <regex>

#include "Tool.h"

using namespace vframe_test;

namespace {

class DemoTest : public ToolTest {
  protected:
    DemoTest() {
        WriteFile("text.png", "text");
        EXPECT_EQ(mkfifo("pipe.png", 0600), 0);  // whoever reads it waits for ever
    }
};

// Formats of less chroma change the pictures a little; another angle, or the wrong place or matrix,
// gives far more.
void ExpectComposites(const std::string& inInputs, const std::string& inSelected) {
    const std::pair<std::string, std::string> kComposites[] = {
        {"multicam.png", " --size 1920x1080"},
        {"side-by-side.png", " --size 1920x540 --side-by-side --red"}};
    for (const auto& [name, options] : kComposites) {
        ExpectRuns("multicam " + inInputs + " expected.png --selected " + inSelected + options);
        EXPECT_LE(Compare(ReadPng("out/" + name), ReadPng("expected.png")).mean, 0.5) << name;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator("out"), {}), 2);
}

TEST_F(DemoTest, ComposesPicturesOfAnySizeFromAProcessForEachAngle) {
    WritePng("odd.png", MakeGradient(41, 31));
    ExpectRuns("demo out odd.png");
    ExpectComposites("odd.png", "1");
    const std::string output = ExpectRuns("demo out");
    ExpectComposites(Sample(1) + " " + Sample(2) + " " + Sample(3) + " " + Sample(4), "2");
    std::set<std::string> processes;
    const std::regex line("\n[1-4] +([0-9]+) +angle-[1-4].png +960x540 ");
    for (std::sregex_iterator at(output.begin(), output.end(), line), end; at != end; ++at)
        processes.insert((*at)[1]);
    EXPECT_EQ(processes.size(), 4u) << output;
    EXPECT_NE(output.find("4 frames"), output.npos) << output;
    EXPECT_EQ(output.find('\033'), output.npos) << "colours, though this is no terminal";
}

TEST_F(DemoTest, LeavesNothingBehindWhoeverIsKilled) {
    constexpr auto kDeath = "vframe: publisher: it ended too early (killed by signal 9)\n";
    constexpr auto kInterruption = "vframe: interrupted: ended by a signal\n";
    for (const auto& [isPublisher, signal, errors] : {std::tuple(true, SIGKILL, kDeath),
                                                      {false, SIGTERM, kInterruption},
                                                      {false, SIGKILL, ""}}) {
        RunningTool demo("demo out pipe.png");
        int publisher = 0;
        EXPECT_TRUE(Eventually([&] {
            return std::sscanf(demo.OutputSoFar().c_str(), "publishers %d ", &publisher) == 1;
        }));
        kill(isPublisher ? publisher : demo.Id(), signal);
        const Result result = demo.Wait();
        EXPECT_EQ(result.status, signal == SIGKILL && !isPublisher ? -1 : 1);
        EXPECT_EQ(result.errors, errors);
        const std::string process = "/proc/" + std::to_string(publisher) + "/exe";
        EXPECT_TRUE(Eventually([&] { return !fs::exists(process); })) << signal;
        EXPECT_TRUE(fs::is_empty("out"));
    }
}

}  // namespace
