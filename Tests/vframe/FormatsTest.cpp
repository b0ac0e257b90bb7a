// vframe formats and vframe info.

#include <map>
#include <sstream>

#include "Tool.h"
#include "VideoFrame/VideoFrame.h"

namespace vframe_test {
namespace {

using FormatsTest = ToolTest;

TEST_F(FormatsTest, ListsEveryFormatOnce) {
    const Result result = RunTool({"formats"});
    ASSERT_EQ(result.status, 0) << result.errors;
    std::map<std::string, std::string> rows;
    std::istringstream output(result.output);
    for (std::string line; std::getline(output, line);)
        EXPECT_TRUE(rows.emplace(line.substr(0, line.find(' ')), line).second) << line;
    const auto formats = tulomediatypes::NamedPixelFormats();
    EXPECT_EQ(rows.size(), formats.size() + 1);  // and the heading
    for (const auto& named : formats)
        EXPECT_TRUE(rows.contains(std::string(named.name))) << named.name;

    EXPECT_NE(rows["V210_422_10u"].find("v210  00000051     10        2.667"), std::string::npos);
    // It holds alpha, has rows, and is unknown to the renderer.
    EXPECT_NE(rows["BGRA_4444_16u"].find("16            8  yes    yes   -      -"),
              std::string::npos);
}

std::string Row(const std::string& inOutput, const std::string& inName) {
    std::istringstream output(inOutput);
    for (std::string line; std::getline(output, line);) {
        if (line.starts_with("  " + inName + " "))
            return line.substr(line.find_first_not_of(' ', inName.size() + 2));
    }
    return "nothing";
}

TEST_F(FormatsTest, InfoShowsTheFrame) {
    const Result result = RunTool({"info", Sample(1), "--format", "V210_422_10u"});
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(Row(result.output, "bounds"), "960x540 at (0, 0)");
    EXPECT_EQ(Row(result.output, "format"), "V210_422_10u");
    EXPECT_EQ(Row(result.output, "has alpha"), "no");
    EXPECT_EQ(Row(result.output, "field type"), "0, one progressive picture");
    EXPECT_EQ(Row(result.output, "data size"), "1,382,400 bytes");
    EXPECT_EQ(Row(result.output, "row bytes"), "2,560 bytes");
    EXPECT_NE(Row(result.output, "interfaces").find("IVideoFrame2DPixelMemoryAccess"),
              std::string::npos);

    WriteBytes(Path("in.raw"), std::vector<std::uint8_t>(6 * 4 * 16));
    const Result raw =
        RunTool({"info", Path("in.raw"), "--input-format", "VUYA_4444_32f", "--input-size", "6x4"});
    ASSERT_EQ(raw.status, 0) << raw.errors;
    EXPECT_EQ(Row(raw.output, "format"), "VUYA_4444_32f");
    EXPECT_EQ(Row(raw.output, "bounds"), "6x4 at (0, 0)");
    EXPECT_EQ(Row(raw.output, "has alpha"), "yes");
}

}  // namespace
}  // namespace vframe_test
