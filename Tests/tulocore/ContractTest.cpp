#include "contracts/TuloCore.h"
#include "support/Testing.h"

using namespace tulocore;

TEST(Contract, ErrorSaysWhatItsKeySaysAndKeepsReplacements) {
    const config::Error error(7, "$$$/Some/Key=Something went wrong", 105, 25, true,
                              {{{"a"}, {"b"}, {}, {"d"}}});
    EXPECT_STREQ(error.what(), "Something went wrong");
    EXPECT_EQ(error.replacements[3].text, "d");
}

TEST(Trace, WritesToStandardErrorWithoutASink) {
    const debug::TraceSink before = debug::SetTraceSink([](std::string_view) {});
    debug::SetTraceSink({});
    testing::internal::CaptureStderr();
    debug::Trace("line\r\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "line\r\n");
    debug::SetTraceSink(before);
}
