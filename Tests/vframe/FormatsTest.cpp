// vframe formats and vframe info.

#include <regex>

#include "Tool.h"
#include "VideoFrame/VideoFrame.h"

namespace vframe_test {
namespace {

using FormatsTest = ToolTest;

TEST_F(FormatsTest, ListsEveryFormatOnce) {
    const std::string output = "\n" + ExpectRuns("formats");
    const auto formats = tulomediatypes::NamedPixelFormats();
    for (const auto& named : formats)
        EXPECT_NE(output.find("\n" + std::string(named.name) + " "), output.npos) << named.name;
    const auto lines = static_cast<std::size_t>(std::count(output.begin(), output.end(), '\n'));
    EXPECT_EQ(lines, formats.size() + 2) << "the heading, and the line before it";
    // It holds alpha, has rows, and is unknown to the renderer.
    EXPECT_NE(output.find("16            8  yes    yes   -      -"), output.npos);
}

/// The text with single spaces only.
std::string Squeezed(const std::string& inText) {
    return std::regex_replace(inText, std::regex(" +"), " ");
}

TEST_F(FormatsTest, InfoShowsTheFrame) {
    const std::string output = ExpectRuns("info " + Sample(1) + " --format V210_422_10u");
    for (const std::string words : {"bounds 960x540 at (0, 0)", "format V210_422_10u",
                                    "has alpha no", "field type 0, one progressive picture",
                                    "data size 1,382,400 bytes", "row bytes 2,560 bytes"})
        EXPECT_NE(Squeezed(output).find(words), output.npos) << words << " in:\n" << output;
}

}  // namespace
}  // namespace vframe_test
