// vframe publish and vframe receive, between real processes.

#include <csignal>
#include <cstring>
#include <thread>

#include "Png.h"
#include "Tool.h"
#include "VideoFrame/VideoFrame.h"

namespace vframe_test {
namespace {

constexpr char kGuid[] = "{6A0B4E0C-9A57-4C55-8C2A-51A7A2A1B001}";

class ShareTest : public ToolTest {
  protected:
    ShareTest() { WritePng(Path("in.png"), MakeGradient(64, 31)); }

    std::vector<std::string> Receive(const std::string& inOutput) const {
        return {"receive", Path(inOutput), "--guid", kGuid, "--timeout", "60"};
    }
};

TEST_F(ShareTest, SendsAFrameInPlaceOrAsACopy) {
    for (const bool isInPlace : {false, true}) {
        SCOPED_TRACE(isInPlace);
        std::vector<std::string> arguments{"publish", Path("in.png"), "--guid", kGuid};
        if (isInPlace) arguments.push_back("--in-place");
        RunningTool publisher(arguments);
        ExpectRuns(Receive("out.png"));
        EXPECT_EQ(LargestDifference(ReadPng(Path("out.png")), MakeGradient(64, 31)), 0);
        publisher.Signal(SIGTERM);
        const Result result = publisher.Wait();
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.output, std::string(kGuid) + ": 64x31 BGRA_4444_8u, 7,936 bytes, " +
                                     (isInPlace ? "in place\n" : "as a copy\n"));
    }
}

TEST_F(ShareTest, WaitsForAPublisherThatComesLater) {
    RunningTool receiver(Receive("out.raw"));
    RunningTool publisher({"publish", Path("in.png"), "--guid", kGuid, "--format", "UYVY_422_8u"});
    const Result result = receiver.Wait();
    EXPECT_EQ(result.status, 0) << result.errors;
    ExpectRuns({"convert", Path("in.png"), Path("same.raw"), "--format", "UYVY_422_8u"});
    EXPECT_EQ(ReadBytes(Path("out.raw")), ReadBytes(Path("same.raw")));
}

TEST_F(ShareTest, GivesUpWhenNothingComes) {
    ExpectFails({"receive", Path("out.png"), "--guid", kGuid, "--timeout", "0.05"}, 1, "in time");
    EXPECT_EQ(Files(), std::vector<std::string>{"in.png"});
}

TEST_F(ShareTest, HoldsForAsLongAsItIsTold) {
    ExpectRuns({"publish", Path("in.png"), "--guid", kGuid, "--hold", "0"});
    ExpectFails({"receive", Path("out.png"), "--guid", kGuid, "--timeout", "0"}, 1);
}

TEST_F(ShareTest, RefusesAGuidThatIsTaken) {
    WritePng(Path("other.png"), MakeGradient(8, 8));
    RunningTool publisher({"publish", Path("in.png"), "--guid", kGuid});
    ExpectRuns(Receive("out.png"));
    ExpectFails({"publish", Path("other.png"), "--guid", kGuid}, 1, "is taken");
    ExpectRuns(Receive("again.png"));
    EXPECT_EQ(ReadPng(Path("again.png")).width, 64);
}

/// This process as a client of the service.
class Client {
  public:
    Client() { EXPECT_TRUE(processcoordination::InitializeClient()); }
    ~Client() { processcoordination::UninitializeClient(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
};

TEST_F(ShareTest, TellsThatAFrameWillNotCome) {
    const Client client;
    ASSERT_EQ(
        processcoordination::PutBinaryDataGenerationError(tulocore::utility::Guid(kGuid), 4711), 0);
    ExpectFails(Receive("out.png"), 1, "4711");
}

VF::SharedFrameHeader MakeHeader() {
    const auto format = tulomediatypes::kPixelFormat_BGRA_4444_8u;
    VF::SharedFrameHeader header{};
    header.headerSize = 128;
    header.version = 6;
    header.totalSize = 128 + 64;
    header.formatCode = format.code;
    header.formatProperties = format.properties;
    header.width = 4;
    header.height = 4;
    header.rowBytes = 16;
    header.alphaType = 1;
    header.aspectRatioNumerator = 1;
    header.aspectRatioDenominator = 1;
    return header;
}

struct Foreign {
    const char* name;
    void (*change)(VF::SharedFrameHeader&);
    bool isFrame = false;
};

constexpr std::uint32_t kFarOffset = 0xFFFFFFF0;

const Foreign kForeign[] = {
    {"AFrame", [](auto&) {}, true},
    {"ZeroBytes", [](auto& h) { h = {}; }},
    {"HeaderOfAnotherSize", [](auto& h) { h.headerSize = 64; }},
    {"LaterVersion", [](auto& h) { h.version = 7; }},
    {"NoWidth", [](auto& h) { h.width = 0; }},
    {"NegativeHeight", [](auto& h) { h.height = -4; }},
    {"TooManyRows", [](auto& h) { h.height = 0x7FFFFFFF; }},
    {"TooWide", [](auto& h) { h.width = 0x7FFFFFFF; }},
    {"RowsOverlap", [](auto& h) { h.rowBytes = 12; }},
    {"NegativeRows", [](auto& h) { h.rowBytes = -16; }},
    {"RowsTooFarApart", [](auto& h) { h.rowBytes = 1 << 20; }},
    {"PixelsTooFarBack", [](auto& h) { h.pixelOffset = kFarOffset; }},
    {"UnknownFormat", [](auto& h) { h.formatProperties ^= 0x800000; }},
    {"CustomFormat", [](auto& h) { h.formatCode = tulomediatypes::FourCC("_cus"); }},
    {"NoAspectRatio", [](auto& h) { h.aspectRatioDenominator = 0; }},
};

class ForeignDataTest : public ShareTest, public testing::WithParamInterface<Foreign> {};

TEST_P(ForeignDataTest, IsLookedAtBeforeItIsTakenForAFrame) {
    const Client client;
    processcoordination::WritableBinaryReferencePtr buffer;
    ASSERT_EQ(processcoordination::GetWritableBinaryData(128 + 64, buffer), 0);
    VF::SharedFrameHeader header = MakeHeader();
    GetParam().change(header);
    void* const data = buffer->GetData();
    std::memset(data, 0x7F, buffer->GetSize());
    std::memcpy(data, &header, sizeof header);
    buffer->ReleaseData(data);
    ASSERT_EQ(processcoordination::PutCompletedBinaryData(tulocore::utility::Guid(kGuid), buffer),
              0);
    if (GetParam().isFrame) {
        ExpectRuns(Receive("out.png"));
        EXPECT_EQ(ReadPng(Path("out.png")).At(3, 3), (Rgba{0x7F, 0x7F, 0x7F, 0x7F}));
    } else {
        ExpectFails(Receive("out.png"), 1, "is no frame that can be read");
        EXPECT_EQ(Files(), std::vector<std::string>{"in.png"});
    }
}

INSTANTIATE_TEST_SUITE_P(Data, ForeignDataTest, testing::ValuesIn(kForeign),
                         [](const auto& inInfo) { return std::string(inInfo.param.name); });

}  // namespace
}  // namespace vframe_test
