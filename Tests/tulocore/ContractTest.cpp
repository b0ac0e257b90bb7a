#include "contracts/TuloCore.h"
#include "support/Testing.h"

using namespace tulocore;

TEST(Trace, WritesToStandardErrorWithoutASink) {
    const debug::TraceSink before = debug::SetTraceSink([](std::string_view) {});
    debug::SetTraceSink({});
    testing::internal::CaptureStderr();
    debug::Trace("line\r\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "line\r\n");
    debug::SetTraceSink(before);
}
